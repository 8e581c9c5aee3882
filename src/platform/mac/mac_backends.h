#pragma once

#include <cstdint>
#include <memory>
#include <span>
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
#include "platform/file_events.h"
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
#include "platform/posix/files_posix.h"
#include "platform/power_assertion.h"
#include "platform/power_source.h"
#include "platform/preferences.h"
#include "platform/process_activity.h"
#include "platform/push_registration.h"
#include "platform/random.h"
#include "platform/running_apps.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"
#include "platform/sound_player.h"
#include "platform/system_power.h"
#include "platform/web_sign_in.h"
#include "platform/worker_queue.h"

namespace brindle {

class MacQuitSender;

// The services of macOS 14 and later behind the platform headers. Each is made on the main thread
// and destroyed there; what comes back from the system is handed on by the main dispatch queue. The
// scheduler, the quit sender and the links have headers of their own, because the application also
// drives them; the primitives of platform/crypto.h are those of OpenSSL, as on every system.

std::unique_ptr<BootClock> makeMacBootClock();
/// `home` is the folder that its report is about.
std::unique_ptr<PosixFiles> makeMacFiles(std::string home);
std::unique_ptr<Keychain> makeMacKeychain();
/// Application Support in this person's Library; the system tells it whatever HOME says.
std::string macSupportFolder();
/// This person's Library, where programs keep what they need; a real path.
std::string macLibraryFolder();
/// Where the bundle keeps what is no program; outside one, where the program lies.
std::string macResourcesFolder();
/// What the bundle says of its distribution; empty when it says nothing.
std::string macDistribution();
/// This person's own, which the system clears now and then.
std::string macTemporaryFolder();
std::unique_ptr<Preferences> makeMacPreferences();
std::unique_ptr<Random> makeMacRandom();

/// `label` names the queue in crash reports and samples.
std::unique_ptr<WorkerQueue> makeMacWorkerQueue(const char* label);

std::unique_ptr<LoginItem> makeMacLoginItem();
/// Made before the application has finished launching, or a click that launched it is not told.
std::unique_ptr<Notifications> makeMacNotifications();
std::unique_ptr<ScreenLock> makeMacScreenLock();

std::unique_ptr<CameraDevice> makeMacCamera();
std::unique_ptr<FlashWindow> makeMacFlashWindow();
std::unique_ptr<ImageReader> makeMacImageReader();

std::unique_ptr<FileEvents> makeMacFileEvents(Scheduler& scheduler);
std::unique_ptr<OpenedFiles> makeMacOpenedFiles();
std::unique_ptr<Bookmarks> makeMacBookmarks();
std::unique_ptr<RunningApps> makeMacRunningApps();

std::unique_ptr<AudioOutputs> makeMacAudioOutputs(Scheduler& scheduler);
std::unique_ptr<SoundPlayer> makeMacSoundPlayer(Scheduler& scheduler);
std::unique_ptr<PowerAssertions> makeMacPowerAssertions(Scheduler& scheduler);
std::unique_ptr<PowerSource> makeMacPowerSource(Scheduler& scheduler);
std::unique_ptr<IdleTime> makeMacIdleTime(Scheduler& scheduler);
std::unique_ptr<Calendar> makeMacCalendar();

std::unique_ptr<Http> makeMacHttp(Scheduler& scheduler);
/// One for each `identifier` and process; the system keeps its transfers under it.
std::unique_ptr<BackgroundTransfer> makeMacBackgroundTransfer(Scheduler& scheduler,
                                                              std::string identifier);
std::unique_ptr<Browser> makeMacBrowser(Scheduler& scheduler);
std::unique_ptr<NetworkPath> makeMacNetworkPath(Scheduler& scheduler);
std::unique_ptr<SystemPower> makeMacSystemPower();
std::unique_ptr<ProcessActivity> makeMacProcessActivity();
std::unique_ptr<Machine> makeMacMachine();
/// These two need a program with windows to ask in front of, and say so where there are none.
std::unique_ptr<WebSignIn> makeMacWebSignIn(Scheduler& scheduler);
std::unique_ptr<AppleSignIn> makeMacAppleSignIn(Scheduler& scheduler);
/// Through the application's delegate, which `application` is and which outlives it; without one
/// nothing is delivered.
std::unique_ptr<PushRegistration> makeMacPushRegistration(MacQuitSender* application);

/// Keeps windows of ours, each told by its content view, in front of everything a person could
/// bring up, and this application the one that gets the keys: meanwhile there is no Dock, no menu
/// bar, no switching of applications and no force quit. Called again and again while they are up;
/// with none it gives all of this back.
void holdMacCovers(std::span<const std::uintptr_t> views);

/// The unified log. Private arguments reach the system as such, so that it does its own redaction.
std::unique_ptr<LogSink> makeOsLogSink();

}  // namespace brindle
