#include <cstdlib>
#include <random>
#include <set>

#include "core/vault_items.h"
#include "testing/guard_fixture.h"
#include "testing/stand_in_gate.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

/// Does anything in any order, with a disk that fails now and then, and knows what must be true.
class RandomGuard : public GuardWorld {
 public:
  explicit RandomGuard(std::uint64_t seed) : GuardWorld(seed), dice_(seed) { launch(); }
  ~RandomGuard() { kill(); }

  void step() {
    const auto what = dice_() % 18;
    if (what >= 16) return copyEnds();
    if (what <= 3) return screen.setLocked(dice_() % 2 == 0);
    if (what == 5) return store->occurred({std::string(trigger_kind::lidClosed), "Lid"});
    if (what == 6) return store->opened({"watched-file", std::to_string(dice_() % 5)});
    if (what == 7) return store->wrongTry(dice_() % 2 == 0 ? WrongTry::pin : WrongTry::answer);
    if (what == 8) return confirm();
    if (what == 9) return removeSome();
    if (what == 10) return diskFails_ ? mend() : spoil();
    if (what == 11) return dice_() % 3 == 0 ? relaunch() : sleep();
    if (what == 12) {
      camera.photosPerSeries = static_cast<int>(dice_() % 5);
      return;
    }
    scheduler.advance(std::chrono::milliseconds(dice_() % 9000));
  }

  void check() {
    EXPECT_TRUE(store->armed()) << "the guard stays on";
    const std::vector<FileName> names = photos();
    const std::set<FileName> there(names.begin(), names.end());
    const EventList onFile = onDisk().events;
    const bool saved = store->status().saved && !diskFails_;  // and can be read
    EXPECT_TRUE(!saved || textsOf(onFile) == textsOf(store->events()));
    for (const EventRef& event : onFile) {
      for (const FileName& name : event->files()) {
        EXPECT_TRUE(there.contains(name)) << name << " is named and not there";
      }
      if (saved) recorded_.insert(event->id);
    }
    for (const EventRef& event : store->events()) {
      EXPECT_EQ(event->vault, vaultStateOf(event->vaultPhotos));
      for (const auto& photo : event->vaultPhotos) {
        const bool queued = photo.state == UnlockEvent::VaultPhoto::State::queued;
        EXPECT_TRUE(!queued || diskFails_ || there.contains(photo.file)) << "gone under its upload";
        EXPECT_FALSE(queued && others.copiesDeleted.contains(event->id)) << "copied again";
      }
    }
    for (const Uuid& id : recorded_) {
      const bool kept = store->event(id) != nullptr;
      EXPECT_TRUE(kept || allowedToGo_.contains(id)) << "a recorded event is lost";
    }
    EXPECT_EQ(store->pendingConfirm().has_value(), store->unconfirmedUnlock() != nullptr);
  }

  void end() {
    mend();
    scheduler.advance(20min);
    check();
    EXPECT_TRUE(store->status().saved);
    for (const EventRef& event : onDisk().events) EXPECT_FALSE(event->photoPending);
  }

 private:
  static std::vector<std::string> textsOf(const EventList& events) {
    std::vector<std::string> all;
    for (const EventRef& event : events) all.push_back(eventJson(*event));
    return all;
  }
  void confirm() {
    if (const auto pending = store->pendingConfirm()) allowedToGo_.insert(*pending);
    store->proved(OwnerGate::prove(OwnerPurpose::confirmUnlock));
  }
  /// The vault is turned on or off, or tells of an item, whatever state that is in.
  void copyEnds() {
    others.vaultTakes = dice_() % 4 > 0;
    if (store->events().empty()) return;
    const EventRef event = store->events()[dice_() % store->events().size()];
    for (const auto& photo : event->vaultPhotos) {
      const auto how = static_cast<VaultUploading::Ended>(dice_() % 3);
      if (dice_() % 2 == 0) others.vaultResults.tell(event->id, photo.id, how);
    }
  }
  void removeSome() {
    if (store->events().empty()) return;
    if (dice_() % 4 == 0) return store->deletePhotos(OwnerGate::prove(OwnerPurpose::action));
    const Uuid id = store->events()[dice_() % store->events().size()]->id;
    allowedToGo_.insert(id);
    store->deleteEvent(id, OwnerGate::prove(OwnerPurpose::action));
  }
  void spoil() {
    diskFails_ = true;
    files.failAfter(dice_() % 12, {FileError::Kind::noSpace, 28});
  }
  void mend() {
    diskFails_ = false;
    files.failNothing();
  }
  void sleep() {
    screen.suspend();
    scheduler.run();
    scheduler.sleepFor(std::chrono::minutes(dice_() % 60));
    screen.resume();
  }
  void relaunch() {
    mend();
    crash();
    launch();
  }

  std::mt19937_64 dice_;
  std::set<Uuid> recorded_;     // on disk for good at some time
  std::set<Uuid> allowedToGo_;  // confirmed or deleted by the owner
  bool diskFails_ = false;
};

TEST(GuardRandomTest, NothingRecordedIsLostWhateverHappens) {
  const char* chosen = std::getenv("BRINDLE_SEED");
  std::uint64_t seed = chosen ? std::strtoull(chosen, nullptr, 10) : std::random_device{}();
  for (int round = 0; round < (chosen ? 1 : 40); ++round, ++seed) {
    SCOPED_TRACE("BRINDLE_SEED=" + std::to_string(seed));
    RandomGuard guard(seed);
    guard.turnOn();
    for (int i = 0; i < 120 && !testing::Test::HasFailure(); ++i) {
      guard.step();
      guard.scheduler.run();
      guard.check();
    }
    guard.end();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace brindle
