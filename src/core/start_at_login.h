#pragma once

#include <functional>
#include <string>

#include "base/log.h"
#include "base/subscription.h"
#include "platform/login_item.h"
#include "platform/preferences.h"

namespace brindle {

/// Keeps the login item enabled while the guard is on, so that a guard left on comes back after a
/// restart. It never overrules an owner who chose not to start at login. Main thread only.
class StartAtLoginOnArm {
 public:
  /// The owner's choice.
  static constexpr std::string_view key = "startAtLogin";
  /// The feature switch of keeping it enabled.
  static constexpr std::string_view feature = "watch.loginItemWhileOn";

  StartAtLoginOnArm(LoginItem& loginItem, Preferences& preferences, Log log,
                    std::function<bool(std::string_view)> featureOn);

  /// Follows the guard from now on. `observe` registers for changes of the guard's state, `armed`
  /// answers whether it is on.
  void follow(const std::function<Subscription(std::function<void()>)>& observe,
              std::function<bool()> armed);
  /// The owner chooses. An explanation for a person when the system refuses; the choice is then as
  /// it was.
  Result<void, std::string> choose(bool startAtLogin);
  bool chosen() const;

 private:
  void look();
  void keepEnabled();

  LoginItem& loginItem_;
  Preferences& preferences_;
  Log log_;
  std::function<bool(std::string_view)> featureOn_;
  std::function<bool()> armed_;
  /// The login item was enabled at some look since the guard was turned on.
  bool wasEnabled_ = false;
  Subscription following_;
};

}  // namespace brindle
