#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// Kinds of triggers that this program writes. Others found in a document are kept as they are.
namespace trigger_kind {
inline constexpr std::string_view watchedFile = "watched-file";
inline constexpr std::string_view watchedFolder = "watched-folder";
inline constexpr std::string_view watchedApp = "watched-app";
inline constexpr std::string_view tripwire = "tripwire";
inline constexpr std::string_view lidClosed = "lid-closed";
inline constexpr std::string_view powerUnplugged = "power-unplugged";
inline constexpr std::string_view idleReturn = "idle-return";
}  // namespace trigger_kind

/// What caused an event, and the display name of the item concerned.
struct Trigger {
  std::string kind;
  std::string name;
  bool operator==(const Trigger&) const = default;
};

}  // namespace brindle
