#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "app/native_services.h"
#include "platform/file_step.h"
#include "platform/linux/apple_sign_in_linux.h"
#include "platform/linux/audio_output_linux.h"
#include "platform/linux/background_transfer_linux.h"
#include "platform/linux/bookmarks_linux.h"
#include "platform/linux/boot_clock_linux.h"
#include "platform/linux/browser_linux.h"
#include "platform/linux/calendar_linux.h"
#include "platform/linux/camera_gstreamer.h"
#include "platform/linux/courier_launcher.h"
#include "platform/linux/file_events_linux.h"
#include "platform/linux/flash_x11.h"
#include "platform/linux/http_curl.h"
#include "platform/linux/idle_time_linux.h"
#include "platform/linux/image_jpeg.h"
#include "platform/linux/journal_sink.h"
#include "platform/linux/keychain_file.h"
#include "platform/linux/keyring_choice.h"
#include "platform/linux/link_handler.h"
#include "platform/linux/login_item_linux.h"
#include "platform/linux/logind_session.h"
#include "platform/linux/machine_linux.h"
#include "platform/linux/network_path_linux.h"
#include "platform/linux/notifications_linux.h"
#include "platform/linux/opened_files_linux.h"
#include "platform/linux/opened_links_linux.h"
#include "platform/linux/power_assertion_linux.h"
#include "platform/linux/power_source_linux.h"
#include "platform/linux/preferences_linux.h"
#include "platform/linux/process_activity_linux.h"
#include "platform/linux/push_registration_linux.h"
#include "platform/linux/quit_sender_linux.h"
#include "platform/linux/random_linux.h"
#include "platform/linux/running_apps_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/linux/screen_lock_linux.h"
#include "platform/linux/sound_player_linux.h"
#include "platform/linux/system_power_linux.h"
#include "platform/linux/web_sign_in_linux.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/terminal_sink.h"
#include "platform/posix/worker_queue_thread.h"
#include "service/alert_sender.h"
#include "service/alert_watch_sending.h"
#include "vault/web_vault.h"

namespace brindle {
namespace {

class LinuxLog final : public LogSink {
 public:
  explicit LinuxLog(bool terminal) : journal_(JournalSink::available()), terminal_(terminal) {}
  void write(std::string_view format, std::span<const LogArg> args) override {
    if (journal_) toJournal_.write(format, args);
    if (terminal_) toTerminal_.write(format, args);
  }

 private:
  bool journal_;
  bool terminal_;
  JournalSink toJournal_;
  TerminalSink toTerminal_;
};

/// Frames of a file or a test picture in place of a camera, for development only.
CameraSource cameraSource() {
#ifndef BRINDLE_RELEASED_APP
  if (const char* fragment = std::getenv("BRINDLE_CAMERA_SOURCE")) return {fragment};
#endif
  return {};
}

/// Certificates to trust in place of the system's, for a service on the developer's own machine.
std::string certificates() {
#ifndef BRINDLE_RELEASED_APP
  if (const char* file = std::getenv("BRINDLE_CA_FILE")) return file;
#endif
  return {};
}

/// In the order in which they are built; they go the other way round.
class LinuxServices final : public NativeServices {
 public:
  LinuxServices(const AppPaths& paths, ProgramKind program)
      : sink_(program != ProgramKind::command),
        log_(sink_),
        system_(scheduler_, log_, DbusBus::system),
        session_(scheduler_, log_, DbusBus::session),
        logind_(system_, log_),
        quitSender_(scheduler_, logind_),
        fileWork_(scheduler_, "brindle.files"),
        secretWork_(scheduler_, "brindle.secret"),
        imageWork_(scheduler_, "brindle.images"),
        vaultWork_(scheduler_, "brindle.vault"),
        cameraWork_(scheduler_, "brindle.camera"),
        watchWork_(scheduler_, "brindle.watched"),
        files_(paths.data),
        preferences_(files_, paths.preferences, log_),
        keychain_(makeLinuxKeychain(files_, preferences_, paths.data, log_)),
        screen_(logind_, system_, session_, log_),
        notifications_(session_, log_),
        loginItem_(files_, LoginItemPlaces::of(files_, ownProgram())),
        camera_(cameraWork_, cameraSource()),
        http_(scheduler_, certificates()),
        serviceManager_(session_, log_, "org.freedesktop.systemd1"),
        courier_(scheduler_, files_, joinPath(paths.data, "transfers"),
                 ownProgram("brindle-courier"), &serviceManager_, log_),
        watchTransfer_(courier_, files_, std::string(AlertWatchSending::sessionIdentifier), log_),
        alertTransfer_(courier_, files_, std::string(AlertSender::sessionIdentifier), log_),
        vaultTransfer_(courier_, files_, std::string(WebVault::sessionIdentifier), log_),
        power_(logind_),
        machine_(files_),
        linkHandler_(files_, LinkHandlerPlaces::of(ownProgram())),
        links_(scheduler_, linkHandler_),
        webSignIn_(scheduler_, links_, session_, log_),
        appleSignIn_(scheduler_),
        push_(session_, preferences_, random_, log_),
        path_(scheduler_),
        browser_(scheduler_, session_, log_),
        fileEvents_(scheduler_, openingTimes_),
        openedFiles_(openingTimes_),
        bookmarks_(scheduler_),
        apps_(scheduler_, RunningAppsPlaces::ofThisSession()),
        powerSource_(system_, logind_, log_),
        idle_(scheduler_, session_, log_),
        calendar_(scheduler_),
        outputs_(scheduler_),
        player_(scheduler_),
        assertions_(logind_, session_, log_) {
    if (program != ProgramKind::command) camera_.prepare(ownProgram("brindle-camera-scan"));
  }

  const Services& services() const override { return services_; }
  MainLoop& scheduler() override { return scheduler_; }
  LogSink& log() override { return sink_; }
  bool usesFileKeyring() const override {
    return dynamic_cast<const FileKeychain*>(keychain_.get()) != nullptr;
  }
  /// Whoever sends a signal, or shuts down, does not wait to be told.
  bool answerQuit(bool) override { return false; }
  Result<void, std::string> offerLinks(const std::vector<std::string>& schemes) override {
    const bool all = std::ranges::all_of(
        schemes, [this](const std::string& each) { return linkHandler_.registered(each); });
    return all ? Result<void, std::string>() : linkHandler_.install(schemes);
  }
  bool openLink(const std::string& link) override {
    links_.deliver(link);
    return true;
  }

 private:
  LinuxLog sink_;
  Log log_;
  LinuxScheduler scheduler_;
  DbusLink system_;
  DbusLink session_;
  LogindSession logind_;
  LinuxQuitSender quitSender_;
  ThreadWorkerQueue fileWork_;
  ThreadWorkerQueue secretWork_;
  ThreadWorkerQueue imageWork_;
  ThreadWorkerQueue vaultWork_;
  ThreadWorkerQueue cameraWork_;
  ThreadWorkerQueue watchWork_;
  LinuxBootClock bootClock_;
  PosixFiles files_;
  LinuxPreferences preferences_;
  LinuxRandom random_;
  OpensslCrypto crypto_;
  std::unique_ptr<Keychain> keychain_;
  LinuxScreenLock screen_;
  LinuxNotifications notifications_;
  LinuxLoginItem loginItem_;
  GstreamerCamera camera_;
  JpegImageReader images_;
  X11FlashWindow flash_;
  CurlHttp http_;
  DbusService serviceManager_;
  CourierLauncher courier_;
  LinuxBackgroundTransfer watchTransfer_;
  LinuxBackgroundTransfer alertTransfer_;
  LinuxBackgroundTransfer vaultTransfer_;
  LinuxSystemPower power_;
  LinuxProcessActivity activity_;
  LinuxMachine machine_;
  LinkHandler linkHandler_;
  LinuxOpenedLinks links_;
  LinuxWebSignIn webSignIn_;
  LinuxAppleSignIn appleSignIn_;
  LinuxPushRegistration push_;
  LinuxNetworkPath path_;
  LinuxBrowser browser_;
  OpeningTimes openingTimes_;
  LinuxFileEvents fileEvents_;
  LinuxOpenedFiles openedFiles_;
  LinuxBookmarks bookmarks_;
  LinuxRunningApps apps_;
  LinuxPowerSource powerSource_;
  LinuxIdleTime idle_;
  LinuxCalendar calendar_;
  LinuxAudioOutputs outputs_;
  LinuxSoundPlayer player_;
  LinuxPowerAssertions assertions_;
  Services services_{scheduler_,
                     bootClock_,
                     files_,
                     preferences_,
                     *keychain_,
                     random_,
                     crypto_,
                     screen_,
                     notifications_,
                     loginItem_,
                     quitSender_,
                     camera_,
                     images_,
                     flash_,
                     fileWork_,
                     secretWork_,
                     imageWork_,
                     vaultWork_,
                     sink_,
                     {http_, watchTransfer_, alertTransfer_, vaultTransfer_, power_, activity_,
                      machine_, links_, webSignIn_, appleSignIn_, push_, path_, browser_},
                     {fileEvents_, openedFiles_, bookmarks_, apps_, watchWork_},
                     {powerSource_, idle_, calendar_, outputs_, player_, assertions_,
                      folderOf(ownProgram()), BRINDLE_DISTRIBUTION}};
};

}  // namespace

std::unique_ptr<NativeServices> makeNativeServices(const AppPaths& paths, ProgramKind program) {
  // It has libpulse look, on the main thread, for a sound server where the owner logged in from:
  // the alarm is for this machine, and a display over there may hang. No other thread runs yet.
  unsetenv("SSH_CONNECTION");
  return std::make_unique<LinuxServices>(paths, program);
}

NativeTools makeNativeTools() {
  return {std::make_unique<LinuxScheduler>(), std::make_unique<LinuxBootClock>(),
          std::make_unique<LinuxRandom>(), std::make_unique<JpegImageReader>()};
}

bool hasWindowSystem() {
  const auto set = [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
  };
  if (set("WAYLAND_DISPLAY") || set("QT_QPA_PLATFORM")) return true;
  // A name alone proves nothing: after a log out it is left over, and the toolkit would crash.
  return set("DISPLAY") && x11Answers();
}

std::string ownProgram(const std::string& name) {
  std::array<char, 4096> path{};
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  const std::string own(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return name.empty() ? own : joinPath(folderOf(own), name);
}

}  // namespace brindle
