#pragma once

#include <string>

#include "platform/files.h"
#include "platform/keychain.h"

namespace brindle {

/// The stand-in where no Secret Service was ever present: one private file (0600) per item, in the
/// same form as the keyring holds it, so it protects as much as the records themselves do. Worker
/// threads, one call at a time.
class FileKeychain final : public Keychain {
 public:
  FileKeychain(Files& files, std::string folder) : files_(files), folder_(std::move(folder)) {}

  KeychainRead read(KeychainStore store, const KeychainItem& item) override;
  int write(KeychainStore store, const KeychainItem& item, ByteView data) override;
  int remove(KeychainStore store, const KeychainItem& item) override;
  bool provisioned() override { return false; }
  ServiceReport report() override;

 private:
  std::string pathOf(const KeychainItem& item) const;

  Files& files_;
  std::string folder_;
};

}  // namespace brindle
