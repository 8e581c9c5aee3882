#pragma once

#include <string>

#include "app/app_paths.h"
#include "app/native_services.h"
#include "platform/memory/apple_sign_in_memory.h"
#include "platform/memory/audio_output_memory.h"
#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/bookmarks_memory.h"
#include "platform/memory/browser_memory.h"
#include "platform/memory/calendar_memory.h"
#include "platform/memory/camera_memory.h"
#include "platform/memory/file_events_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/idle_time_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/network_path_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/opened_files_memory.h"
#include "platform/memory/opened_links_memory.h"
#include "platform/memory/power_assertion_memory.h"
#include "platform/memory/power_source_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/push_registration_memory.h"
#include "platform/memory/quit_sender_memory.h"
#include "platform/memory/running_apps_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "platform/memory/sound_player_memory.h"
#include "platform/memory/system_power_memory.h"
#include "platform/memory/web_sign_in_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/worker_queue_thread.h"

namespace brindle {

/// For rehearsals: real time, real files in a private folder and real derivations; every device and
/// every service of the desktop is in memory and driven by hand.
class MemoryServices {
 public:
  MemoryServices(const AppPaths& paths, LogSink& log) : files(paths.data), log_(log) {}

  Services services() {
    return {scheduler,
            *tools.bootClock,
            files,
            preferences,
            keychain,
            *tools.random,
            crypto,
            screen,
            notifications,
            loginItem,
            quitSender,
            camera,
            *tools.images,
            flash,
            fileWork,
            secretWork,
            imageWork,
            vaultWork,
            log_,
            {http, watchTransfer, alertTransfer, vaultTransfer, power, activity, machine, links,
             webSignIn, appleSignIn, push, path, browser},
            {fileEvents, openedFiles, bookmarks, apps, watchWork},
            {powerSource, idle, calendar, outputs, player, assertions}};
  }

  NativeTools tools = makeNativeTools();
  MainLoop& scheduler = *tools.loop;
  ThreadWorkerQueue fileWork{scheduler, "brindle.files"};
  ThreadWorkerQueue secretWork{scheduler, "brindle.secret"};
  ThreadWorkerQueue imageWork{scheduler, "brindle.images"};
  ThreadWorkerQueue vaultWork{scheduler, "brindle.vault"};
  ThreadWorkerQueue watchWork{scheduler, "brindle.watched"};
  PosixFiles files;
  OpensslCrypto crypto;
  MemoryPreferences preferences;
  MemoryKeychain keychain;
  MemoryScreenLock screen{scheduler};
  MemoryNotifications notifications{scheduler};
  MemoryLoginItem loginItem;
  MemoryQuitSender quitSender{scheduler};
  MemoryCamera camera{scheduler};
  MemoryFlashWindow flash;
  MemoryHttp http{scheduler, files};
  MemoryBackgroundTransfer watchTransfer{scheduler, files, "brindle.watch"};
  MemoryBackgroundTransfer alertTransfer{scheduler, files, "brindle.alerts"};
  MemoryBackgroundTransfer vaultTransfer{scheduler, files, "brindle.vault"};
  MemorySystemPower power{scheduler};
  MemoryProcessActivity activity;
  MemoryMachine machine;
  MemoryOpenedLinks links{scheduler};
  MemoryWebSignIn webSignIn{scheduler};
  MemoryAppleSignIn appleSignIn{scheduler};
  MemoryPushRegistration push{scheduler};
  MemoryNetworkPath path{scheduler};
  MemoryBrowser browser{scheduler};
  MemoryFileEvents fileEvents{scheduler};
  MemoryOpenedFiles openedFiles;
  MemoryBookmarks bookmarks;
  MemoryRunningApps apps{scheduler};
  MemoryPowerSource powerSource{scheduler};
  MemoryIdleTime idle{scheduler};
  MemoryCalendar calendar{scheduler};
  MemoryAudioOutputs outputs{scheduler};
  MemorySoundPlayer player{scheduler};
  MemoryPowerAssertions assertions;

 private:
  LogSink& log_;
};

}  // namespace brindle
