#include "core/start_at_login.h"

#include <utility>

namespace brindle {

StartAtLoginOnArm::StartAtLoginOnArm(LoginItem& loginItem, Preferences& preferences, Log log,
                                     std::function<bool(std::string_view)> featureOn)
    : loginItem_(loginItem),
      preferences_(preferences),
      log_(log),
      featureOn_(std::move(featureOn)) {}

void StartAtLoginOnArm::follow(const std::function<Subscription(std::function<void()>)>& observe,
                               std::function<bool()> armed) {
  armed_ = std::move(armed);
  following_ = observe([this] { look(); });
  look();
}

Result<void, std::string> StartAtLoginOnArm::choose(bool startAtLogin) {
  const auto apply = [this](bool enable) {
    return enable ? loginItem_.enable() : loginItem_.disable();
  };
  const bool before = loginItem_.status() == LoginItem::Status::enabled;
  if (auto changed = apply(startAtLogin); !changed) return changed;
  if (!preferences_.set(key, startAtLogin)) {
    // A choice that would be forgotten at the next start must not look as if it were made.
    if (before != startAtLogin) static_cast<void>(apply(before));
    return Failure<std::string>("The choice could not be saved.");
  }
  wasEnabled_ = startAtLogin;
  return {};
}

bool StartAtLoginOnArm::chosen() const { return preferences_.boolean(key).value_or(false); }

void StartAtLoginOnArm::look() {
  if (!armed_()) {
    wasEnabled_ = false;
    return;
  }
  // An absent choice is no refusal: a login item that is enabled without one stays enabled too.
  const bool refused = !preferences_.boolean(key).value_or(true);
  if (refused || !featureOn_(feature)) return;
  keepEnabled();
}

void StartAtLoginOnArm::keepEnabled() {
  const auto status = loginItem_.status();
  if (status == LoginItem::Status::enabled) wasEnabled_ = true;
  if (status != LoginItem::Status::disabled || !(wasEnabled_ || chosen())) return;
  if (const auto enabled = loginItem_.enable(); !enabled) {
    log_.notice("login item: not kept enabled: %{private}s", enabled.error());
    return;
  }
  wasEnabled_ = true;
  log_.notice("login item: enabled again while on");
}

}  // namespace brindle
