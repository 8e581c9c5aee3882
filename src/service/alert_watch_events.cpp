#include "service/alert_watch_events.h"

#include <algorithm>

#include "service/session.h"

namespace brindle {
namespace {

constexpr std::string_view key = "watch.events";

}  // namespace

AlertWatchEvents::AlertWatchEvents(AlertWatchOutbox& outbox) : outbox_(outbox) {
  if (const auto stored = outbox_.text(key)) events_ = readWatched(*stored).list;
}

void AlertWatchEvents::begin(const Uuid& event, Watched watched) {
  forget(event);
  events_.emplace_back(event, std::move(watched));
  if (events_.size() > most) events_.erase(events_.begin());
  store();
}

const Watched* AlertWatchEvents::find(const Uuid& event) const {
  const auto found = std::ranges::find(events_, event, &WatchedEvents::value_type::first);
  return found == events_.end() ? nullptr : &found->second;
}

void AlertWatchEvents::forget(const Uuid& event) {
  std::erase_if(events_, [&event](const auto& each) { return each.first == event; });
  store();
}

void AlertWatchEvents::forgetAccount(const std::string& email) {
  std::erase_if(events_, [&](const auto& each) { return sameAddress(each.second.account, email); });
  store();
}

void AlertWatchEvents::store() {
  outbox_.mark(
      key, events_.empty() ? std::nullopt : std::optional<PreferenceValue>(writeWatched(events_)));
}

}  // namespace brindle
