#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/http.h"
#include "platform/service_report.h"

namespace brindle {

/// How a transfer ended. `description` is what it was labelled with.
struct TransferResult {
  std::string description;
  HttpAnswer answer;
};

/// Uploads from files that go on while this program is suspended or gone, under one session
/// identifier. Results are picked up by the next run. Main thread only.
class BackgroundTransfer {
 public:
  virtual ~BackgroundTransfer() = default;

  /// Takes up what earlier runs left and tells every result from the main loop, never inline. A
  /// result counts as taken once `onResult` has returned: where the system allows it, a program
  /// killed before that is told again. Called once, before anything else.
  virtual void start(std::function<void(const TransferResult&)> onResult) = 0;

  /// Hands over an upload of `request.bodyFile`, which must stay until the result came. Several may
  /// carry one description. False when it could not be handed over, and then no result comes.
  /// Where there is a network but no answer, the system tries again by itself until
  /// `request.timeout` has passed since the hand-over, counted awake.
  [[nodiscard]] virtual bool send(const HttpRequest& request, const std::string& description) = 0;

  /// Cancels all transfers with this description. Their results do not come any more.
  virtual void cancel(std::string_view description) = 0;

  /// Descriptions of the transfers that have not ended; `done` from the main loop.
  virtual void unfinished(std::function<void(std::vector<std::string>)> done) = 0;

  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
