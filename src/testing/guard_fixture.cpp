#include "testing/guard_fixture.h"

namespace brindle {

using std::chrono::seconds;

void GuardWorld::launch(NightjarStore::Role role) {
  worker = std::make_unique<VirtualWorkerQueue>(scheduler);
  vault = std::make_unique<PhotoVault>(
      files, "/home/Brindle", [] { return std::string("20260302-100000"); }, Log(lines));
  store = std::make_unique<NightjarStore>(
      GuardServices{scheduler, clock, screen, defaults, notifications, random, *worker, *vault,
                    camera, secrets, Log(lines)},
      others.all());
  store->start(role);
  scheduler.run();
}

void GuardWorld::kill() {
  store.reset();
  worker.reset();
  vault.reset();
}

void GuardWorld::crash() {
  kill();
  files.crash();
}

void GuardWorld::turnOn() {
  store->turnOn(ArmSource::owner());
  scheduler.run();
}

void GuardWorld::lock(Duration forTime) {
  screen.setLocked(true);
  scheduler.advance(forTime);
}

void GuardWorld::unlock() {
  screen.setLocked(false);
  scheduler.run();
}

Uuid GuardWorld::unlockAndSettle() {
  lock();
  unlock();
  const Uuid id = last()->id;
  scheduler.advance(seconds(3));
  return id;
}

SavedState GuardWorld::onDisk() {
  const auto text = files.read("/home/Brindle/state.json");
  if (!text) return {};
  const auto read = readSavedState(textOf(*text));
  return read ? read->state : SavedState{};
}

std::vector<FileName> GuardWorld::photos() {
  return files.list("/home/Brindle/photos").value_or(std::vector<FileName>{});
}

void GuardFixture::TearDown() {
  kill();
  EXPECT_EQ(scheduler.pending(), 0u) << "a timer outlived the store";
}

}  // namespace brindle
