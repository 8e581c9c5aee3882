#include "owner/keychain_marks.h"

#include <utility>
#include <vector>

#include "base/enum_names.h"

namespace brindle {
namespace {

constexpr std::string_view markPrefix = "keychain.verified.";
constexpr std::string_view asksKey = "brindle.asks";

constexpr EnumNames markNames{
    std::pair{KeychainMark::moved, std::string_view("moved")},
    std::pair{KeychainMark::absent, std::string_view("absent")},
    std::pair{KeychainMark::verified, std::string_view("verified")},
    std::pair{KeychainMark::written, std::string_view("written")},
    std::pair{KeychainMark::kept, std::string_view("kept")},
};

std::string keyOf(const std::string& service) { return std::string(markPrefix) + service; }

}  // namespace

KeychainMarks::KeychainMarks(Preferences& preferences, Scheduler& scheduler)
    : preferences_(preferences),
      scheduler_(scheduler),
      asks_(preferences.integer(asksKey).value_or(0)) {
  for (const std::string& key : preferences.keys(markPrefix)) {
    const auto mark = markNames.parse(preferences.text(key).value_or(""));
    if (mark) marks_.emplace(key.substr(markPrefix.size()), *mark);
  }
}

std::optional<KeychainMark> KeychainMarks::of(const std::string& service) const {
  const std::lock_guard lock(mutex_);
  const auto found = marks_.find(service);
  return found == marks_.end() ? std::nullopt : std::optional(found->second);
}

void KeychainMarks::set(const std::string& service, KeychainMark mark) {
  const std::lock_guard lock(mutex_);
  marks_[service] = mark;
  unstored_[keyOf(service)] = std::string(markNames.of(mark));
  storeSoon();
}

void KeychainMarks::forget(const std::string& service) {
  const std::lock_guard lock(mutex_);
  marks_.erase(service);
  unstored_[keyOf(service)] = std::nullopt;
  storeSoon();
}

void KeychainMarks::countAsk() {
  const std::lock_guard lock(mutex_);
  unstored_[std::string(asksKey)] = ++asks_;
  storeSoon();
}

/// Called with the lock held. Preferences belong to the main thread; what one piece of work marks
/// is stored as one change.
void KeychainMarks::storeSoon() {
  if (!std::exchange(storePosted_, true)) scheduler_.post(lifetime_.guard([this] { store(); }));
}

void KeychainMarks::store() {
  const std::lock_guard lock(mutex_);
  storePosted_ = false;
  // What cannot be stored is kept for the next change; until then a relaunch looks once more.
  if (preferences_.change({unstored_.begin(), unstored_.end()})) unstored_.clear();
}

}  // namespace brindle
