#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/subscription.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/service_client.h"

namespace brindle {

struct TermsReply;

/// The terms as the service has them now: fetched, checked and kept for when it cannot be reached.
/// Main thread only.
class LiveTerms {
 public:
  struct Services {
    Http& http;
    const SessionSource& sessions;
    Preferences& preferences;
    Scheduler& scheduler;
    Log log;
  };
  /// Knows at once what was kept last time. An empty `serviceURL`: nobody is asked.
  LiveTerms(Services services, const std::string& serviceURL);

  /// Fetches now and daily.
  void start();
  /// `done` from the main loop, whether it worked or not. While one is running its end is shared.
  void fetch(std::function<void()> done = {});
  bool running() const { return static_cast<bool>(request_); }

  /// Empty when no service ever told.
  const std::string& version() const { return version_; }
  const std::string& terms() const { return terms_; }
  const std::string& privacy() const { return privacy_; }
  std::optional<std::int64_t> minimumMacBuild() const { return minimumMacBuild_; }
  /// Told after a fetch that changed one of them.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changed_.add(std::move(changed));
  }

 private:
  void armDaily();
  void answered(const ServiceAnswer& answer);
  void take(const TermsReply& reply);

  Services services_;
  ServiceClient client_;
  std::string version_, terms_, privacy_;
  std::optional<std::int64_t> minimumMacBuild_;
  Subscription request_;
  std::vector<std::function<void()>> waiting_;
  Timer dailyAwake_, dailyWall_;
  Listeners<> changed_;
  Lifetime lifetime_;
};

}  // namespace brindle
