#include <algorithm>
#include <utility>

#include "base/json_fields.h"
#include "base/json_writer.h"
#include "triggers/saved_volumes.h"

namespace brindle {
namespace {

bool readLevels(const Json& json, std::map<int, double>& out) {
  return forEachElement(json, [&out](const Json& each) {
    std::int64_t channel = 0;
    double level = 0;
    JsonFields in(each);
    in.required("channel", channel).required("level", level);
    const bool readable = in.readable() && std::in_range<int>(channel) && level >= 0;
    if (readable) out[static_cast<int>(channel)] = level;
    return readable;
  });
}

}  // namespace

std::string writeSavedVolumes(const std::vector<SavedVolume>& volumes) {
  std::string json;
  JsonWriter out(json);
  out.beginArray();
  for (const SavedVolume& volume : volumes) {
    out.beginObject().field("device", volume.device).key("levels").beginArray();
    for (const auto& [channel, level] : volume.levels) {
      out.beginObject().field("channel", channel).field("level", level).endObject();
    }
    out.endArray();
    if (volume.muted) out.field("muted", *volume.muted);
    out.endObject();
  }
  out.endArray();
  return json;
}

std::optional<std::vector<SavedVolume>> readSavedVolumes(const std::string& json) {
  const auto list = parseJson(json);
  std::vector<SavedVolume> volumes;
  const bool isList = list && forEachElement(*list, [&volumes](const Json& each) {
                        SavedVolume volume;
                        JsonFields in(each);
                        in.required("device", volume.device)
                            .required("levels", volume.levels, readLevels)
                            .strict("muted", volume.muted);
                        const bool isNew = std::ranges::find(volumes, volume.device,
                                                             &SavedVolume::device) == volumes.end();
                        if (in.readable() && isNew) volumes.push_back(std::move(volume));
                        return true;
                      });
  return isList ? std::optional(std::move(volumes)) : std::nullopt;
}

}  // namespace brindle
