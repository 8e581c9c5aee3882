#include "service/device_id.h"

namespace brindle {

std::string deviceId(Preferences& preferences, Random& random) {
  constexpr std::string_view key = "push.deviceId";
  if (auto known = preferences.text(key); known && !known->empty()) return *known;
  std::string drawn = random.newUuid().upper();
  static_cast<void>(preferences.set(key, drawn));
  return drawn;
}

}  // namespace brindle
