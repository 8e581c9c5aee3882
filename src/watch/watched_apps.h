#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/running_apps.h"
#include "watch/watch_target.h"

namespace brindle {

/// Decides which announcements of applications mean that somebody went to a watched one.
class WatchedApps {
 public:
  using Target = std::shared_ptr<const WatchTarget>;
  /// Identifiers of this very program, which is never reported.
  explicit WatchedApps(std::vector<std::string> own) : own_(std::move(own)) {}

  /// Which one is in front now: going on with it is no opening.
  void begin(const std::optional<std::string>& frontmost);
  void watch(std::map<std::string, Target> apps) { apps_ = std::move(apps); }
  /// The target that was opened, or null.
  Target happened(const std::string& id, RunningApps::What what);
  std::size_t count() const { return apps_.size(); }

 private:
  bool comesToFront(const std::string& id);
  bool isOwn(const std::string& id) const;

  const std::vector<std::string> own_;
  std::map<std::string, Target> apps_;  ///< by identifier
  std::string frontApp_, lastOtherApp_;
};

}  // namespace brindle
