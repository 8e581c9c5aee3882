#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"
#include "service/one_line.h"
#include "service/other_device_notice.h"

namespace brindle {
namespace {

constexpr std::size_t longestMessage = 4096;  // what push services carry

bool readLine(const Json& json, std::string& out) {
  std::string text;
  if (!readJson(json, text)) return false;
  out = oneLine(text);
  return true;
}

bool readFields(const Json& json, CrossDeviceNotice& out) {
  JsonFields in(json);
  in.required("kind", out.kind, readLine)
      .lenient("device", out.device, readLine)
      .lenient("platform", out.platform, readLine)
      .lenient("targetName", out.targetName, optionally<std::string>(readLine))
      .lenient("source", out.source, optionally<std::string>(readLine))
      .lenient("reason", out.reason, optionally<std::string>(readLine))
      .lenient("minutes", out.minutes)
      .lenient("silenced", out.silenced);
  return in.readable() && !out.kind.empty();
}

void writeFields(JsonWriter& out, const CrossDeviceNotice& notice) {
  out.field("kind", notice.kind).field("device", notice.device).field("platform", notice.platform);
  if (notice.targetName) out.field("targetName", *notice.targetName);
  if (notice.source) out.field("source", *notice.source);
  if (notice.reason) out.field("reason", *notice.reason);
  if (notice.minutes) out.field("minutes", *notice.minutes);
  if (notice.silenced) out.field("silenced", *notice.silenced);
}

}  // namespace

std::string writeNotice(const CrossDeviceNotice& notice) {
  std::string text;
  JsonWriter out(text);
  out.beginObject();
  writeFields(out, notice);
  out.endObject();
  return text;
}

std::optional<CrossDeviceNotice> readNotice(std::string_view message) {
  if (message.size() > longestMessage) return std::nullopt;
  const auto json = parseJson(message);
  CrossDeviceNotice notice;
  return json && readFields(*json, notice) ? std::optional(std::move(notice)) : std::nullopt;
}

std::string writeNotices(const std::vector<OtherDeviceNotice>& notices) {
  std::string text;
  JsonWriter out(text);
  out.beginObject().key("notices").beginArray();
  for (const OtherDeviceNotice& each : notices) {
    out.beginObject().field("at", secondsSince2001(each.at));
    writeFields(out, each.notice);
    out.endObject();
  }
  out.endArray().endObject();
  return text;
}

std::vector<OtherDeviceNotice> readNotices(std::string_view text) {
  std::vector<OtherDeviceNotice> notices;
  const auto json = parseJson(text);
  const auto* object = json ? json->if_object() : nullptr;
  const Json* list = object ? object->if_contains("notices") : nullptr;
  if (!list) return notices;
  forEachElement(*list, [&notices](const Json& each) {
    OtherDeviceNotice read;
    JsonFields in(each);
    in.required("at", read.at,
                [](const Json& date, WallTime& at) { return readReferenceDate(date, at); });
    if (in.readable() && readFields(each, read.notice)) notices.push_back(std::move(read));
    return true;
  });
  return notices;
}

}  // namespace brindle
