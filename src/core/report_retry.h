#pragma once

#include <array>
#include <functional>
#include <unordered_map>

#include "base/uuid.h"
#include "platform/scheduler.h"

namespace brindle {

/// When a report that is owed is tried again after it could not be handed over. Counts per event;
/// after the sixth failure it waits for the next start or the end. Main thread only.
class ReportRetry {
 public:
  static constexpr std::array<Duration, 5> waits{
      std::chrono::seconds(30), std::chrono::seconds(120), std::chrono::seconds(600),
      std::chrono::seconds(600), std::chrono::seconds(600)};

  ReportRetry(Scheduler& scheduler, std::function<void(const Uuid&)> again)
      : scheduler_(scheduler), again_(std::move(again)) {}

  void failed(const Uuid& event);
  void forget(const Uuid& event) { reportWaits_.erase(event); }
  /// Whatever has failed is tried now, waiting or not.
  void hurry();

 private:
  struct Wait {
    std::size_t failures = 0;
    Timer timer;
  };
  Scheduler& scheduler_;
  std::function<void(const Uuid&)> again_;
  std::unordered_map<Uuid, Wait> reportWaits_;
};

}  // namespace brindle
