#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.h"
#include "base/log.h"
#include "core/guard_collaborators.h"
#include "platform/files.h"

namespace brindle {

struct UnlockLogEntry {
  using Outcome = UnlockLogging::Outcome;
  static constexpr EnumNames<Outcome, 3> outcomeNames{{{
      {Outcome::confirmed, "confirmed"},
      {Outcome::unconfirmed, "unconfirmed"},
      {Outcome::wrongPIN, "wrong-pin"},
  }}};

  Uuid id;  ///< of the event
  WallTime at{};
  Outcome outcome = Outcome::unconfirmed;
  std::int64_t wrongTries = 0;
  bool operator==(const UnlockLogEntry&) const = default;
};

/// None when any of it is unreadable.
std::optional<std::vector<UnlockLogEntry>> readUnlockLog(std::string_view json);
/// Dates are seconds since 2001, unlike those of the history.
std::string writeUnlockLog(const std::vector<UnlockLogEntry>& entries);

/// The document "unlock-log.json". Blocking; one thread at a time.
class UnlockLogFile {
 public:
  /// `stamp` is asked for the name of a file that is kept aside.
  UnlockLogFile(Files& files, std::string path, std::function<std::string()> stamp, Log log);

  /// Empty when there is none, or none that can be read.
  std::vector<UnlockLogEntry> load();
  /// Whole and atomic. What could not be read at `load` is first given another name, and as long
  /// as that fails nothing is written.
  void save(const std::vector<UnlockLogEntry>& entries);

 private:
  bool keepAside();

  Files& files_;
  const std::string path_;
  const std::function<std::string()> stamp_;
  Log log_;
  bool damaged_ = false;
};

}  // namespace brindle
