#pragma once

#include <functional>
#include <vector>

#include "platform/power_source.h"
#include "platform/scheduler.h"

namespace brindle {

/// Tells of each change of adapter and lid, as the reading before and the one after. Main thread
/// only.
class PowerWatcher {
 public:
  using Changed = std::function<void(const PowerReading& before, const PowerReading& after)>;

  PowerWatcher(PowerSource& source, Scheduler& scheduler, Changed changed);

  /// From now on, against what is known now.
  void start();
  void stop();
  const PowerReading& last() const { return last_; }

 private:
  void look();
  void setPollsLid(bool pollsLid);

  PowerSource& source_;
  Scheduler& scheduler_;
  Changed changed_;
  bool pollsLid_ = false;
  PowerReading last_;
  Timer poll_;
  std::vector<Subscription> observers_;
};

}  // namespace brindle
