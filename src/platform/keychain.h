#pragma once

#include <string>

#include "base/bytes.h"
#include "platform/service_report.h"

namespace brindle {

/// A generic password item: who it belongs to and under which name.
struct KeychainItem {
  std::string service;
  std::string account;
  bool operator==(const KeychainItem&) const = default;
};

/// The two keychains of macOS. Linux has one Secret Service, which serves as `dataProtection`;
/// its `legacy` holds nothing and answers "absent".
enum class KeychainStore { dataProtection, legacy };

/// Status codes as macOS numbers them, so that log lines read alike everywhere; backends map their
/// own errors onto these.
namespace keychain_code {
inline constexpr int success = 0;
inline constexpr int itemNotFound = -25300;
inline constexpr int interactionNotAllowed = -25308;  ///< locked, or a prompt was needed
inline constexpr int authFailed = -25293;
inline constexpr int userCanceled = -128;
inline constexpr int notAvailable = -25291;  ///< no keychain service answers
inline constexpr int io = -36;
inline constexpr int missingEntitlement = -34018;
}  // namespace keychain_code

struct KeychainRead {
  int code = keychain_code::success;  ///< success, itemNotFound, or why it could not be read
  Bytes data;                         ///< on success; may be empty when the item held nothing
};

/// Passwords kept by the system. Calls block, for minutes if the system asks a person: worker
/// threads only. A locked or missing service is never reported as an absent item.
class Keychain {
 public:
  virtual ~Keychain() = default;

  virtual KeychainRead read(KeychainStore store, const KeychainItem& item) = 0;
  /// Adds or replaces; items can be read when the owner's session is unlocked, on this machine
  /// only. Returns a status code.
  virtual int write(KeychainStore store, const KeychainItem& item, ByteView data) = 0;
  /// Returns a status code; itemNotFound when there was nothing to delete.
  virtual int remove(KeychainStore store, const KeychainItem& item) = 0;
  /// True when this build is entitled to the data-protection keychain, so that the legacy one is
  /// never asked.
  virtual bool provisioned() = 0;
  /// Asks the service whether it answers; may block like the others.
  virtual ServiceReport report() = 0;
};

}  // namespace brindle
