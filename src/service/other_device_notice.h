#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/times.h"

namespace brindle {

/// What one of the owner's devices tells the others, as it is sent and received.
struct CrossDeviceNotice {
  std::string kind;    ///< "unlock", "turned-on", …
  std::string device;  ///< the name of the machine it happened on; empty: not told
  std::string platform = "macos";
  std::optional<std::string> targetName;  ///< the watched item
  std::optional<std::string> source;      ///< what turned the guard on
  std::optional<std::string> reason;      ///< why it went quiet or was turned off
  std::optional<std::int64_t> minutes;    ///< how long it has been quiet
  std::optional<bool> silenced;           ///< it went quiet after what happened
  bool operator==(const CrossDeviceNotice&) const = default;
};

/// A notice that arrived, in words.
struct OtherDeviceNotice {
  /// The service's request to turn this machine's guard on, which arrives like a notice.
  static constexpr std::string_view turnOnKind = "turn-on";

  WallTime at{};
  CrossDeviceNotice notice;
  bool operator==(const OtherDeviceNotice&) const = default;

  std::string title() const;
  std::string device() const;  ///< "One of your devices" when it has no name
};

std::string writeNotice(const CrossDeviceNotice& notice);
/// A message as it came, which anybody may have made: nothing unless it is a notice of a bearable
/// length. Its texts are one line each.
std::optional<CrossDeviceNotice> readNotice(std::string_view message);

// The list of those that arrived, as it is kept. Unreadable ones are left out.
std::string writeNotices(const std::vector<OtherDeviceNotice>& notices);
std::vector<OtherDeviceNotice> readNotices(std::string_view text);

}  // namespace brindle
