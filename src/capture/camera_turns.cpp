#include "capture/camera_turns.h"

#include <algorithm>

namespace brindle {

Subscription CameraTurns::take(Task granted) {
  auto ticket = std::make_shared<Ticket>();
  ticket->granted = std::move(granted);
  state_->waiting.push_back(ticket);
  if (!state_->busy) grantNext(*state_);
  return Subscription([weak = std::weak_ptr(state_), ticket] {
    ticket->ended = true;
    if (const auto state = weak.lock()) end(*state, ticket);
  });
}

void CameraTurns::grantNext(State& state) {
  state.busy = !state.waiting.empty();
  if (!state.busy) return;
  state.scheduler.post([ticket = state.waiting.front()] {
    if (ticket->ended) return;
    if (const Task granted = std::exchange(ticket->granted, nullptr)) granted();
  });
  state.waiting.pop_front();
}

void CameraTurns::end(State& state, const std::shared_ptr<Ticket>& ticket) {
  const auto place = std::ranges::find(state.waiting, ticket);
  if (place != state.waiting.end()) {
    state.waiting.erase(place);
  } else {
    grantNext(state);
  }
}

}  // namespace brindle
