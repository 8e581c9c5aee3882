#include "platform/linux/process_look.h"

namespace brindle {

ProcessLook::ProcessLook(Scheduler& scheduler, std::string processes, Identify identify,
                         Started started)
    : processes_(std::move(processes)),
      identify_(std::move(identify)),
      started_(std::move(started)),
      running_(running()),
      timer_(scheduler.every(interval, [this] { look(); })) {}

// A process may become another program without a new number, so its program is asked every time.
std::set<std::string> ProcessLook::running() {
  std::set<std::string> ids;
  std::map<std::string, Known> now;
  for (const std::string& process : processIds(processes_)) {
    const auto program = programOf(processes_, process);
    if (!program) continue;
    const auto earlier = known_.find(process);
    const bool same = earlier != known_.end() && earlier->second.executable == program->executable;
    Known known = same ? earlier->second : Known{program->executable, identify_(*program)};
    if (!known.id.empty()) ids.insert(known.id);
    now[process] = std::move(known);
  }
  known_ = std::move(now);
  return ids;
}

void ProcessLook::look() {
  const std::set<std::string> before = std::exchange(running_, running());
  const std::set<std::string> now = running_;
  for (const std::string& id : now) {
    if (!before.contains(id)) started_(id);
  }
}

}  // namespace brindle
