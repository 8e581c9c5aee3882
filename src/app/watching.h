#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/services.h"
#include "app/watch_text.h"
#include "core/guard_collaborators.h"
#include "watch/watch_list.h"
#include "watch/watch_monitor.h"

namespace brindle {

/// How long a command waits for the looks whether openings are seen.
inline constexpr Duration longestLook = std::chrono::seconds(5);

/// The watched items and their observation, put together. Main thread only.
class Watching final : public WatchMonitoring {
 public:
  /// `data` is the application's own folder, `opened` what the guard does about an opening.
  Watching(const Services& services, const std::string& data,
           std::function<void(const Trigger&, const Uuid&)> opened);

  /// Reads the list; before the guard store starts, which may observe at once.
  void prepare() { list_.load(); }
  /// In a guard that is off: finds out what of the list could be observed, and what became of it
  /// while no guard ran.
  void look();

  void start() override;
  void stop() override;

  WatchList& list() { return list_; }
  /// As it is known, without a look at the disk.
  std::vector<WatchedItem> known() const;
  /// Looks where each is at this moment.
  std::vector<WatchedItem> items();
  /// What `brindle doctor` says, which nobody has to prove anything for.
  ServiceReport report(bool withNames) const;
  bool isApp(const std::string& path) const { return services_.apps.identify(path).has_value(); }

 private:
  void tellProblem();

  const WatchingServices services_;
  Notifications& notifications_;
  bool problemTold_ = false;
  WatchList list_;
  WatchMonitor monitor_;
  Subscription notices_;
};

/// For who only looks: the list as it lies on disk, which stays as it is. Main thread only.
class WatchedOnDisk {
 public:
  /// Reads the list and where its items are, blocking.
  WatchedOnDisk(const Services& services, const std::string& data);

  /// Whether openings of each are seen; `done` from the main loop, before long.
  void look(std::function<void()> done);
  ServiceReport report() const;

 private:
  std::optional<std::string> placeOf(const Uuid& id);
  WatchedItem& item(const Uuid& id);

  Bookmarks& bookmarks_;
  WatchListFile file_;
  std::vector<WatchedItem> items_;
  std::size_t late_ = 0;  ///< items of which the look has not ended
  const bool withNames_;
  WatchListProbes probes_;
};

}  // namespace brindle
