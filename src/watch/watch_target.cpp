#include "watch/watch_target.h"

namespace brindle {
namespace {

std::string_view triggerKind(WatchTarget::Kind kind) {
  switch (kind) {
    case WatchTarget::Kind::file:
      return trigger_kind::watchedFile;
    case WatchTarget::Kind::folder:
      return trigger_kind::watchedFolder;
    case WatchTarget::Kind::tripwire:
      return trigger_kind::tripwire;
    case WatchTarget::Kind::app:
      return trigger_kind::watchedApp;
  }
  return {};
}

}  // namespace

Trigger triggerFor(const WatchTarget& target) {
  return {std::string(triggerKind(target.kind)), target.displayName};
}

}  // namespace brindle
