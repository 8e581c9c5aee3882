#pragma once

#include <chrono>

#include "platform/keychain.h"

namespace brindle {

/// The desktop's Secret Service, which serves as the data-protection keychain. Its items open with
/// the owner's session and stay on this machine. Each call makes and drops its own objects, so a
/// service or bus that went away in between is found anew. Worker threads, one call at a time.
class SecretServiceKeychain final : public Keychain {
 public:
  /// `longest` is how long a person may take over a prompt before the call gives up.
  explicit SecretServiceKeychain(std::chrono::milliseconds longest = std::chrono::seconds(60))
      : longest_(longest) {}

  KeychainRead read(KeychainStore store, const KeychainItem& item) override;
  int write(KeychainStore store, const KeychainItem& item, ByteView data) override;
  int remove(KeychainStore store, const KeychainItem& item) override;
  bool provisioned() override { return false; }
  ServiceReport report() override;

 private:
  std::chrono::milliseconds longest_;
};

}  // namespace brindle
