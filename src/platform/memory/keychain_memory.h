#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <tuple>
#include <utility>

#include "platform/keychain.h"

namespace brindle {

/// Both keychains in memory, with the troubles of real ones. Any thread.
class MemoryKeychain final : public Keychain {
 public:
  KeychainRead read(KeychainStore store, const KeychainItem& item) override;
  int write(KeychainStore store, const KeychainItem& item, ByteView data) override;
  int remove(KeychainStore store, const KeychainItem& item) override;
  bool provisioned() override;
  ServiceReport report() override;

  /// While locked every call answers interactionNotAllowed, while denied authFailed, while gone
  /// notAvailable; items are untouched by any of them.
  void setLocked(bool locked) { setTrouble(locked, keychain_code::interactionNotAllowed); }
  void setDenied(bool denied) { setTrouble(denied, keychain_code::authFailed); }
  void setGone(bool gone) { setTrouble(gone, keychain_code::notAvailable); }
  /// Every call for one store answers `code` until it is set to success.
  void setAnswer(KeychainStore store, int code);
  /// The next call of its kind answers `code` and, unless that is success, does nothing.
  void failNextRead(int code) { setNext(nextReads_, {code}); }
  void failNextWrite(int code) { setNext(nextWrites_, {code}); }
  void failNextRemove(int code) { setNext(nextRemoves_, {code}); }
  /// As `failNextWrite`, for as many writes as there are codes.
  void failWrites(std::deque<int> codes) { setNext(nextWrites_, std::move(codes)); }
  void setProvisioned(bool provisioned);

  bool holds(KeychainStore store, const KeychainItem& item) const;
  std::size_t items(KeychainStore store) const;
  int reads() const;

 private:
  using Key = std::tuple<KeychainStore, std::string, std::string>;
  void setTrouble(bool on, int code);
  void setNext(std::deque<int>& next, std::deque<int> codes);
  int codeFor(KeychainStore store, std::deque<int>& next);

  mutable std::mutex mutex_;
  std::map<Key, Bytes> items_;
  std::map<KeychainStore, int> answers_;
  int trouble_ = keychain_code::success;
  std::deque<int> nextReads_, nextWrites_, nextRemoves_;
  int reads_ = 0;
  bool provisioned_ = false;
};

}  // namespace brindle
