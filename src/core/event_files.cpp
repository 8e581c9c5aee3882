#include "core/event_files.h"

#include <memory>
#include <utility>

namespace brindle {

void EventFiles::save(const FileName& name, Bytes bytes, std::function<void(bool)> done) {
  underWay_[name] = {std::make_shared<const Bytes>(std::move(bytes)), std::move(done), 0, {}};
  write(name);
}

void EventFiles::write(const FileName& name) {
  const auto written = std::make_shared<bool>(false);
  files_.run([&vault = vault_, name, content = underWay_.at(name).content,
              written] { *written = vault.savePhoto(name, *content); },
             lifetime_.guard([this, name, written] { ended(name, *written); }));
}

void EventFiles::ended(const FileName& name, bool written) {
  Writing& file = underWay_.at(name);
  if (!written && file.failures < mostRetries && underWay_.size() <= mostWaiting) {
    if (file.failures == 0) log_.notice("file of an event not written: kept, trying again");
    file.retry =
        scheduler_.after(StateSaving::retryWait(file.failures++), [this, name] { write(name); });
    return;
  }
  const auto done = std::move(file.done);
  underWay_.erase(name);
  done(written);
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
    for (const auto& [name, file] : underWay_) comers.photoFiles.push_back(name);
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
