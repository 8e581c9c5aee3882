#include "service/alert_watch_json.h"

#include "base/base64.h"
#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"
#include "core/unlock_event.h"

namespace brindle {
namespace {

bool readBody(const Json& json, Bytes& out) {
  const auto text = jsonText(json);
  auto bytes = text ? fromBase64(*text) : std::nullopt;
  if (bytes) out = std::move(*bytes);
  return bytes.has_value();
}

/// The name becomes part of a path, so that one with a slash in it must not get through.
bool readFileName(const Json& json, std::string& out) {
  const auto text = jsonText(json);
  if (!text || !isPlainFileName(*text)) return false;
  out = *text;
  return true;
}

bool readSeconds(const Json& json, std::chrono::seconds& out) {
  std::int64_t count = 0;
  if (!readJson(json, count) || count < 0 || count > 24 * 60 * 60) return false;
  out = std::chrono::seconds(count);
  return true;
}

constexpr auto date = [](const Json& json, WallTime& out) { return readReferenceDate(json, out); };

bool readOp(const Json& json, AlertWatchOp& op) {
  JsonFields in(json);
  in.required("id", op.id)
      .required("route", op.route, namedBy(alertWatchRouteNames))
      .strict("eventID", op.eventID)
      .lenient("body", op.body, readBody)
      .lenient("file", op.file, readFileName)
      .required("createdAt", op.createdAt, date)
      .lenient("attempts", op.attempts)
      .lenient("sentAt", op.sentAt, optionally<WallTime>(date))
      .lenient("notBefore", op.notBefore, optionally<WallTime>(date))
      .lenient("abandoned", op.abandoned)
      .lenient("cancelAsked", op.cancelAsked)
      .lenient("repeatAfter", op.repeatAfter, optionally<std::chrono::seconds>(readSeconds))
      .lenient("resetId", op.resetId)
      .lenient("copied", op.copied)
      .lenient("aheadOfItsPending", op.aheadOfItsPending)
      .lenient("account", op.account)
      .lenient("seq", op.seq);
  const bool needsEvent = !isCheckIn(op.route);
  return in.readable() && (!op.body.empty() || !op.file.empty()) &&
         (!needsEvent || op.eventID.has_value());
}

void writeSet(JsonWriter& out, std::string_view key, bool flag) {
  if (flag) out.field(key, true);
}
void writeSet(JsonWriter& out, std::string_view key, const std::optional<WallTime>& time) {
  if (time) out.field(key, secondsSince2001(*time));
}
void writeSet(JsonWriter& out, std::string_view key, const std::optional<Uuid>& id) {
  if (id) out.field(key, *id);
}

}  // namespace

std::string writeOp(const AlertWatchOp& op) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().field("id", op.id).field("route", alertWatchRouteNames.of(op.route));
  writeSet(out, "eventID", op.eventID);
  out.field("body", base64(op.body));
  if (!op.file.empty()) out.field("file", op.file);
  out.field("createdAt", secondsSince2001(op.createdAt)).field("attempts", op.attempts);
  writeSet(out, "sentAt", op.sentAt);
  writeSet(out, "notBefore", op.notBefore);
  writeSet(out, "abandoned", op.abandoned);
  writeSet(out, "cancelAsked", op.cancelAsked);
  if (op.repeatAfter) out.field("repeatAfter", op.repeatAfter->count());
  writeSet(out, "resetId", op.resetId);
  writeSet(out, "copied", op.copied);
  writeSet(out, "aheadOfItsPending", op.aheadOfItsPending);
  out.field("account", op.account);
  if (op.seq != 0) out.field("seq", op.seq);
  out.endObject();
  return text;
}

ReadList<std::vector<AlertWatchOp>> readOps(std::string_view outbox) {
  ReadList<std::vector<AlertWatchOp>> read;
  const auto json = parseJson(outbox);
  const auto* object = json ? json->if_object() : nullptr;
  const Json* ops = object ? object->if_contains("ops") : nullptr;
  const bool isList = ops && forEachElement(*ops, [&read](const Json& each) {
                        AlertWatchOp op;
                        if (readOp(each, op)) {
                          read.list.push_back(std::move(op));
                        } else {
                          ++read.skipped;
                        }
                        return true;
                      });
  if (!isList) ++read.skipped;
  return read;
}

std::string writeWatched(const WatchedEvents& events) {
  std::string text;
  JsonWriter out(text);
  out.beginObject();
  for (const auto& [id, watched] : events) {
    out.key(id.upper())
        .beginObject()
        .field("at", secondsSince2001(watched.at))
        .field("photo", watched.photo)
        .field("photoQueued", watched.photoQueued)
        .field("resolved", watched.resolved)
        .field("account", watched.account)
        .endObject();
  }
  out.endObject();
  return text;
}

ReadList<WatchedEvents> readWatched(std::string_view text) {
  ReadList<WatchedEvents> read;
  const auto json = parseJson(text);
  const auto* all = json ? json->if_object() : nullptr;
  if (!all) return {{}, 1};
  for (const auto& [key, each] : *all) {
    const auto id = Uuid::parse({key.data(), key.size()});
    Watched watched;
    JsonFields in(each);
    in.required("at", watched.at, date)
        .lenient("photo", watched.photo)
        .lenient("photoQueued", watched.photoQueued)
        .lenient("resolved", watched.resolved)
        .lenient("account", watched.account);
    if (id && in.readable()) {
      read.list.emplace_back(*id, std::move(watched));
    } else {
      ++read.skipped;
    }
  }
  return read;
}

std::string writeReset(const AlertWatchReset& reset) {
  std::string text;
  JsonWriter(text).beginObject().field("reason", reset.reason).field("id", reset.id).endObject();
  return text;
}

std::optional<AlertWatchReset> readReset(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  AlertWatchReset reset;
  JsonFields in(*json);
  in.required("reason", reset.reason).required("id", reset.id);
  return in.readable() ? std::optional(std::move(reset)) : std::nullopt;
}

std::optional<bool> backstopIn(std::string_view answer) {
  const auto json = parseJson(answer);
  const auto* object = json ? json->if_object() : nullptr;
  const Json* word = object ? object->if_contains("backstop") : nullptr;
  bool on = false;
  return word && readJson(*word, on) ? std::optional(on) : std::nullopt;
}

}  // namespace brindle
