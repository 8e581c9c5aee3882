#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "core/nightjar_store.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "testing/recorded_collaborators.h"
#include "testing/recording_log.h"
#include "testing/scripted_camera.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {

/// A guard store on memory backends and virtual time, and the machine around it: it can be
/// relaunched, and its disk can lose what was not flushed.
class GuardWorld {
 public:
  explicit GuardWorld(std::uint64_t seed = 1) : random(seed) {}

  void launch(NightjarStore::Role role = NightjarStore::Role::guard);
  /// The process ends without a word.
  void kill();
  /// A power cut as well: only what was flushed is left.
  void crash();

  /// Turned on by the owner, recorded, and everything of it done.
  void turnOn();
  void lock(Duration forTime = std::chrono::minutes(1));
  void unlock();
  /// Locked and unlocked again, with the series over and recorded.
  Uuid unlockAndSettle();

  /// What the next start would read.
  SavedState onDisk();
  std::vector<FileName> photos();
  EventRef last() const { return store->events().empty() ? nullptr : store->events().back(); }

  VirtualScheduler scheduler;
  MemoryBootClock clock{scheduler, [this] { return scheduler.slept(); }};
  MemoryScreenLock screen{scheduler};
  MemoryPreferences defaults;
  MemoryNotifications notifications{scheduler};
  MemoryRandom random;
  MemoryFiles files;
  RecordingLog lines;
  ScriptedCamera camera{scheduler};
  ScriptedSecrets secrets{scheduler};
  RecordedCollaborators others{scheduler};
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<PhotoVault> vault;
  std::unique_ptr<NightjarStore> store;
};

class GuardFixture : public testing::Test, public GuardWorld {
 protected:
  void SetUp() override { launch(); }
  void TearDown() override;
};

}  // namespace brindle
