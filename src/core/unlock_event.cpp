#include "core/unlock_event.h"

#include <algorithm>
#include <charconv>

namespace brindle {
namespace {

constexpr std::size_t idLength = 36;
constexpr std::string_view photoEnding = ".jpg";

/// The index in "<ID>-<index>.jpg", when the name has that form for this event.
std::optional<std::uint32_t> photoIndex(const Uuid& event, std::string_view name) {
  if (name.size() <= idLength || name[idLength] != '-' || !name.ends_with(photoEnding)) {
    return std::nullopt;
  }
  if (Uuid::parse(name.substr(0, idLength)) != event) return std::nullopt;
  const std::string_view digits =
      name.substr(idLength + 1, name.size() - idLength - 1 - photoEnding.size());
  std::uint32_t index = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
  if (error != std::errc() || stop != digits.data() + digits.size()) return std::nullopt;
  return index;
}

/// Mixes the hashes of many values into one (the golden-ratio step of Fibonacci hashing).
class Hasher {
 public:
  template <class T>
  void add(const T& value) {
    mix(std::hash<T>{}(value));
  }
  void add(WallTime time) { add(time.time_since_epoch().count()); }
  void add(const Trigger& trigger) {
    add(trigger.kind);
    add(trigger.name);
  }
  void add(const UnlockLocation& location) {
    add(location.lat);
    add(location.lon);
    add(location.accuracy);
    add(location.at);
    add(location.place);
  }
  void add(const UnlockEvent::VaultPhoto& photo) {
    add(photo.file);
    add(photo.id);
    add(photo.takenAt);
    add(photo.kind);
    add(photo.state);
  }
  template <class T>
  void add(const std::optional<T>& value) {
    add(value.has_value());
    if (value) add(*value);
  }
  template <class T>
  void add(const std::vector<T>& values) {
    add(values.size());
    for (const T& each : values) add(each);
  }
  std::size_t value() const { return value_; }

 private:
  void mix(std::size_t hash) {
    value_ ^= hash + 0x9e3779b97f4a7c15ULL + (value_ << 6) + (value_ >> 2);
  }
  std::size_t value_ = 0;
};

}  // namespace

bool isPlainFileName(std::string_view name) {
  return !name.empty() && name != "." && name.find("..") == std::string_view::npos &&
         name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

std::vector<FileName> UnlockEvent::files() const {
  std::vector<FileName> all;
  const auto add = [&all](const FileName& name) {
    if (std::ranges::find(all, name) == all.end()) all.push_back(name);
  };
  std::ranges::for_each(photoFiles, add);
  for (const VaultPhoto& photo : vaultPhotos) {
    if (!photo.file.empty()) add(photo.file);
  }
  if (videoFile) add(*videoFile);
  std::ranges::for_each(openingPhotos, add);
  std::ranges::for_each(openingClips, add);
  return all;
}

FileName photoFileName(const Uuid& event, std::size_t index) {
  return event.upper() + "-" + std::to_string(index) + std::string(photoEnding);
}

std::size_t nextPhotoIndex(const UnlockEvent& event) {
  std::size_t next = event.photoFiles.size();
  for (const FileName& name : event.files()) {
    const auto index = photoIndex(event.id, name);
    if (index) next = std::max(next, std::size_t{*index} + 1);
  }
  return next;
}

}  // namespace brindle

std::size_t std::hash<brindle::UnlockEvent>::operator()(
    const brindle::UnlockEvent& event) const noexcept {
  brindle::Hasher all;
  all.add(event.id);
  all.add(event.date);
  all.add(event.photoFiles);
  all.add(event.wrongPINs);
  all.add(event.wrongAnswers);
  all.add(event.alert);
  all.add(event.vault);
  all.add(event.vaultPhotos);
  all.add(event.photoProblem);
  all.add(event.resolved);
  all.add(event.photoPending);
  all.add(event.videoFile);
  all.add(event.location);
  all.add(event.trigger);
  all.add(event.iPhone);
  all.add(event.watchedOpenings);
  all.add(event.attemptOnly);
  all.add(event.alsoOpened);
  all.add(event.openingPhotos);
  all.add(event.openingClips);
  return all.value();
}
