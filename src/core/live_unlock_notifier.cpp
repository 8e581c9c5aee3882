#include "core/live_unlock_notifier.h"

#include "core/opening_text.h"

namespace brindle {
namespace {

std::string bodyOf(const std::optional<Trigger>& trigger) {
  if (!trigger) return "It was unlocked just now.";
  if (trigger->kind == trigger_kind::lidClosed) return "The lid was closed.";
  if (trigger->kind == trigger_kind::powerUnplugged) return "The power adapter was unplugged.";
  if (trigger->kind == trigger_kind::idleReturn) return "Somebody came back to it.";
  return openingText(*trigger);
}

}  // namespace

void LiveUnlockNotifier::occurred(const UnlockEvent& event) {
  notifications_.post({event.id.upper(), "This Mac is guarded.", bodyOf(event.trigger)}, {});
}

void LiveUnlockNotifier::settled(const Uuid& event) { notifications_.remove(event.upper()); }

}  // namespace brindle
