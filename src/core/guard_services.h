#pragma once

#include "core/camera_capturing.h"
#include "core/owner_secrets.h"
#include "core/photo_vault.h"
#include "platform/boot_clock.h"
#include "platform/notifications.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"
#include "platform/worker_queue.h"

namespace brindle {

/// What the guard store is built on. All of it outlives the store.
struct GuardServices {
  Scheduler& scheduler;
  BootClock& clock;
  ScreenLock& screen;
  Preferences& defaults;
  Notifications& notifications;
  Random& random;
  WorkerQueue& files;  ///< all writing of the history and the photos, in order
  PhotoVault& vault;
  CameraCapturing& camera;
  OwnerSecrets& secrets;
  Log log;
};

}  // namespace brindle
