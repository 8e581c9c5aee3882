#include "app/linux_services.h"

#include <unistd.h>

#include <array>
#include <cstdlib>

#include "platform/file_step.h"
#include "platform/linux/boot_clock_linux.h"
#include "platform/linux/camera_gstreamer.h"
#include "platform/linux/flash_x11.h"
#include "platform/linux/image_jpeg.h"
#include "platform/linux/journal_sink.h"
#include "platform/linux/keychain_file.h"
#include "platform/linux/keyring_choice.h"
#include "platform/linux/login_item_linux.h"
#include "platform/linux/logind_session.h"
#include "platform/linux/notifications_linux.h"
#include "platform/linux/preferences_linux.h"
#include "platform/linux/quit_sender_linux.h"
#include "platform/linux/random_linux.h"
#include "platform/linux/screen_lock_linux.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/terminal_sink.h"
#include "platform/posix/worker_queue_thread.h"

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

}  // namespace

void holdQuitSignals() { LinuxQuitSender::blockSignals(); }

std::unique_ptr<LogSink> makeLinuxLog(bool terminal) {
  return std::make_unique<LinuxLog>(terminal);
}

std::string ownProgram(const std::string& name) {
  std::array<char, 4096> path{};
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  const std::string own(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return name.empty() ? own : joinPath(folderOf(own), name);
}

/// In the order in which they are built; they go the other way round.
struct LinuxServices::All {
  All(const AppPaths& paths, bool logToTerminal)
      : sink(makeLinuxLog(logToTerminal)),
        log(*sink),
        system(scheduler, log, DbusBus::system),
        session(scheduler, log, DbusBus::session),
        logind(system, log),
        quitSender(scheduler, logind),
        fileWork(scheduler, "brindle.files"),
        secretWork(scheduler, "brindle.secret"),
        imageWork(scheduler, "brindle.images"),
        cameraWork(scheduler, "brindle.camera"),
        files(paths.data),
        preferences(files, paths.preferences),
        keychain(makeLinuxKeychain(files, preferences, paths.data, log)),
        screen(logind, system, session, log),
        notifications(session, log),
        loginItem(files, LoginItemPlaces::of(files, ownProgram())),
        camera(cameraWork, cameraSource()) {}

  std::unique_ptr<LogSink> sink;
  Log log;
  LinuxScheduler scheduler;
  DbusLink system;
  DbusLink session;
  LogindSession logind;
  LinuxQuitSender quitSender;
  ThreadWorkerQueue fileWork;
  ThreadWorkerQueue secretWork;
  ThreadWorkerQueue imageWork;
  ThreadWorkerQueue cameraWork;
  LinuxBootClock bootClock;
  PosixFiles files;
  LinuxPreferences preferences;
  LinuxRandom random;
  OpensslCrypto crypto;
  std::unique_ptr<Keychain> keychain;
  LinuxScreenLock screen;
  LinuxNotifications notifications;
  LinuxLoginItem loginItem;
  GstreamerCamera camera;
  JpegImageReader images;
  X11FlashWindow flash;
  Services services{scheduler, bootClock, files,         preferences, *keychain,  random,
                    crypto,    screen,    notifications, loginItem,   quitSender, camera,
                    images,    flash,     fileWork,      secretWork,  imageWork,  *sink};
};

LinuxServices::LinuxServices(const AppPaths& paths, bool logToTerminal)
    : all_(std::make_unique<All>(paths, logToTerminal)) {}
LinuxServices::~LinuxServices() = default;

const Services& LinuxServices::services() const { return all_->services; }
LinuxScheduler& LinuxServices::scheduler() { return all_->scheduler; }
bool LinuxServices::usesFileKeyring() const {
  return dynamic_cast<const FileKeychain*>(all_->keychain.get()) != nullptr;
}
LogSink& LinuxServices::log() { return *all_->sink; }

}  // namespace brindle
