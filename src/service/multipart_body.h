#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "core/unlock_event.h"

namespace brindle {

/// What an alert says besides its photos.
struct AlertFields {
  WallTime unlockAt{};
  std::string timeZone;
  std::string deviceName;
  std::int64_t wrongPINs = 0;
  std::optional<std::string> reason;
  std::optional<std::string> targetName;
  std::optional<UnlockLocation> location;
};

/// A whole "multipart/form-data" body (RFC 7578) and the boundary between its parts.
struct MultipartBody {
  static constexpr std::size_t mostPhotos = 4;

  Bytes bytes;
  std::string boundary;
};

/// Line ends and other control characters of a text become spaces; photos beyond `mostPhotos` are
/// dropped. A boundary that occurs in what is sent is drawn again; nothing when none comes that
/// does not.
std::optional<MultipartBody> multipartBody(const AlertFields& fields,
                                           const std::vector<Bytes>& photos,
                                           const std::function<std::string()>& drawBoundary);

/// The boundary of a body that was written earlier; nothing when it does not begin like one.
std::optional<std::string> boundaryOf(ByteView body);

}  // namespace brindle
