#pragma once

#include <map>
#include <string>

#include "base/lifetime.h"
#include "platform/background_transfer.h"
#include "platform/linux/awake_clock.h"
#include "platform/linux/courier_job.h"
#include "platform/linux/courier_launcher.h"
#include "platform/linux/courier_spool.h"
#include "platform/linux/folder_watch.h"
#include "platform/posix/files_posix.h"

namespace brindle {

/// One session of a spool that brindle-courier works off. Its results lie in a folder until they
/// are told.
class LinuxBackgroundTransfer final : public BackgroundTransfer {
 public:
  /// `identifier` becomes a folder's name.
  LinuxBackgroundTransfer(CourierLauncher& launcher, PosixFiles& files,
                          const std::string& identifier, Log log);

  void start(std::function<void(const TransferResult&)> onResult) override;
  [[nodiscard]] bool send(const HttpRequest& request, const std::string& description) override;
  void cancel(std::string_view description) override;
  void unfinished(std::function<void(std::vector<std::string>)> done) override;
  ServiceReport report() const override;

 private:
  void makeFolders();
  void recall();
  void cancelJob(const std::string& file);
  void look();
  void lookSoon();
  void tell(const std::string& file);
  void missLost();

  CourierLauncher& launcher_;
  PosixFiles& files_;
  CourierFolders folders_;
  Log log_;
  AwakeClock clock_;
  bool usable_ = false;
  std::map<std::string, std::string> jobs_;  ///< file name to description, until told or cancelled
  std::function<void(const TransferResult&)> onResult_;
  FolderWatch watch_;
  Subscription looks_;
  Lifetime lifetime_;
};

}  // namespace brindle
