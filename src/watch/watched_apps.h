#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/subscription.h"
#include "platform/running_apps.h"
#include "watch/watch_target.h"

namespace brindle {

/// Decides which announcements of applications mean that somebody went to a watched one. Main
/// thread.
class WatchedApps {
 public:
  using Target = std::shared_ptr<const WatchTarget>;
  using Opened = std::function<void(const Target&)>;
  /// `own`: identifiers of this very program, which is never reported.
  WatchedApps(RunningApps& workspace, std::vector<std::string> own, Opened opened);

  /// By identifier. Which one is in front when the first of them is watched does not count: going
  /// on with it is no opening. While there are none nothing is asked to be told, for on some
  /// systems that takes a look every second.
  void watch(std::map<std::string, Target> apps);
  std::size_t count() const { return apps_.size(); }

 private:
  void begin(const std::optional<std::string>& frontmost);
  void happened(const std::string& id, RunningApps::What what);
  bool comesToFront(const std::string& id);
  bool isOwn(const std::string& id) const;

  RunningApps& workspace_;
  const std::vector<std::string> own_;
  const Opened opened_;
  std::map<std::string, Target> apps_;
  std::string frontApp_, lastOtherApp_;
  Subscription announcements_;
};

}  // namespace brindle
