#pragma once

#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "core/event_files.h"
#include "core/event_history.h"
#include "core/owed_reports.h"
#include "core/photo_vault.h"
#include "core/state_saving.h"
#include "core/vault_uploading.h"
#include "platform/random.h"

namespace brindle {

/// Hands photos and clips of events that nobody confirmed to the vault and follows each of them to
/// its end. What is on its way is offered again at every start, since the vault may have lost it;
/// its file stays that long. Main thread only.
class VaultHandOver {
 public:
  /// Events whose hold is over while no record says yet what the vault took of them.
  static constexpr std::string_view owedKey = "vault.handOver";

  struct Parts {
    VaultUploading& uploads;
    EventHistory& history;
    EventFiles& files;
    PhotoVault& vault;
    StateSaving& saving;
    const OwedReports& reports;
    Random& random;
    Preferences& defaults;
  };
  explicit VaultHandOver(const Parts& parts);

  /// Nobody confirmed the event in time. Belongs before anything that says that its hold is over.
  void released(const Uuid& event);
  /// The event got another photo or clip. It follows the others when their hold is over.
  void itemCame(const Uuid& event);
  /// After a start, by the run that stays.
  void resume();
  /// The event was confirmed or deleted: its copies go, and what is left of it is never offered.
  void settle(const UnlockEvent& event);

 private:
  void offer(const Uuid& event);
  void ended(const Uuid& event, const Uuid& photo, VaultUploading::Ended how);
  void nameItems(UnlockEvent& event);
  void holdFiles(const Uuid& event);
  void store();

  Parts parts_;
  std::set<Uuid> owed_;
  std::set<Uuid> settled_;  ///< in this run; later ones have no more items for those
  std::map<Uuid, std::vector<FileName>> handedOut_;
  Subscription results_;
  Lifetime lifetime_;
};

}  // namespace brindle
