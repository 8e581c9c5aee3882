#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/awaited_end.h"
#include "platform/browser.h"

namespace brindle {

/// Writes down the pages, and fails when told to.
class MemoryBrowser final : public Browser {
 public:
  explicit MemoryBrowser(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription open(const std::string& page, Failed failed) override {
    pages.push_back(page);
    Subscription waiting = end_.expect(std::move(failed));
    if (!problem.empty()) end_.tell(scheduler_, problem);
    return waiting;
  }
  ServiceReport report() const override { return {"browser", "memory", problem.empty(), problem}; }

  std::vector<std::string> pages;
  std::string problem;  ///< not empty: no page shows, for this reason

 private:
  Scheduler& scheduler_;
  AwaitedEnd<std::string> end_;
};

}  // namespace brindle
