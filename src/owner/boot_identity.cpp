#include "owner/boot_identity.h"

namespace brindle {
namespace {

constexpr std::string_view idKey = "guard.boot.identity";
constexpr std::string_view timeKey = "guard.boot.firstSeen";

}  // namespace

double BootIdentity::bootTime() {
  const std::string id = clock_.bootId();
  if (id.empty()) return secondsSince1970(clock_.bootTime());
  if (id == seenId_) return seenTime_;
  const auto kept = preferences_.real(timeKey);
  const bool sameBoot = kept && preferences_.text(idKey) == id;
  seenId_ = id;
  seenTime_ = sameBoot ? *kept : secondsSince1970(clock_.bootTime());
  // If this cannot be stored, a lock begun now counts by the wall clock alone after a relaunch.
  if (!sameBoot) {
    static_cast<void>(
        preferences_.change({{std::string(idKey), id}, {std::string(timeKey), seenTime_}}));
  }
  return seenTime_;
}

}  // namespace brindle
