#pragma once

#include <memory>

#include "platform/linux/logind_session.h"
#include "platform/quit_sender.h"

namespace brindle {

/// Orders to quit that arrive as SIGTERM, SIGINT or SIGHUP. Only a shutdown that logind announced,
/// or the end of our login session, makes one the system's; any other signal is a person's.
class LinuxQuitSender final : public QuitSender {
 public:
  /// Blocks the three signals for this thread and those started after it, as `blockSignals` does: a
  /// program that has other threads by then (a window toolkit's) calls that first thing.
  LinuxQuitSender(LinuxScheduler& scheduler, LogindSession& logind);
  ~LinuxQuitSender() override;
  LinuxQuitSender(const LinuxQuitSender&) = delete;
  LinuxQuitSender& operator=(const LinuxQuitSender&) = delete;

  [[nodiscard]] Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) override {
    return listeners_.add(std::move(ordered));
  }
  ServiceReport report() const override;

  static void blockSignals();

 private:
  void readSignals();
  void order(std::string sender);

  LogindSession& logind_;
  int descriptor_ = -1;
  Listeners<QuitOrder> listeners_;
  Subscription watch_;
  Lifetime lifetime_;
};

}  // namespace brindle
