#include "core/event_files.h"

#include <memory>
#include <utility>

namespace brindle {

void EventFiles::save(const FileName& name, Bytes bytes, std::function<void(bool)> done) {
  underWay_.insert(name);
  const auto content = std::make_shared<const Bytes>(std::move(bytes));
  const auto written = std::make_shared<bool>(false);
  files_.run(
      [&vault = vault_, name, content, written] { *written = vault.savePhoto(name, *content); },
      lifetime_.guard([this, name, written, done = std::move(done)] {
        underWay_.erase(name);
        done(*written);
      }));
}

void EventFiles::removeOnceRecorded(std::vector<FileName> names) {
  if (names.empty()) return;
  saving_.whenRecorded(
      lifetime_.guard([this, names = std::move(names)]() mutable { remove(std::move(names)); }));
}

void EventFiles::remove(std::vector<FileName> names) {
  files_.run([&vault = vault_, names = std::move(names)] { vault.removePhotos(names); }, {});
}

void EventFiles::removeAllBut(std::function<EventList()> events,
                              std::function<void(PhotoVault::DeletedAll)> done) {
  saving_.whenRecorded(lifetime_.guard([this, events = std::move(events), done = std::move(done)] {
    UnlockEvent comers;  // a photo taken meanwhile is not yet named by its event
    comers.photoFiles.assign(underWay_.begin(), underWay_.end());
    EventList named = events();
    named.push_back(std::make_shared<const UnlockEvent>(std::move(comers)));
    const auto result = std::make_shared<PhotoVault::DeletedAll>();
    files_.run(
        [&vault = vault_, named = std::move(named), result] { *result = vault.deleteAll(named); },
        lifetime_.guard([done, result] {
          if (done) done(*result);
        }));
  }));
}

}  // namespace brindle
