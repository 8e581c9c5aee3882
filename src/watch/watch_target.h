#pragma once

#include <optional>
#include <string>

#include "base/bytes.h"
#include "base/enum_names.h"
#include "base/times.h"
#include "base/uuid.h"
#include "core/opening_text.h"

namespace brindle {

/// One item that the owner has watched, as "watch-list.json" keeps it.
struct WatchTarget {
  enum class Kind { file, folder, tripwire, app };
  static constexpr EnumNames<Kind, 4> kindNames{{{
      {Kind::file, "file"},
      {Kind::folder, "folder"},
      {Kind::tripwire, "tripwire"},
      {Kind::app, "app"},
  }}};

  Uuid id;
  Kind kind = Kind::file;
  std::string displayName;  ///< as the owner and the alerts read it
  Bytes bookmark;           ///< empty for apps only
  std::string bundleID;     ///< of apps only: a bundle identifier or a desktop file's
  std::optional<WallTime> lastSeenUsedDate;
  std::string decoyFileName;  ///< of tripwires only: a plain name without a folder
  std::string placeName;      ///< of the folder that holds the item, for display; may be empty
  WallTime addedAt{};
  bool operator==(const WatchTarget&) const = default;
};

/// What an opening of the item is reported as.
Trigger triggerFor(const WatchTarget& target);

}  // namespace brindle
