#pragma once

#include <pulse/context.h>
#include <pulse/def.h>
#include <pulse/operation.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "platform/linux/pulse_loop.h"
#include "platform/service_report.h"

namespace brindle {

struct PulseOperationEnd {
  void operator()(pa_operation* operation) const {
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
  }
};
/// Something asked of the server; once this is gone, its answer is nobody's.
using PulseOperation = std::unique_ptr<pa_operation, PulseOperationEnd>;

/// A connection to the owner's sound server, PulseAudio or PipeWire, which is there only while
/// somebody keeps it, and comes back with the server. Never starts one. Main thread only; nothing
/// blocks, also when the server hangs: `whenReady` ends within `patience`.
class PulseConnection {
 public:
  /// How long the server may take over anything.
  static constexpr Duration patience = std::chrono::seconds(2);
  /// Between tries while the server is away; doubled each time.
  static constexpr Duration firstPause = std::chrono::seconds(1);
  static constexpr Duration longestPause = std::chrono::seconds(32);
  /// Questions come in rows: the connection outlives the last keeper by this.
  static constexpr Duration linger = std::chrono::seconds(5);

  using Use = std::function<void(pa_context*)>;
  using Told = std::function<void(pa_subscription_event_type_t, std::uint32_t index)>;

  /// `service` as its reports name it; `events` is what `onTold` wants to hear of.
  PulseConnection(MainLoop& loop, std::string service, pa_subscription_mask_t events);
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;
  ~PulseConnection();

  /// The connection stays, and is tried for again and again, until the subscription ends.
  [[nodiscard]] Subscription keep();
  /// Calls `use` once, inline if it can; with a null pointer when there is no server. Only while
  /// somebody keeps the connection.
  void whenReady(Use use);
  /// From inside libpulse, which wants nobody to close the connection there.
  [[nodiscard]] Subscription onTold(Told told) { return told_.add(std::move(told)); }
  /// The server came or went; from the loop. What it was asked before it went stays unanswered.
  [[nodiscard]] Subscription onServer(std::function<void(bool there)> changed) {
    return server_.add(std::move(changed));
  }

  MainLoop& loop() { return loop_.loop(); }
  /// Why there is no connection; the library's words.
  const std::string& problem() const { return problem_; }
  ServiceReport report() const;

 private:
  struct ContextEnd {
    void operator()(pa_context* context) const;
  };

  bool ready() const;
  void connect();
  void awaitServer();
  void stateChanged();
  void becameReady();
  void lost(std::string problem);
  void release();
  void answerWaiting(pa_context* context);

  PulseLoop loop_;
  std::string service_;
  pa_subscription_mask_t events_;
  int kept_ = 0;
  std::string problem_ = "not asked yet";
  Duration pause_ = firstPause;
  bool wasReady_ = false;
  std::vector<Use> waiting_;
  Listeners<pa_subscription_event_type_t, std::uint32_t> told_;
  Listeners<bool> server_;
  std::unique_ptr<pa_context, ContextEnd> context_;
  Timer timer_;  // the end of patience, of a pause, or of lingering: one at a time
  Timer turn_;
  Lifetime lifetime_;
};

}  // namespace brindle
