#import "platform/mac/quit_signals_mac.h"

#include <signal.h>

#include <array>
#include <utility>

#include "platform/mac/quit_sender_mac.h"

namespace brindle::mac {
namespace {

constexpr std::array<std::pair<int, const char*>, 3> quitSignals{
    {{SIGTERM, "SIGTERM"}, {SIGINT, "SIGINT"}, {SIGHUP, "SIGHUP"}}};

}  // namespace

QuitSignals::QuitSignals(std::weak_ptr<Listeners<QuitOrder>> ordered) {
  for (const auto& [number, name] : quitSignals) {
    // Dispatch only watches; without this the signal would end the process as well.
    signal(number, SIG_IGN);
    dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<std::uintptr_t>(number), 0,
                               dispatch_get_main_queue());
    const char* sender = name;
    dispatch_source_set_event_handler(source, ^{
      if (const auto listeners = ordered.lock()) listeners->tell({"", false, sender});
    });
    dispatch_resume(source);
    sources_.push_back(source);
  }
}

QuitSignals::~QuitSignals() {
  for (dispatch_source_t source : sources_) dispatch_source_cancel(source);
  for (const auto& each : quitSignals) signal(each.first, SIG_DFL);
}

}  // namespace brindle::mac

namespace brindle {
namespace {

class MacSignalSender final : public QuitSender {
 public:
  Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) override {
    return ordered_->add(std::move(ordered));
  }

  ServiceReport report() const override {
    return {"quit sender", "signals", true,
            "every quit counts as a person's: without windows no Apple event tells of a log out"};
  }

 private:
  std::shared_ptr<Listeners<QuitOrder>> ordered_ = std::make_shared<Listeners<QuitOrder>>();
  mac::QuitSignals signals_{ordered_};
};

}  // namespace

std::unique_ptr<QuitSender> makeMacQuitSignals() { return std::make_unique<MacSignalSender>(); }

}  // namespace brindle
