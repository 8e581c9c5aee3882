#pragma once

#include <array>

#include "base/log.h"

namespace brindle {

/// A rendered line as os_log can take it: public, private, public, private, … with empty texts
/// where it does not alternate by itself.
struct OsLogStretches {
  /// At most this many private stretches keep their own place; a line with more has everything from
  /// the last of them on counted as private.
  static constexpr std::size_t mostPrivate = 4;

  std::array<std::string, 2 * mostPrivate> text;
  std::size_t privates = 0;
};

OsLogStretches osLogStretches(std::string_view format, std::span<const LogArg> args);

}  // namespace brindle
