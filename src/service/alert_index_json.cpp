#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"
#include "core/unlock_event.h"
#include "service/alert_outbox.h"

namespace brindle {
namespace {

bool readBody(const Json& json, AlertBody& out) {
  JsonFields in(json);
  in.required("id", out.id)
      .required("email", out.email)
      .required("boundary", out.boundary)
      .required("file", out.file)
      .lenient("from", out.from)
      .lenient("takenOver", out.takenOver,
               [](const Json& date, WallTime& time) { return readReferenceDate(date, time); })
      .lenient("withdrawn", out.withdrawn);
  // Both become part of a request or a path.
  const bool usable =
      isPlainFileName(out.file) && boundaryOf(viewOf("--" + out.boundary + "\r\n")) == out.boundary;
  return in.readable() && usable;
}

}  // namespace

std::string writeAlertIndex(const std::map<Uuid, AlertBody>& bodies) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().key("bodies").beginArray();
  for (const auto& [id, body] : bodies) {
    out.beginObject()
        .field("id", id)
        .field("email", body.email)
        .field("boundary", body.boundary)
        .field("file", body.file);
    if (!body.from.empty()) {
      out.field("from", body.from).field("takenOver", secondsSince2001(body.takenOver));
    }
    if (body.withdrawn) out.field("withdrawn", true);
    out.endObject();
  }
  out.endArray().endObject();
  return text;
}

std::optional<std::map<Uuid, AlertBody>> readAlertIndex(std::string_view text) {
  const auto json = parseJson(text);
  const auto* object = json ? json->if_object() : nullptr;
  const Json* list = object ? object->if_contains("bodies") : nullptr;
  if (!list || !list->is_array()) return std::nullopt;
  std::map<Uuid, AlertBody> bodies;
  forEachElement(*list, [&bodies](const Json& each) {
    AlertBody body;
    if (readBody(each, body)) bodies[body.id] = body;
    return true;
  });
  return bodies;
}

}  // namespace brindle
