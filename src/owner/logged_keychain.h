#pragma once

#include <string>
#include <string_view>

#include "base/log.h"
#include "platform/keychain.h"

namespace brindle {

/// The bundle identifier of the released application. Only builds that carry it see its items.
inline constexpr std::string_view releasedBundleId = "com.corvane.brindle";
/// This build's own identifier on systems that give programs none.
std::string buildBundleId();

/// Keychain calls by item name and account, each failure logged with its code. Worker thread only.
class LoggedKeychain {
 public:
  LoggedKeychain(Keychain& keychain, Log log, std::string bundleId)
      : keychain_(keychain), log_(log), bundleId_(std::move(bundleId)) {}

  /// The item's name for the released application; for any other build with the build's own
  /// identifier behind it, so that no two builds share an item.
  std::string service(std::string_view name) const;

  /// An item that holds nothing reads as failed. `quietWhenAbsent`: the caller says so itself.
  KeychainRead read(KeychainStore store, std::string_view name, std::string_view account,
                    bool quietWhenAbsent = false);
  int write(KeychainStore store, std::string_view name, std::string_view account, ByteView data);
  int remove(KeychainStore store, std::string_view name, std::string_view account);

  /// True when this build is entitled to the data-protection keychain.
  bool provisioned();
  /// Whether the data-protection keychain answers a provisioned build: a status code. Writes and
  /// deletes an item of its own, because reads answer "absent" where the entitlement is not backed.
  int probe();

  const Log& log() const { return log_; }
  const std::string& bundleId() const { return bundleId_; }

 private:
  Keychain& keychain_;
  Log log_;
  std::string bundleId_;
};

}  // namespace brindle
