#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "core/vault_uploading.h"
#include "vault/photo_key.h"
#include "vault/upload_label.h"
#include "vault/vault_accounts.h"
#include "vault/vault_parts.h"
#include "vault/vault_prepare.h"

namespace brindle {

/// Seals items one after the other and uploads a few at a time, each until the service has answered
/// for it. A sealed item lies on disk while it is on its way, and is made anew for each try: for
/// those who are to open it now, and without filling the disk. Main thread only.
class VaultUploads {
 public:
  using Ended = VaultUploading::Ended;
  static constexpr std::size_t mostUnderWay = 3;

  /// One item that the service has not answered for.
  struct Waiting {
    PhotoKey key;
    Uuid photo;
    enum class Why {
      inTurn,            ///< sealed next, or with the next offer
      sealing,           ///< being made
      onItsWay,          ///< handed to the system
      waitsForRetry,     ///< failed, or could not be written
      notAllowed,        ///< until the account or the keys change
      awaitsKeys,        ///< the service has not said yet whom it is sealed for
      off,               ///< nobody wants copies now
      notSignedIn,       ///< nobody is signed in
      ofAnotherAccount,  ///< somebody else is
    } why = Why::inTurn;
    std::size_t failures = 0;  ///< in this run
  };
  struct Counts {
    std::size_t saved = 0, rejected = 0, dropped = 0;
    bool operator==(const Counts&) const = default;
  };
  struct Events {
    std::function<bool()> wanted;                    ///< the owner's switch
    std::function<bool(const Uuid& event)> deleted;  ///< or being deleted
    std::function<void(const Uuid& event, const Uuid& photo, Ended how)> ended;
    std::function<void(const Uuid& event)> answeredLate;  ///< it is deleted, or being deleted
    std::function<void(const Uuid& event)> givenUpLate;   ///< the same, and it may arrive yet
    std::function<void()> ready;                          ///< what earlier runs left is known
    std::function<void()> changed;
  };
  VaultUploads(const VaultParts& parts, const VaultAccounts& accounts, Events events);

  void start();
  /// Again is nothing.
  void take(const UnlockEvent& event, std::size_t index);
  /// Cancels what is on its way and forgets the rest. True when something was on its way.
  bool forget(const Uuid& event);
  /// Ends all that was handed over under an account that is gone.
  void forgetAccount(const std::string& email);
  /// Whether anything of the event waits or is on its way.
  bool knows(const Uuid& event) const;
  /// Tries each that waits once, until several in a row have failed.
  void offer();
  bool ready() const { return ready_; }
  /// The account or the keys changed: what was not allowed may be now.
  void allow();
  /// The owner's switch was turned: what is on its way while off comes back.
  void turned();

  std::vector<Waiting> waiting() const;
  std::size_t waitingCount() const { return undelivered_.size(); }
  std::size_t underWay() const { return underWay_.size(); }
  const Counts& counts() const { return counts_; }

 private:
  struct Item {
    Upload upload;  ///< its bytes are read when it is sealed
    FileName file;
    bool maybeSent = false;  ///< in an earlier run, too: the service may have it
    std::size_t failures = 0;
    bool notAllowed = false;
  };

  void takeUp(const std::vector<std::string>& labels);
  void removeLeftovers();
  Waiting::Why why(const PhotoKey& key, const Item& item) const;
  bool mayBeSent(const PhotoKey& key) const;
  void pump();
  void prepare(const PhotoKey& key);
  void seal(const PhotoKey& key);
  void prepared(const PhotoKey& key, Prepared result, const std::string& blob,
                const std::string& email);
  void drop(const PhotoKey& key, std::string_view why);
  void send(const PhotoKey& key, const std::string& blob);
  void taken(const TransferResult& result);
  void answered(const UploadLabel& label, const ServiceAnswer& answer);
  void end(PhotoKey key, Uuid photo, Ended how);
  void failed(const PhotoKey& key);
  void cancel(const PhotoKey& key);
  void removeBlob(const std::string& name);

  const VaultParts& parts_;
  const VaultAccounts& accounts_;
  Events events_;
  bool ready_ = false;
  std::map<PhotoKey, Item> undelivered_;
  std::map<PhotoKey, std::string> underWay_;  ///< labels, also of what earlier runs handed over
  std::optional<PhotoKey> preparing_;
  std::deque<PhotoKey> round_;  ///< still to be tried
  std::size_t failuresInARow_ = 0;
  Counts counts_;
  Timer settle_;
  Lifetime lifetime_;
};

}  // namespace brindle
