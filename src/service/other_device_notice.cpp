#include "service/other_device_notice.h"

#include <algorithm>
#include <array>
#include <utility>

namespace brindle {
namespace {

struct Title {
  std::string_view kind;
  std::string_view detail;  ///< the reason or the source; empty: any
  std::string_view words;
};

// The first line that fits counts.
constexpr std::array titles{
    Title{"unlock", "", "Someone unlocked it"},
    Title{"wrong-pin", "", "Someone got the Brindle PIN wrong"},
    Title{"wrong-answer", "", "Someone got the secret answer wrong"},
    Title{"wrong-password", "", "Someone typed a wrong password"},
    Title{"lock-screen", "", "Someone failed to unlock it"},
    Title{"lid-closed", "", "Someone closed its lid"},
    Title{"power-unplugged", "", "Someone unplugged it"},
    Title{"idle-return", "", "Someone touched it while you were away"},
    Title{"camera-off", "", "Brindle's camera access was switched off"},
    Title{"away-on", "", "Brindle turned itself on, because your iPhone wasn't near it"},
    Title{"turned-on", "schedule", "Brindle turned itself on, as scheduled"},
    Title{"turned-on", "iphone-away",
          "Brindle turned itself on, because your iPhone wasn't near it"},
    Title{"turned-on", "remote", "Brindle was turned on remotely"},
    Title{"turned-on", "", "Brindle was turned on"},
    Title{"turned-off", "", "Brindle was turned off"},
    Title{"went-quiet", "reset", "Brindle was reset"},
    Title{"went-quiet", "quit", "Brindle stopped while it was on"},
    Title{"went-quiet", "wiped", "Brindle was reset while it was on"},
    Title{"went-quiet", "login-item", "Brindle no longer opens at login"},
};

constexpr std::array<std::pair<std::string_view, std::string_view>, 4> openedItems{{
    {"watched-file", "a watched file"},
    {"watched-folder", "a watched folder"},
    {"watched-app", "a watched app"},
    {"tripwire", "a tripwire file"},
}};

/// What the guard itself did: nobody was there to be asked for a proof.
constexpr std::array<std::string_view, 5> guardsOwn{"camera-off", "away-on", "turned-on",
                                                    "turned-off", "went-quiet"};

std::string quietTitle(const CrossDeviceNotice& notice) {
  if (!notice.minutes || *notice.minutes <= 0) {
    return "Brindle went quiet: it has stopped checking in";
  }
  return "Brindle went quiet: it hasn't checked in for about " + std::to_string(*notice.minutes) +
         " minutes";
}

std::string plainTitle(const CrossDeviceNotice& notice) {
  for (const auto& [kind, item] : openedItems) {
    if (kind == notice.kind) return std::string("Someone ") + "opened " + std::string(item);
  }
  const auto& detail = notice.kind == "turned-on" ? notice.source : notice.reason;
  for (const Title& each : titles) {
    const bool fits = each.detail.empty() || each.detail == detail;
    if (each.kind == notice.kind && fits) return std::string(each.words);
  }
  return notice.kind == "went-quiet" ? quietTitle(notice) : "Something happened on it";
}

}  // namespace

std::string OtherDeviceNotice::title() const {
  const bool asksProof = std::ranges::find(guardsOwn, notice.kind) == guardsOwn.end();
  const bool stopped = notice.silenced.value_or(false) && asksProof;
  return plainTitle(notice) + (stopped ? ", then Brindle stopped responding" : "");
}

std::string OtherDeviceNotice::device() const {
  return notice.device.empty() ? "One of your devices" : notice.device;
}

}  // namespace brindle
