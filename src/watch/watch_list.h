#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "base/result.h"
#include "base/subscription.h"
#include "platform/notifications.h"
#include "watch/security_scoped_bookmarks.h"
#include "watch/tripwire_decoy.h"
#include "watch/watch_list_file.h"
#include "watch/watch_list_probes.h"
#include "watch/watch_list_saving.h"
#include "watch/watch_list_services.h"
#include "watch/watch_target.h"

namespace brindle {

/// What the owner asked to be watched. Every change is kept in "watch-list.json" at once; one that
/// cannot be written is tried again until it can. Main thread only; answers and notices come from
/// the main loop, never inline.
class WatchList {
 public:
  struct AddedTarget {
    WatchTarget target;
    bool saved = false;  ///< false: it is watched, but not on disk yet
  };
  /// The target, or why not, in words for the owner.
  using Added = std::function<void(Result<AddedTarget, std::string>)>;
  enum class Removed {
    done,
    notSaved,   ///< it is watched no more, but that is not on disk yet
    decoyLeft,  ///< what lies in the decoy's place is not what was put there, and was left alone
    decoyNotFound,
    notListed
  };
  enum class Change {
    targets,  ///< what is to be watched, or where it lies
    states    ///< only how targets stand, or whether the list is saved
  };
  /// This program itself, which is never watched; `ownDesktopID` where apps go by desktop files.
  static constexpr std::string_view ownBundleID = "com.corvane.brindle";
  static constexpr std::string_view ownDesktopID = "brindle";

  /// `fileURL` is the path of "watch-list.json".
  WatchList(WatchListServices services, std::string fileURL);

  /// Reads the list, blocking, once, at launch and before anything else.
  void load();
  /// Why the list that was kept could not be read, for the owner; empty when it could, or when
  /// there is a new one.
  const std::string& problem() const { return problem_; }

  const std::vector<WatchTarget>& targets() const { return targets_; }
  /// Null when there is no such target; valid until the list changes.
  const WatchTarget* find(const Uuid& id) const;
  WatchTargetState state(const Uuid& id) const;
  /// The list on disk is this one.
  bool saved() const { return saving_.saved(); }

  void addFileOrFolder(const std::string& path, Added done);
  void addApp(const std::string& pathOrId, Added done);
  void createTripwire(const std::string& name, const std::string& folder, Added done);
  /// A tripwire's decoy goes too, once the list without it is on disk. `done` comes twice where
  /// the first save failed: then, and with how it ended once a later one went well.
  void remove(const Uuid& id, std::function<void(Removed)> done);
  /// Undoes an addition that could not be saved, for who does not go on trying.
  void takeBack(const Uuid& id, std::function<void()> done);

  /// Where the file, folder or decoy is now; the access held by the result is the caller's to drop.
  /// Renews a stale bookmark. Without success the target stays and shows as missing.
  [[nodiscard]] Result<ResolvedBookmark, Bookmarks::Problem> resolve(const Uuid& id);

  /// A decoy was removed or renamed. Looks, and unless it is there puts it back; the owner is told
  /// either way, once until it is back.
  void decoyGone(const Uuid& id, const std::string& folder, const std::string& fileName);
  /// The same for every decoy that is not where it was when nobody watched.
  void lookAfterDecoys();
  /// The last-used date of the item that was seen last.
  void noteUsed(const Uuid& id, WallTime lastSeenUsedDate);
  /// Why the observation under way does not see openings of the item; empty when it does.
  void noteUnwatchable(const Uuid& id, const std::string& why);
  /// Follows every bookmark and looks whether openings are seen; `states` change as answers come.
  /// Not while a stream observes: where openings by this program cannot be told apart, it would
  /// report itself.
  void lookAgain() { probes_.begin(lookable()); }
  /// The same for somebody who waits, who learns how many took longer.
  void lookWithin(Duration limit, WatchListProbes::Over done) {
    probes_.beginWithin(limit, lookable(), std::move(done));
  }
  void stopLooking() { probes_.stop(); }

  [[nodiscard]] Subscription onChange(std::function<void(Change)> changed) {
    return changes_.add(std::move(changed));
  }
  /// What the owner is to be told without having asked.
  [[nodiscard]] Subscription onOwnerNotice(std::function<void(const LocalNotification&)> told) {
    return notices_.add(std::move(told));
  }
  /// Once, when all changes so far are on disk; not while saving fails.
  void whenSaved(std::function<void()> done) { saving_.whenRecorded(std::move(done)); }
  /// Once everything so far was written, or could not be. For quitting.
  void finish(std::function<void(bool saved)> done) { saving_.finish(std::move(done)); }

 private:
  /// An addition under way; `probe` is alive until the answer came.
  struct Adding {
    WatchTarget target;
    std::string path;  // the real one
    Added done;
    bool seen = true;  // an opening of ours was
    Subscription probe;
  };
  using AddingRef = std::shared_ptr<Adding>;

  void refuse(const Added& done, std::string why);
  WatchTarget begun(WatchTarget::Kind kind, std::string displayName, std::string placeName);
  /// A file or folder: which of them is for the worker to see.
  void lookAt(const AddingRef& adding);
  void probe(const AddingRef& adding);
  void append(const AddingRef& adding);
  bool watches(const Adding& adding);
  void decoyWritten(const AddingRef& adding, DecoyWrite written);

  void drop(const Uuid& id);
  std::string decoyPath(const WatchTarget& target);
  void removeDecoy(const std::string& path, std::function<void(Removed)> done);
  void judgeDecoy(const Uuid& id, const std::string& path, DecoyLook look);
  bool rebookmark(WatchTarget& target, const std::string& path);
  void decoyMissing(const WatchTarget& target);

  WatchTarget* findMutable(const Uuid& id);
  std::string temporaryDecoyName();
  void setMissing(const Uuid& id, bool missing);
  void noteSeen(const Uuid& id, bool seen);
  std::vector<Uuid> lookable();
  void tell(Change change);
  void tellOwner(const Uuid& id, const std::string& title, const std::string& body);

  Files& files_;
  WorkerQueue& worker_;
  Scheduler& scheduler_;
  Random& random_;
  FileEvents& events_;
  const RunningApps& apps_;
  Log log_;
  SecurityScopedBookmarks bookmarks_;
  WatchListFile file_;
  WatchListSaving saving_;
  std::vector<WatchTarget> targets_;
  std::string problem_;
  std::map<Uuid, WatchTargetKnown> known_;
  std::vector<AddingRef> adding_;
  WatchListProbes probes_;
  Listeners<Change> changes_;
  Listeners<const LocalNotification&> notices_;
  Lifetime lifetime_;
};

}  // namespace brindle
