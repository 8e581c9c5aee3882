#pragma once

#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/alert_watch_bodies.h"
#include "service/alert_watch_op.h"

namespace brindle {

/// What is owed to the service, in order, and the marks that belong to it. Everything is stored as
/// one change, so that a sequence number is never on the disk without its operation. Main thread
/// only.
class AlertWatchOutbox {
 public:
  /// An operation and what this run knows of it.
  struct Entry {
    AlertWatchOp op;
    std::string text;                ///< as stored; empty: to be made anew
    int round = 0;                   ///< failed rounds of this run
    Duration due{};                  ///< awake time before which it is not sent again
    std::optional<Duration> queued;  ///< awake time, if it was queued in this run
    bool whenRoom = false;           ///< its turn came, but too many others were on their way
    bool toldWaiting = false;        ///< the log knows that it waits for its account
  };
  using Entries = std::list<Entry>;

  /// Reads what an earlier run left.
  AlertWatchOutbox(Preferences& preferences, Scheduler& scheduler, AlertWatchBodies& bodies,
                   Log log);

  Entries& ops() { return ops_; }
  const Entries& ops() const { return ops_; }
  Entry* find(const Uuid& id);
  bool empty() const { return ops_.empty(); }

  // Changes count once `save` or `saveSoon` comes to them.
  Entry& append(AlertWatchOp op);
  void changed(Entry& entry);
  /// Its file goes once the disk knows that the operation is gone.
  void remove(const Uuid& id);
  /// All of an account, and stored soon; which they were.
  std::vector<Uuid> removeAllOf(std::string_view account);
  /// A mark that is stored with the next save and reads as set at once.
  void mark(std::string_view key, std::optional<PreferenceValue> value);
  bool flag(std::string_view key, bool whenAbsent = false) const;
  std::optional<std::int64_t> number(std::string_view key) const;
  std::optional<std::string> text(std::string_view key) const;

  /// False when it could not be stored: everything stays as it is in memory and is tried again.
  bool save();
  /// At the end of this turn of the main loop, however much changes in it.
  void saveSoon();

 private:
  static constexpr Duration retryPause = std::chrono::seconds(30);

  void load();
  std::string whole();
  std::optional<PreferenceValue> value(std::string_view key) const;

  Preferences& preferences_;
  Scheduler& scheduler_;
  AlertWatchBodies& bodies_;
  Log log_;
  Entries ops_;
  std::unordered_map<Uuid, Entries::iterator> byId_;
  std::map<std::string, std::optional<PreferenceValue>, std::less<>> marks_;  ///< not stored yet
  std::vector<std::string> unneeded_;  ///< files of operations that are gone
  bool dirty_ = false;
  bool saveComes_ = false;
  bool failing_ = false;
  Timer retry_;
  Lifetime lifetime_;
};

}  // namespace brindle
