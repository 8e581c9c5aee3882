#pragma once

#include <string>
#include <vector>

#include "platform/browser.h"
#include "platform/scheduler.h"

namespace brindle {

/// Writes down the pages, and fails when told to.
class MemoryBrowser final : public Browser {
 public:
  explicit MemoryBrowser(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription open(const std::string& page, Failed failed) override {
    attempt_ = std::make_shared<Failed>(std::move(failed));
    pages.push_back(page);
    if (!problem.empty()) {
      scheduler_.post([attempt = std::weak_ptr(attempt_), why = problem] {
        if (const auto told = attempt.lock()) (*told)(why);
      });
    }
    return Subscription([attempt = attempt_]() mutable { attempt.reset(); });
  }
  ServiceReport report() const override { return {"browser", "memory", problem.empty(), problem}; }

  std::vector<std::string> pages;
  std::string problem;  ///< not empty: no page shows, for this reason

 private:
  Scheduler& scheduler_;
  std::shared_ptr<Failed> attempt_;
};

}  // namespace brindle
