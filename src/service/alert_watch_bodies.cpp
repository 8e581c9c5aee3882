#include "service/alert_watch_bodies.h"

#include "base/json_writer.h"
#include "platform/file_step.h"
#include "service/first_characters.h"

namespace brindle {
namespace {

constexpr int longestName = 60;
constexpr int longestZone = 64;
constexpr int longestText = 80;
constexpr std::string_view prefix = "watch-";

std::string deviceName(const WatchedMachine& machine) {
  return machine.name.empty() ? "Mac" : firstCharacters(machine.name, longestName);
}

void writeShort(JsonWriter& out, std::string_view key, const std::optional<std::string>& text) {
  if (text) out.field(key, firstCharacters(*text, longestText));
}

/// With a second try when the folder is missing.
template <class Write>
bool writeInFolder(Files& files, const std::string& folder, Write write) {
  const FileResult<void> written = write();
  if (written) return true;
  if (written.error().kind != FileError::Kind::notFound) return false;
  return files.makeFolder(folder).has_value() && write().has_value();
}

}  // namespace

Bytes checkInBody(const WatchedMachine& machine, const CheckInState& state, std::int64_t seq,
                  const std::optional<AlertWatchReset>& reset) {
  std::string text;
  JsonWriter out(text);
  out.beginObject()
      .field("deviceId", machine.deviceId)
      .field("device", deviceName(machine))
      .field("platform", "macos")  // the only word the service knows, on every system
      .field("on", state.on)
      .field("sleeping", state.sleeping)
      .field("timeZone", firstCharacters(machine.timeZone, longestZone))
      .field("seq", seq);
  if (!state.on && state.reason) out.field("reason", *state.reason);
  if (reset) out.field("reset", reset->reason).field("resetId", reset->id);
  out.endObject();
  return bytesOf(text);
}

Bytes pendingBody(const WatchedMachine& machine, const WatchedUnlock& unlock, bool emailAlerts) {
  std::string text;
  JsonWriter out(text);
  out.beginObject()
      .field("eventId", unlock.eventID)
      .field("deviceId", machine.deviceId)
      .field("device", deviceName(machine))
      .field("platform", "macos")
      .field("at", unlock.at)
      .field("timeZone", firstCharacters(machine.timeZone, longestZone))
      .field("kind", unlock.kind)
      .field("wrongPINs", unlock.wrongPINs)
      .field("emailAlerts", emailAlerts);
  writeShort(out, "place", unlock.place);
  writeShort(out, "targetName", unlock.targetName);
  out.endObject();
  return bytesOf(text);
}

Bytes eventBody(const Uuid& event) {
  std::string text;
  JsonWriter(text).beginObject().field("eventId", event).endObject();
  return bytesOf(text);
}

bool writeBodyFile(Files& files, const std::string& folder, const std::string& name,
                   ByteView content) {
  return writeInFolder(files, folder, [&] {  //
    return files.writeWhole(joinPath(folder, name), content);
  });
}

std::string AlertWatchBodies::fileName(const AlertWatchOp& op) {
  const bool photo = op.route == AlertWatchRoute::pendingPhoto;
  return std::string(prefix) + op.id.upper() + (photo ? ".jpg" : ".json");
}

void AlertWatchBodies::keep(AlertWatchOp& op) {
  if (!op.file.empty()) return;
  const std::string name = fileName(op);
  const auto write = [&] { return files_.writeUnflushed(joinPath(folder_, name), op.body); };
  if (!writeInFolder(files_, folder_, write)) {
    log_.notice("outbox: a check-in body not written");
    return;
  }
  op.file = name;
}

bool AlertWatchBodies::isWhole(const AlertWatchOp& op) {
  if (op.body.empty()) return files_.exists(path(op)).value_or(true);
  // In doubt it is written again: a power cut may have left the file empty.
  const auto found = files_.read(path(op));
  return found && *found == op.body;
}

std::string AlertWatchBodies::pathOf(const std::string& file) const {
  const auto other = elsewhere_.find(file);
  return other == elsewhere_.end() ? joinPath(folder_, file) : other->second;
}

void AlertWatchBodies::remove(const std::string& file) {
  // What cannot be removed now is found by a later run.
  static_cast<void>(files_.remove(pathOf(file)));
}

std::vector<std::string> AlertWatchBodies::found() {
  auto all = files_.list(folder_);
  if (!all) return {};
  std::erase_if(*all, [](const std::string& name) {
    return !name.starts_with(prefix) && !isTemporaryName(name);
  });
  return std::move(*all);
}

}  // namespace brindle
