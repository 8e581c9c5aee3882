#include "app/reach_guard.h"

#include <chrono>
#include <thread>

namespace brindle {
namespace {

constexpr auto longestStart = std::chrono::seconds(5);
constexpr auto pause = std::chrono::milliseconds(50);

}  // namespace

ReachedGuard reachGuard(const AppPaths& paths) {
  ReachedGuard reached;
  const auto giveUp = std::chrono::steady_clock::now() + longestStart;
  for (;;) {
    auto client = std::make_unique<ControlClient>();
    const auto outcome = client->connect(paths.socketFile());
    if (outcome == ControlClient::Outcome::connected) {
      reached.client = std::move(client);
      return reached;
    }
    if (outcome == ControlClient::Outcome::failed) {
      reached.problem = "the socket of the running guard cannot be used";
      return reached;
    }
    const auto lock = reached.lock.take(paths.lockFile());
    if (lock == InstanceLock::Outcome::taken) return reached;
    if (lock == InstanceLock::Outcome::failed) {
      reached.problem = reached.lock.problem();
      return reached;
    }
    if (std::chrono::steady_clock::now() > giveUp) {
      reached.problem = "a guard of yours is at work, but does not listen";
      return reached;
    }
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace brindle
