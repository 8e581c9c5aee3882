#include "watch/watch_list_probes.h"

namespace brindle {
namespace {

constexpr const char* tooSlow = "It couldn't be looked at in time.";

}  // namespace

void WatchListProbes::begin(std::vector<Uuid> items, std::function<void()> over) {
  stop();
  waiting_.assign(items.begin(), items.end());
  over_ = std::move(over);
  scheduler_.post(round_.guard([this] { fill(); }));
}

void WatchListProbes::beginWithin(Duration limit, std::vector<Uuid> items,
                                  std::function<void()> over) {
  begin(std::move(items), std::move(over));
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
    if (const auto over = std::exchange(over_, nullptr)) over();
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
  asks_.found(id, seen ? "" : openingsUnseen);
  fill();
}

void WatchListProbes::late() {
  for (const auto& [id, probe] : std::exchange(running_, {})) asks_.found(id, tooSlow);
  for (const Uuid& id : std::exchange(waiting_, {})) asks_.found(id, tooSlow);
  fill();
}

}  // namespace brindle
