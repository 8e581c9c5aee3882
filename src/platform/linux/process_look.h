#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "platform/linux/own_processes.h"
#include "platform/scheduler.h"

namespace brindle {

/// The last resort: a look every second at the processes that this user may look at. It tells of
/// applications that run now and did not at the last look.
class ProcessLook {
 public:
  static constexpr Duration interval = std::chrono::seconds(1);
  using Identify = std::function<std::string(const RunningProgram&)>;  ///< empty: no application
  using Started = std::function<void(const std::string& id)>;

  ProcessLook(Scheduler& scheduler, std::string processes, Identify identify, Started started);

 private:
  struct Known {
    std::string executable, id;
  };

  void look();
  std::set<std::string> running();

  std::string processes_;
  Identify identify_;
  Started started_;
  std::map<std::string, Known> known_;  ///< by process: what it is was asked once
  std::set<std::string> running_;
  Timer timer_;
};

}  // namespace brindle
