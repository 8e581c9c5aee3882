#pragma once

#include <string>

#include "app/app_paths.h"
#include "app/services.h"
#include "platform/linux/boot_clock_linux.h"
#include "platform/linux/image_jpeg.h"
#include "platform/linux/preferences_linux.h"
#include "platform/linux/random_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/camera_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/quit_sender_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/worker_queue_thread.h"

namespace brindle {

/// For rehearsals: real time, real files in a private folder and real derivations; every device and
/// every service of the desktop is in memory and driven by hand.
class MemoryServices {
 public:
  MemoryServices(const AppPaths& paths, LogSink& log)
      : files(paths.data), preferences(files, paths.preferences), log_(log) {}

  Services services() {
    return {scheduler, bootClock, files,         preferences, keychain,   random,
            crypto,    screen,    notifications, loginItem,   quitSender, camera,
            images,    flash,     fileWork,      secretWork,  imageWork,  log_};
  }

  LinuxScheduler scheduler;
  ThreadWorkerQueue fileWork{scheduler, "brindle.files"};
  ThreadWorkerQueue secretWork{scheduler, "brindle.secret"};
  ThreadWorkerQueue imageWork{scheduler, "brindle.images"};
  LinuxBootClock bootClock;
  PosixFiles files;
  LinuxPreferences preferences;
  LinuxRandom random;
  OpensslCrypto crypto;
  JpegImageReader images;
  MemoryKeychain keychain;
  MemoryScreenLock screen{scheduler};
  MemoryNotifications notifications{scheduler};
  MemoryLoginItem loginItem;
  MemoryQuitSender quitSender{scheduler};
  MemoryCamera camera{scheduler};
  MemoryFlashWindow flash;

 private:
  LogSink& log_;
};

}  // namespace brindle
