#include "watch/watch_list_saving.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <utility>

namespace brindle {
namespace {

/// What cannot be saved goes with the power, so the longest wait is a short one.
Duration retryWait(std::size_t failures) {
  using namespace std::chrono_literals;
  static constexpr std::array<Duration, 3> waits{2s, 10s, 30s};
  return waits[std::min(failures, waits.size() - 1)];
}

}  // namespace

void WatchListSaving::changed(Done tried) {
  dirty_ = true;
  if (tried) tried_.push_back(std::move(tried));
  schedule();
}

void WatchListSaving::whenRecorded(std::function<void()> done) {
  if (saved()) return scheduler_.post(lifetime_.guard(std::move(done)));
  (dirty_ ? recorded_ : recordedRunning_).push_back(std::move(done));
}

void WatchListSaving::finish(Done done) {
  if (saved()) return scheduler_.post(lifetime_.guard([done = std::move(done)] { done(true); }));
  finishers_.push_back(std::move(done));
  if (dirty_) schedule();
}

void WatchListSaving::schedule() {
  if (posted_ || running_) return;
  posted_ = true;
  retry_.cancel();
  scheduler_.post(lifetime_.guard([this] { begin(); }));
}

void WatchListSaving::begin() {
  posted_ = false;
  dirty_ = false;
  running_ = true;
  triedRunning_ = std::exchange(tried_, {});
  recordedRunning_ = std::exchange(recorded_, {});
  const auto result = std::make_shared<bool>(false);
  worker_.run([&file = file_, targets = snapshot_(), result] { *result = file.save(targets); },
              lifetime_.guard([this, result] { ended(*result); }));
}

void WatchListSaving::ended(bool saved) {
  running_ = false;
  const bool changedMeanwhile = dirty_;
  auto recorded = std::exchange(recordedRunning_, {});
  if (saved) {
    failures_ = 0;
  } else {
    dirty_ = true;
    recorded_.insert(recorded_.begin(), std::make_move_iterator(recorded.begin()),
                     std::make_move_iterator(recorded.end()));
    recorded.clear();
    retry_ = scheduler_.after(retryWait(failures_++), [this] { schedule(); });
  }
  attempted_();
  for (const auto& tried : std::exchange(triedRunning_, {})) tried(saved);
  for (const auto& done : recorded) done();
  if (changedMeanwhile || (saved && dirty_)) return schedule();
  for (const auto& done : std::exchange(finishers_, {})) done(saved);
}

}  // namespace brindle
