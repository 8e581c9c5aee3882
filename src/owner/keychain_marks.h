#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/lifetime.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"

namespace brindle {

/// What is known of an item of an earlier version, so that the owner is asked about it once only.
/// `moved`: taken over from the legacy keychain. `absent`: the legacy keychain has none.
/// `verified`: read here. `written`: this version wrote it, whatever the legacy keychain holds.
/// `kept`: it stays in the legacy keychain.
enum class KeychainMark { moved, absent, verified, written, kept };

/// The marks of all items and the count of reads that may have made the system ask, remembered in
/// preferences. Looked up and set on the worker thread; made, stored and destroyed on the main one.
class KeychainMarks {
 public:
  KeychainMarks(Preferences& preferences, Scheduler& scheduler);

  std::optional<KeychainMark> of(const std::string& service) const;
  void set(const std::string& service, KeychainMark mark);
  void forget(const std::string& service);
  /// The legacy keychain is about to be read, and the system may ask the owner.
  void countAsk();

 private:
  void storeSoon();
  void store();

  Preferences& preferences_;
  Scheduler& scheduler_;
  mutable std::mutex mutex_;
  std::map<std::string, KeychainMark> marks_;
  std::map<std::string, std::optional<PreferenceValue>> unstored_;
  std::int64_t asks_ = 0;
  bool storePosted_ = false;
  Lifetime lifetime_;
};

}  // namespace brindle
