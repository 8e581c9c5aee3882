#include "core/arm_source_json.h"

#include "base/json_fields.h"

namespace brindle {
namespace {

bool readOccurrence(const JsonNode& json, Occurrence& out) {
  JsonFields in(json);
  in.required("windowID", out.windowID)
      .required("start", out.start)
      .required("end", out.end)
      .required("key", out.key);
  return in.readable();
}

}  // namespace

Result<ArmSource, std::string> readArmSource(const JsonNode& json) {
  std::string by;
  JsonFields in(json);
  in.required("by", by);
  if (!in.readable()) return Failure<std::string>("No arm source");
  if (by == "owner") return ArmSource::owner();
  if (by == "remote") return ArmSource::remote();
  if (by == "iphone-away") return ArmSource::iPhoneAway();
  if (by != "schedule") return Failure<std::string>("Unknown arm source " + by);
  Occurrence occurrence;
  in.required("occurrence", occurrence, readOccurrence);
  if (!in.readable()) return Failure<std::string>("Arm source schedule without its occurrence");
  return ArmSource::schedule(std::move(occurrence));
}

void writeArmSource(JsonWriter& out, const ArmSource& source) {
  out.beginObject().field("by", source.rawValue());
  if (const auto* schedule = std::get_if<ArmSource::Schedule>(&source.by)) {
    out.key("occurrence")
        .beginObject()
        .field("windowID", schedule->occurrence.windowID)
        .field("start", schedule->occurrence.start)
        .field("end", schedule->occurrence.end)
        .field("key", schedule->occurrence.key)
        .endObject();
  }
  out.endObject();
}

}  // namespace brindle
