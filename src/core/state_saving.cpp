#include "core/state_saving.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace brindle {

Duration StateSaving::retryWait(std::size_t failures) {
  using namespace std::chrono_literals;
  static constexpr std::array<Duration, 3> waits{2s, 10s, 30s};
  return waits[std::min(failures, waits.size() - 1)];
}

void StateSaving::changed() {
  dirty_ = true;
  schedule();
}

void StateSaving::whenRecorded(std::function<void()> done) {
  if (saved()) return scheduler_.post(lifetime_.guard(std::move(done)));
  (dirty_ ? waitForNext_ : waitForRunning_).push_back(std::move(done));
}

void StateSaving::finish(std::function<void(bool)> done) {
  if (saved()) return scheduler_.post(lifetime_.guard([done = std::move(done)] { done(true); }));
  finishers_.push_back(std::move(done));
  if (dirty_) schedule();
}

void StateSaving::schedule() {
  if (posted_ || running_) return;
  posted_ = true;
  retry_.cancel();
  scheduler_.post(lifetime_.guard([this] { begin(); }));
}

void StateSaving::begin() {
  posted_ = false;
  dirty_ = false;
  running_ = true;
  waitForRunning_ = std::exchange(waitForNext_, {});
  // The snapshot shares the events, which never change: the worker sees this moment's history.
  const auto state = std::make_shared<const SavedState>(snapshot_());
  const auto result = std::make_shared<PhotoVault::Save>(PhotoVault::Save::failed);
  files_.run([&vault = vault_, state, result] { *result = vault.save(*state); },
             lifetime_.guard([this, result] { ended(*result == PhotoVault::Save::saved); }));
}

void StateSaving::ended(bool saved) {
  running_ = false;
  const bool changedMeanwhile = dirty_;
  if (!saved) endedBadly();
  const Recorded recorded = saved ? std::exchange(waitForRunning_, {}) : Recorded{};
  if (saved) failures_ = 0;
  for (const auto& done : recorded) done();
  if (changedMeanwhile || (saved && dirty_)) return schedule();
  // Last: what was recorded may have work for the worker, and whoever finishes waits for that too.
  const auto finishers = std::exchange(finishers_, {});
  for (const auto& done : finishers) done(saved);
}

void StateSaving::endedBadly() {
  dirty_ = true;
  waitForNext_.insert(waitForNext_.begin(), std::make_move_iterator(waitForRunning_.begin()),
                      std::make_move_iterator(waitForRunning_.end()));
  waitForRunning_.clear();
  retry_ = scheduler_.after(retryWait(failures_++), [this] { schedule(); });
}

}  // namespace brindle
