#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "owner/keychain_marks.h"
#include "owner/keychain_move.h"
#include "owner/logged_keychain.h"
#include "owner/secret_names.h"

namespace brindle {

/// Keychain items by name and account, wherever this build keeps them: in the data-protection
/// keychain, with items of earlier versions moved over from the legacy one as they are found. Every
/// call answers with a keychain status code. Blocking: worker thread only, one call at a time.
class KeychainItems {
 public:
  KeychainItems(Keychain& keychain, KeychainMarks& marks, Log log,
                std::string bundleId = buildBundleId());

  KeychainRead read(std::string_view name, std::string_view account = secret_names::account);
  int write(std::string_view name, ByteView data, std::string_view account = secret_names::account);
  /// Deletes the item in both keychains; itemNotFound when neither had it.
  int remove(std::string_view name, std::string_view account = secret_names::account);
  /// Empty when it cannot be told.
  std::optional<bool> exists(std::string_view name,
                             std::string_view account = secret_names::account);

  struct Deleted {
    int all = 0;       ///< items deleted
    int inLegacy = 0;  ///< those of them that lay in the legacy keychain
    int failures = 0;
    int code = keychain_code::itemNotFound;  ///< the first failure, else success if any was deleted
  };
  Deleted removeEverywhere(std::string_view name, std::string_view account = secret_names::account);

  bool released() const { return keychain_.bundleId() == releasedBundleId; }
  /// True while some secret of the owner has never been looked for in the legacy keychain. Main
  /// thread.
  bool mayAsk() const;

 private:
  /// Success, or why the data-protection keychain cannot be relied on in this build.
  int reach();
  /// True when the code means that this build has no data-protection keychain at all.
  bool hasNone(int code);

  LoggedKeychain keychain_;
  KeychainMarks& marks_;
  KeychainMove move_;
  std::optional<bool> provisioned_;
  bool probed_ = false;
  bool legacyOnly_ = false;
};

}  // namespace brindle
