#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/times.h"

namespace brindle {

/// The facts that travel encrypted beside a photo or a clip.
struct VaultMeta {
  WallTime takenAt{};
  std::int64_t index = 0;  ///< the photo's place within its event, 0 for the first
  std::string kind;        ///< the kind of occurrence
  std::int64_t wrongPINs = 0;
  std::string device;    ///< the kind of computer
  std::string timeZone;  ///< IANA identifier
  std::optional<std::string> deviceName;
  std::optional<std::string> mime;  ///< of the sealed bytes; a JPEG when absent
  std::optional<double> lat, lon;   ///< degrees
  std::optional<std::string> place;
  std::optional<std::string> target;  ///< the watched item that was opened
  bool operator==(const VaultMeta&) const = default;
};

/// Written by hand, not by the general writer: other programs open these bytes.
std::string metaJson(const VaultMeta& meta);

}  // namespace brindle
