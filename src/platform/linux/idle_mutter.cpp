#include "platform/linux/idle_mutter.h"

#include <algorithm>
#include <utility>

#include "platform/linux/dbus_values.h"

namespace brindle {

namespace {
constexpr const char* interface = "org.gnome.Mutter.IdleMonitor";
constexpr const char* core = "/org/gnome/Mutter/IdleMonitor/Core";
/// More than this is nonsense, and would not fit where times are counted in nanoseconds.
constexpr std::uint64_t longestMilliseconds = std::uint64_t{100} * 365 * 24 * 60 * 60 * 1000;
}  // namespace

MutterIdle::MutterIdle(DbusLink& session, Log log, Changed changed)
    : service_(session, log, interface), changed_(std::move(changed)) {
  // One owner after another is told as a loss first: the new one's count begins anew.
  presence_ = service_.onPresence([this](bool present) {
    present_ = present;
    changed_();
  });
  present_ = service_.present();
}

void MutterIdle::read(Done done) {
  service_.call(core, interface, "GetIdletime", {},
                [done = std::move(done)](const DbusAnswer& answer) {
                  std::uint64_t idle = 0;
                  if (!answer.reply || !unpack(*answer.reply, idle)) return done(std::nullopt);
                  done(std::chrono::milliseconds(std::min(idle, longestMilliseconds)));
                });
}

std::string MutterIdle::detail() const {
  return present_ ? "GNOME's compositor" : "no GNOME compositor on the session bus";
}

}  // namespace brindle
