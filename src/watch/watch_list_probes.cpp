#include "watch/watch_list_probes.h"

namespace brindle {

void WatchListProbes::begin(std::vector<Uuid> items) {
  stop();
  waiting_.assign(items.begin(), items.end());
  scheduler_.post(round_.guard([this] { fill(); }));
}

void WatchListProbes::beginWithin(Duration limit, std::vector<Uuid> items, Over over) {
  begin(std::move(items));
  over_ = std::move(over);
  limit_ = scheduler_.after(limit, [this] { late(); });
}

void WatchListProbes::stop() {
  round_.renew();
  limit_.cancel();
  waiting_.clear();
  running_.clear();
  over_ = nullptr;
}

/// One item a turn of the main loop: to find where it is may take a moment.
void WatchListProbes::fill() {
  if (waiting_.empty()) {
    if (!running_.empty()) return;
    limit_.cancel();
    if (const auto over = std::exchange(over_, nullptr)) over(0);
    return;
  }
  if (running_.size() >= atOnce) return;
  const Uuid id = waiting_.front();
  waiting_.pop_front();
  if (const auto place = asks_.place(id)) {
    running_[id] = events_.probe(*place, round_.guard([this, id](bool seen) {
      // Not from within the probe, which ends with the answer.
      scheduler_.post(round_.guard([this, id, seen] { answered(id, seen); }));
    }));
  }
  scheduler_.post(round_.guard([this] { fill(); }));
}

void WatchListProbes::answered(const Uuid& id, bool seen) {
  running_.erase(id);
  asks_.found(id, seen);
  fill();
}

void WatchListProbes::late() {
  const std::size_t unanswered = waiting_.size() + running_.size();
  const auto over = std::exchange(over_, nullptr);
  stop();
  if (over) over(unanswered);
}

}  // namespace brindle
