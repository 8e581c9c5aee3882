#include <libproc.h>
#include <unistd.h>

#include <array>

#include "app/native_services.h"
#include "platform/file_step.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/opened_links_mac.h"
#include "platform/mac/quit_sender_mac.h"
#include "platform/mac/scheduler_mac.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/terminal_sink.h"
#include "platform/tee_sink.h"
#include "service/alert_sender.h"
#include "service/alert_watch_sending.h"

namespace brindle {
namespace {

/// In the order in which they are built; they go the other way round.
class MacServices final : public NativeServices {
 public:
  MacServices(const AppPaths& paths, ProgramKind program)
      : sink_(program == ProgramKind::command
                  ? std::vector<LogSink*>{systemLog_.get()}
                  : std::vector<LogSink*>{systemLog_.get(), &terminal_}),
        windowQuits_(program == ProgramKind::desktop ? makeMacQuitSender() : nullptr),
        signalQuits_(windowQuits_ ? nullptr : makeMacQuitSignals()),
        files_(makeMacFiles(paths.data)),
        push_(makeMacPushRegistration(windowQuits_.get())) {}

  const Services& services() const override { return services_; }
  MainLoop& scheduler() override { return *scheduler_; }
  LogSink& log() override { return sink_; }
  bool usesFileKeyring() const override { return false; }
  void holdCovers(std::span<const std::uintptr_t> windows) override { holdMacCovers(windows); }
  bool answerQuit(bool quits) override { return windowQuits_ && windowQuits_->reply(quits); }
  bool startedAtLogin() const override { return windowQuits_ && windowQuits_->startedAtLogin(); }
  /// The bundle says which links are ours. This one started the application, or came to a second
  /// start of it.
  bool openLink(const std::string& link) override {
    links_->deliver(link);
    return true;
  }

 private:
  QuitSender& quitSender() { return windowQuits_ ? *windowQuits_ : *signalQuits_; }

  std::unique_ptr<LogSink> systemLog_ = makeOsLogSink();
  TerminalSink terminal_;
  TeeSink sink_;
  std::unique_ptr<MainLoop> scheduler_ = makeMacScheduler();
  // Asking for AppKit's application object makes this process one; commands stay plain.
  std::unique_ptr<MacQuitSender> windowQuits_;
  std::unique_ptr<QuitSender> signalQuits_;
  std::unique_ptr<WorkerQueue> fileWork_ = makeMacWorkerQueue("brindle.files");
  std::unique_ptr<WorkerQueue> secretWork_ = makeMacWorkerQueue("brindle.secret");
  std::unique_ptr<WorkerQueue> imageWork_ = makeMacWorkerQueue("brindle.images");
  std::unique_ptr<WorkerQueue> vaultWork_ = makeMacWorkerQueue("brindle.vault");
  std::unique_ptr<WorkerQueue> watchWork_ = makeMacWorkerQueue("brindle.watched");
  std::unique_ptr<BootClock> bootClock_ = makeMacBootClock();
  std::unique_ptr<PosixFiles> files_;
  std::unique_ptr<Preferences> preferences_ = makeMacPreferences();
  std::unique_ptr<Random> random_ = makeMacRandom();
  OpensslCrypto crypto_;
  std::unique_ptr<Keychain> keychain_ = makeMacKeychain();
  std::unique_ptr<ScreenLock> screen_ = makeMacScreenLock();
  std::unique_ptr<Notifications> notifications_ = makeMacNotifications();
  std::unique_ptr<LoginItem> loginItem_ = makeMacLoginItem();
  std::unique_ptr<CameraDevice> camera_ = makeMacCamera();
  std::unique_ptr<ImageReader> images_ = makeMacImageReader();
  std::unique_ptr<FlashWindow> flash_ = makeMacFlashWindow();
  std::unique_ptr<Http> http_ = makeMacHttp(*scheduler_);
  std::unique_ptr<BackgroundTransfer> watchTransfer_ =
      makeMacBackgroundTransfer(*scheduler_, std::string(AlertWatchSending::sessionIdentifier));
  std::unique_ptr<BackgroundTransfer> alertTransfer_ =
      makeMacBackgroundTransfer(*scheduler_, std::string(AlertSender::sessionIdentifier));
  std::unique_ptr<BackgroundTransfer> vaultTransfer_ =
      makeMacBackgroundTransfer(*scheduler_, "brindle.vault");
  std::unique_ptr<SystemPower> power_ = makeMacSystemPower();
  std::unique_ptr<ProcessActivity> activity_ = makeMacProcessActivity();
  std::unique_ptr<Machine> machine_ = makeMacMachine();
  std::unique_ptr<MacOpenedLinks> links_ = makeMacOpenedLinks();
  std::unique_ptr<WebSignIn> webSignIn_ = makeMacWebSignIn(*scheduler_);
  std::unique_ptr<AppleSignIn> appleSignIn_ = makeMacAppleSignIn(*scheduler_);
  std::unique_ptr<PushRegistration> push_;
  std::unique_ptr<NetworkPath> path_ = makeMacNetworkPath(*scheduler_);
  std::unique_ptr<Browser> browser_ = makeMacBrowser(*scheduler_);
  std::unique_ptr<FileEvents> fileEvents_ = makeMacFileEvents(*scheduler_);
  std::unique_ptr<OpenedFiles> openedFiles_ = makeMacOpenedFiles();
  std::unique_ptr<Bookmarks> bookmarks_ = makeMacBookmarks();
  std::unique_ptr<RunningApps> apps_ = makeMacRunningApps();
  std::unique_ptr<PowerSource> powerSource_ = makeMacPowerSource(*scheduler_);
  std::unique_ptr<IdleTime> idle_ = makeMacIdleTime(*scheduler_);
  std::unique_ptr<Calendar> calendar_ = makeMacCalendar();
  std::unique_ptr<AudioOutputs> outputs_ = makeMacAudioOutputs(*scheduler_);
  std::unique_ptr<SoundPlayer> player_ = makeMacSoundPlayer(*scheduler_);
  std::unique_ptr<PowerAssertions> assertions_ = makeMacPowerAssertions(*scheduler_);
  Services services_{
      *scheduler_,
      *bootClock_,
      *files_,
      *preferences_,
      *keychain_,
      *random_,
      crypto_,
      *screen_,
      *notifications_,
      *loginItem_,
      quitSender(),
      *camera_,
      *images_,
      *flash_,
      *fileWork_,
      *secretWork_,
      *imageWork_,
      *vaultWork_,
      sink_,
      {*http_, *watchTransfer_, *alertTransfer_, *vaultTransfer_, *power_, *activity_, *machine_,
       *links_, *webSignIn_, *appleSignIn_, *push_, *path_, *browser_},
      {*fileEvents_, *openedFiles_, *bookmarks_, *apps_, *watchWork_, macLibraryFolder()},
      {*powerSource_, *idle_, *calendar_, *outputs_, *player_, *assertions_, macResourcesFolder(),
       macDistribution()}};
};

}  // namespace

std::unique_ptr<NativeServices> makeNativeServices(const AppPaths& paths, ProgramKind program) {
  return std::make_unique<MacServices>(paths, program);
}

NativeTools makeNativeTools() {
  return {makeMacScheduler(), makeMacBootClock(), makeMacRandom(), makeMacImageReader()};
}

/// A login session with a screen: not over the network, and not before somebody has logged in.
bool hasWindowSystem() { return makeMacScreenLock()->reachable(); }

std::string ownProgram(const std::string& name) {
  std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
  const int length = proc_pidpath(getpid(), path.data(), static_cast<std::uint32_t>(path.size()));
  const std::string own(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return name.empty() ? own : joinPath(folderOf(own), name);
}

}  // namespace brindle
