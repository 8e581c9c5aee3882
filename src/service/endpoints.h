#pragma once

#include <string_view>

#include "base/times.h"

namespace brindle::endpoints {

// Paths below the service's base URL.
inline constexpr std::string_view apple = "api/auth/apple";
inline constexpr std::string_view google = "api/auth/google";
inline constexpr std::string_view verifyStart = "api/verify-start";
inline constexpr std::string_view verifyFinish = "api/verify-finish";
inline constexpr std::string_view accountDelete = "api/account/delete";
inline constexpr std::string_view terms = "api/terms";
inline constexpr std::string_view alert = "api/alert";
inline constexpr std::string_view watch = "api/watch/";  ///< and the route
inline constexpr std::string_view push = "api/push/";    ///< and the action
inline constexpr std::string_view vaultKeys = "api/vault/keys";
inline constexpr std::string_view vaultUpload = "api/vault/upload";
inline constexpr std::string_view vaultDeviceDelete = "api/vault/device-delete";
inline constexpr std::string_view vaultOrgLookup = "api/vault/org/lookup";
inline constexpr std::string_view vaultOrgJoin = "api/vault/org/join";
inline constexpr std::string_view vaultSetupPage = "/vault/setup";  ///< for a browser

inline constexpr Duration usualTimeout = std::chrono::seconds(60);
inline constexpr Duration accountDeleteTimeout = std::chrono::seconds(30);
inline constexpr Duration termsTimeout = std::chrono::seconds(20);
inline constexpr Duration pushTimeout = std::chrono::seconds(20);
inline constexpr Duration vaultTimeout = std::chrono::seconds(30);
inline constexpr Duration vaultUploadTimeout = std::chrono::seconds(60);
inline constexpr Duration inMemoryTimeout = std::chrono::seconds(10);

inline constexpr std::string_view json = "application/json";
inline constexpr std::string_view bytes = "application/octet-stream";

}  // namespace brindle::endpoints
