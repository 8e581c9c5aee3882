#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/services.h"
#include "app/watch_text.h"
#include "core/guard_collaborators.h"
#include "watch/watch_list.h"
#include "watch/watch_monitor.h"

namespace brindle {

/// The watched items and their observation, put together. Main thread only.
class Watching final : public WatchMonitoring {
 public:
  /// `data` is the application's own folder, `opened` what the guard does about an opening.
  Watching(const Services& services, const std::string& data,
           std::function<void(const Trigger&, const Uuid&)> opened);

  /// Reads the list; before the guard store starts, which may observe at once.
  void prepare() { list_.load(); }
  /// In a guard that is off: finds out what of the list could be observed.
  void look() { list_.lookAgain(); }

  void start() override { monitor_.start(); }
  void stop() override;

  WatchList& list() { return list_; }
  /// As it is known, without a look at the disk.
  std::vector<WatchedItem> known() const;
  /// Looks where each is at this moment.
  std::vector<WatchedItem> items();
  bool isApp(const std::string& path) const { return services_.apps.identify(path).has_value(); }

 private:
  const WatchingServices services_;
  WatchList list_;
  WatchMonitor monitor_;
  Subscription notices_;
};

/// For who only looks: the list as it lies on disk, which stays as it is.
std::vector<WatchedItem> watchedOnDisk(const Services& services, const std::string& data);

}  // namespace brindle
