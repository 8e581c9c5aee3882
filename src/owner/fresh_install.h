#pragma once

#include <functional>
#include <string>

#include "base/lifetime.h"
#include "base/log.h"
#include "platform/files.h"
#include "platform/preferences.h"
#include "platform/worker_queue.h"

namespace brindle {

class KeychainItems;

/// Set once the owner has chosen a PIN.
inline constexpr std::string_view onboardedKey = "onboarded";

/// On the first launch of a new installation, secrets that an earlier installation left in the
/// keychain belong to nobody here any more; the released application deletes them. An installation
/// is believed to be new only when nothing at all says otherwise: no mark, no history document or
/// kept-aside copy of one, no photos, no watch list. What cannot be looked at counts as being
/// there.
class FreshInstall {
 public:
  /// `folder` is the application's own, with the history document in it.
  FreshInstall(KeychainItems& items, Preferences& preferences, Files& files, WorkerQueue& worker,
               Log log, std::string folder);

  /// Once at start, before the first look at the secrets; `done` from the main loop.
  void run(std::function<void()> done);

 private:
  struct Outcome;
  bool marked() const;
  bool folderIsBare() const;
  Outcome removeSecrets() const;

  KeychainItems& items_;
  Preferences& preferences_;
  Files& files_;
  WorkerQueue& worker_;
  Log log_;
  std::string folder_;
  Lifetime lifetime_;
};

}  // namespace brindle
