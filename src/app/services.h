#pragma once

#include <string>

#include "base/log.h"
#include "platform/apple_sign_in.h"
#include "platform/audio_output.h"
#include "platform/background_transfer.h"
#include "platform/bookmarks.h"
#include "platform/boot_clock.h"
#include "platform/browser.h"
#include "platform/calendar.h"
#include "platform/camera.h"
#include "platform/crypto.h"
#include "platform/file_events.h"
#include "platform/files.h"
#include "platform/flash_window.h"
#include "platform/http.h"
#include "platform/idle_time.h"
#include "platform/image.h"
#include "platform/keychain.h"
#include "platform/login_item.h"
#include "platform/machine.h"
#include "platform/network_path.h"
#include "platform/notifications.h"
#include "platform/opened_files.h"
#include "platform/opened_links.h"
#include "platform/power_assertion.h"
#include "platform/power_source.h"
#include "platform/preferences.h"
#include "platform/process_activity.h"
#include "platform/push_registration.h"
#include "platform/quit_sender.h"
#include "platform/random.h"
#include "platform/running_apps.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"
#include "platform/sound_player.h"
#include "platform/system_power.h"
#include "platform/web_sign_in.h"
#include "platform/worker_queue.h"

namespace brindle {

/// What reaches beyond this machine, and what that needs of it.
struct NetworkServices {
  Http& http;
  BackgroundTransfer& watchTransfer;  ///< uploads of what the alert watch owes
  BackgroundTransfer& alertTransfer;  ///< uploads of reports with photos
  BackgroundTransfer& vaultTransfer;  ///< uploads of sealed copies
  SystemPower& power;
  ProcessActivity& activity;
  Machine& machine;
  OpenedLinks& links;
  WebSignIn& webSignIn;
  AppleSignIn& appleSignIn;
  PushRegistration& push;
  NetworkPath& path;
  Browser& browser;
};

/// What tells who opens what.
struct WatchingServices {
  FileEvents& events;
  OpenedFiles& opened;
  Bookmarks& bookmarks;
  RunningApps& apps;
  WorkerQueue& work;  ///< watched items: a volume that hangs must not keep photos from the disk
  /// Where macOS' programs keep their files in the owner's home; empty elsewhere.
  std::string libraryFolder = {};
};

/// What else tells that something happens, and what answers it.
struct TriggerServices {
  PowerSource& powerSource;
  IdleTime& idle;
  Calendar& calendar;
  AudioOutputs& outputs;
  SoundPlayer& player;
  PowerAssertions& assertions;
  /// Where our sounds lie.
  std::string sounds = {};
  /// How this build is distributed; "direct": not through a store.
  std::string distribution = "direct";
};

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
  WorkerQueue& vaultWork;   ///< sealing
  LogSink& log;
  NetworkServices network;
  WatchingServices watching;
  TriggerServices triggers;
};

}  // namespace brindle
