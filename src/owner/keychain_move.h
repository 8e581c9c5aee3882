#pragma once

#include <string_view>

#include "owner/keychain_marks.h"
#include "owner/logged_keychain.h"

namespace brindle {

/// Takes items of earlier versions over from the legacy keychain, each once. The legacy item goes
/// only after the copy has been read back; whatever fails before leaves it where it is. Worker
/// thread only.
class KeychainMove {
 public:
  KeychainMove(LoggedKeychain& keychain, KeychainMarks& marks)
      : keychain_(keychain), marks_(marks) {}

  /// Called when the data-protection keychain has no such item. Answers what the legacy keychain
  /// holds, moved or not; absent also for an item that must not be used.
  KeychainRead find(std::string_view name, std::string_view account);

 private:
  bool pairs(std::string_view name, std::string_view account);
  void move(std::string_view name, std::string_view account, ByteView data);

  LoggedKeychain& keychain_;
  KeychainMarks& marks_;
};

}  // namespace brindle
