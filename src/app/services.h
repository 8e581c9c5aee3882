#pragma once

#include <string>

#include "base/log.h"
#include "platform/boot_clock.h"
#include "platform/camera.h"
#include "platform/crypto.h"
#include "platform/files.h"
#include "platform/flash_window.h"
#include "platform/image.h"
#include "platform/keychain.h"
#include "platform/login_item.h"
#include "platform/notifications.h"
#include "platform/preferences.h"
#include "platform/quit_sender.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"
#include "platform/worker_queue.h"

namespace brindle {

/// Every platform service, whichever backends were chosen. All of them outlive the application.
struct Services {
  Scheduler& scheduler;
  BootClock& bootClock;
  Files& files;
  Preferences& preferences;
  Keychain& keychain;
  Random& random;
  Crypto& crypto;
  ScreenLock& screen;
  Notifications& notifications;
  LoginItem& loginItem;
  QuitSender& quitSender;
  CameraDevice& camera;
  ImageReader& images;
  FlashWindow& flash;
  WorkerQueue& fileWork;    ///< the history and the photos
  WorkerQueue& secretWork;  ///< the keychain and the slow derivations
  WorkerQueue& imageWork;   ///< the brightness of photos
  LogSink& log;
};

}  // namespace brindle
