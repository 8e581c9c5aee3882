#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"
#include "core/unlock_log_file.h"

namespace brindle {
namespace {

bool readEntry(const Json& json, UnlockLogEntry& entry) {
  JsonFields in(json);
  in.required("id", entry.id)
      .required("at", entry.at, readReferenceDate)
      .required("outcome", entry.outcome, namedBy(UnlockLogEntry::outcomeNames))
      .required("wrongTries", entry.wrongTries);
  return in.readable();
}

}  // namespace

std::optional<std::vector<UnlockLogEntry>> readUnlockLog(std::string_view json) {
  const auto document = parseJson(json);
  std::vector<UnlockLogEntry> entries;
  const bool readable = document && forEachElement(*document, [&entries](const Json& each) {
                          return readEntry(each, entries.emplace_back());
                        });
  return readable ? std::optional(std::move(entries)) : std::nullopt;
}

std::string writeUnlockLog(const std::vector<UnlockLogEntry>& entries) {
  std::string text;
  JsonWriter out(text);
  out.beginArray();
  for (const UnlockLogEntry& each : entries) {
    out.beginObject()
        .field("id", each.id)
        .field("at", secondsSince2001(each.at))
        .field("outcome", UnlockLogEntry::outcomeNames.of(each.outcome))
        .field("wrongTries", each.wrongTries)
        .endObject();
  }
  out.endArray();
  return text;
}

}  // namespace brindle
