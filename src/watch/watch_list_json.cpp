#include "watch/watch_list_json.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/base64.h"
#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"

namespace brindle {
namespace {

bool readBookmark(const Json& json, Bytes& out) {
  const auto text = jsonText(json);
  auto bytes = text ? fromBase64(*text) : std::nullopt;
  if (!bytes) return false;
  out = *std::move(bytes);
  return true;
}

/// A decoy's name is joined with its folder, so it must not lead out of it.
bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool hasWhatItsKindNeeds(const WatchTarget& target) {
  switch (target.kind) {
    case WatchTarget::Kind::file:
    case WatchTarget::Kind::folder:
      return !target.bookmark.empty();
    case WatchTarget::Kind::tripwire:
      return !target.bookmark.empty() && isPlainName(target.decoyFileName);
    case WatchTarget::Kind::app:
      return !target.bundleID.empty();
  }
  return false;
}

Lenient readTarget(const Json& json) {
  WatchTarget target;
  JsonFields in(json);
  in.required("id", target.id)
      .required("kind", target.kind, namedBy(WatchTarget::kindNames))
      .required("displayName", target.displayName)
      .strict("bookmark", target.bookmark, readBookmark)
      .strict("bundleID", target.bundleID)
      .lenient("lastSeenUsedDate", target.lastSeenUsedDate, optionally<WallTime>(readReferenceDate))
      .strict("decoyFileName", target.decoyFileName)
      .lenient("placeName", target.placeName)
      .required("addedAt", target.addedAt, readReferenceDate);
  if (!in.readable() || !hasWhatItsKindNeeds(target)) return {};
  return {std::move(target)};
}

void writeTarget(JsonWriter& out, const WatchTarget& target) {
  out.beginObject().field("addedAt", secondsSince2001(target.addedAt));
  if (!target.bookmark.empty()) out.field("bookmark", base64(target.bookmark));
  if (!target.bundleID.empty()) out.field("bundleID", target.bundleID);
  if (!target.decoyFileName.empty()) out.field("decoyFileName", target.decoyFileName);
  out.field("displayName", target.displayName)
      .field("id", target.id)
      .field("kind", WatchTarget::kindNames.of(target.kind));
  if (target.lastSeenUsedDate) {
    out.field("lastSeenUsedDate", secondsSince2001(*target.lastSeenUsedDate));
  }
  out.field("placeName", target.placeName).endObject();
}

}  // namespace

std::vector<WatchTarget> LenientSaved::readable() const {
  std::vector<WatchTarget> all;
  std::set<Uuid> ids;
  for (const Lenient& each : targets) {
    if (each.target && ids.insert(each.target->id).second) all.push_back(*each.target);
  }
  return all;
}

std::optional<LenientSaved> readWatchList(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  LenientSaved saved;
  JsonFields in(*json);
  in.lenient("version", saved.version);
  const Json* targets = in.find("targets");
  const bool isList = targets && forEachElement(*targets, [&saved](const Json& each) {
                        saved.targets.push_back(readTarget(each));
                        return true;
                      });
  return isList ? std::optional(std::move(saved)) : std::nullopt;
}

std::string writeWatchList(const Saved& saved) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().key("targets").beginArray();
  for (const WatchTarget& each : saved.targets) writeTarget(out, each);
  out.endArray().field("version", saved.version).endObject();
  return text;
}

}  // namespace brindle
