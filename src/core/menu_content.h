#pragma once

#include <string_view>
#include <vector>

namespace brindle {

/// What the menu-bar item shows and offers, without any window system. A value, built anew from the
/// guard's state whenever the menu opens.
class MenuContent {
 public:
  enum class Action { turnOn, turnOff, openFullWindow, settings, whatsNew, reportProblem, quit };
  struct Entry {
    Action action;
    std::string_view text;
    bool enabled = true;
    bool operator==(const Entry&) const = default;
  };

  explicit MenuContent(bool armed) : armed_(armed) {}

  /// The item's label.
  std::string_view label() const { return armed_ ? "Brindle is on" : "Brindle is off"; }
  /// In the order shown. Turning off and, while on, quitting ask for the owner's proof.
  std::vector<Entry> entries() const;

 private:
  bool armed_;
};

}  // namespace brindle
