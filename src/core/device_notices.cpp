#include "core/device_notices.h"

#include <algorithm>
#include <array>

namespace brindle {

std::optional<std::string> watchedItemOf(const std::optional<Trigger>& trigger) {
  // Lid, power and return have no item; the name of their trigger is for the history alone.
  static constexpr std::array items{trigger_kind::watchedFile, trigger_kind::watchedFolder,
                                    trigger_kind::watchedApp, trigger_kind::tripwire};
  if (!trigger || std::ranges::find(items, trigger->kind) == items.end()) return std::nullopt;
  return trigger->name;
}

std::string kindOf(const UnlockEvent& event) {
  if (event.trigger) return event.trigger->kind;
  if (!event.attemptOnly) return "unlock";
  return std::string(wrongTryName(event.wrongPINs > 0 ? WrongTry::pin : WrongTry::answer));
}

DeviceNotice noticeOf(const Trigger& trigger) {
  return {trigger.kind, watchedItemOf(trigger), {}, {}};
}

DeviceNotice noticeOf(WrongTry which) { return {std::string(wrongTryName(which)), {}, {}, {}}; }

DeviceNotice noticeOfTurnOn(const ArmSource& source) {
  return {"turned-on", {}, std::string(source.rawValue()), {}};
}

DeviceNotice noticeOfTurnOff() { return {"turned-off", {}, {}, {}}; }

std::optional<DeviceNotice> noticeOfUnconfirmed(const UnlockEvent& event) {
  if (event.trigger || event.attemptOnly) return std::nullopt;
  return DeviceNotice{"unlock", {}, {}, {}};
}

}  // namespace brindle
