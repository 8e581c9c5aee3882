#include "platform/linux/background_transfer_linux.h"

#include <unistd.h>

#include <algorithm>

#include "platform/linux/random_linux.h"

namespace brindle {

LinuxBackgroundTransfer::LinuxBackgroundTransfer(CourierLauncher& launcher, PosixFiles& files,
                                                 const std::string& identifier, Log log)
    : launcher_(launcher),
      files_(files),
      folders_{joinPath(launcher.spool(), identifier)},
      log_(log),
      clock_(AwakeClock::of(launcher.loop())),
      watch_(launcher.loop(), [this] { look(); }) {}

void LinuxBackgroundTransfer::start(std::function<void(const TransferResult&)> onResult) {
  onResult_ = std::move(onResult);
  makeFolders();
  (void)files_.removeLeftovers(folders_.todo());
  recall();
  looks_ = launcher_.onLook([this] {
    look();
    missLost();
  });
  if (courierHasWork(files_, launcher_.spool())) launcher_.need();
  lookSoon();
}

void LinuxBackgroundTransfer::makeFolders() {
  usable_ = true;
  for (const auto& each : {folders_.cancel(), folders_.done(), folders_.todo()}) {
    usable_ = files_.makeFolder(each).has_value() && usable_;
  }
  (void)watch_.add(folders_.done());  // without it results come with the slow look
  if (!usable_) log_.notice("background transfer: its folders cannot be used");
}

/// What earlier runs handed over. Where such a run was killed while it cancelled or while it told,
/// the folders say how far it came.
void LinuxBackgroundTransfer::recall() {
  for (const auto& file : courierEntries(files_, folders_.cancel())) {
    (void)files_.remove(joinPath(folders_.done(), file));
  }
  for (const auto& folder : {folders_.todo(), folders_.done()}) {
    for (const auto& file : courierEntries(files_, folder)) {
      const auto content = files_.read(joinPath(folder, file));
      const auto description = content ? readCourierDescription(textOf(*content)) : std::nullopt;
      if (description) jobs_[file] = *description;
    }
  }
}

bool LinuxBackgroundTransfer::send(const HttpRequest& request, const std::string& description) {
  if (!usable_) makeFolders();
  if (!usable_ || !httpUrlAllowed(request.url)) return false;
  if (::access(request.bodyFile.c_str(), R_OK) != 0) return false;
  CourierJob job{description, request, clock_.boot, clock_.now(launcher_.loop())};
  const std::string file = LinuxRandom().newUuid().upper() + std::string(courierSuffix);
  // Our death is survived without a flush. A power cut ends the courier too, and what it leaves is
  // of another boot: whoever owes the upload hands it over again.
  const auto written =
      files_.writeUnflushed(joinPath(folders_.todo(), file), viewOf(courierJobText(job)));
  if (!written) {
    log_.notice("background transfer: not handed over, error %{public}d", written.error().code);
    return false;
  }
  jobs_[file] = description;
  launcher_.need();
  return true;
}

void LinuxBackgroundTransfer::cancel(std::string_view description) {
  std::erase_if(jobs_, [&](const auto& each) {
    if (each.second != description) return false;
    cancelJob(each.first);
    return true;
  });
}

void LinuxBackgroundTransfer::cancelJob(const std::string& file) {
  const auto moved =
      files_.renameNew(joinPath(folders_.todo(), file), joinPath(folders_.cancel(), file));
  // No job any more: it has ended, and its result was written before.
  if (!moved) (void)files_.remove(joinPath(folders_.done(), file));
  if (moved) launcher_.need();
}

void LinuxBackgroundTransfer::unfinished(std::function<void(std::vector<std::string>)> done) {
  std::vector<std::string> all;
  for (const auto& [file, description] : jobs_) {
    if (files_.exists(joinPath(folders_.done(), file)) != true) all.push_back(description);
  }
  launcher_.loop().post([done = std::move(done), all = std::move(all)] { done(all); });
}

void LinuxBackgroundTransfer::lookSoon() {
  launcher_.loop().post(lifetime_.guard([this] { look(); }));
}

void LinuxBackgroundTransfer::look() {
  for (const auto& file : courierEntries(files_, folders_.done())) {
    // One in a turn: whoever is told may cancel others, or end us.
    if (jobs_.contains(file)) return tell(file);
    // Cancelled, but the answer came first.
    (void)files_.remove(joinPath(folders_.done(), file));
  }
}

void LinuxBackgroundTransfer::tell(const std::string& file) {
  const std::string path = joinPath(folders_.done(), file);
  const auto content = files_.read(path);
  auto result = content ? readCourierResult(textOf(*content)) : std::nullopt;
  if (!result) result = {jobs_.at(file), {0, {}, {}, "the result cannot be read"}};
  jobs_.erase(file);
  launcher_.shown();
  lookSoon();
  PosixFiles& files = files_;  // it may end us
  const auto told = onResult_;
  const std::string job = joinPath(folders_.todo(), file);
  told(*result);
  // There when the courier was killed before it removed it: it is not to be sent again.
  (void)files.remove(job);
  (void)files.remove(path);
}

/// A job that is nowhere any more: its result was trimmed, or somebody emptied the folders.
void LinuxBackgroundTransfer::missLost() {
  const auto lost = std::ranges::find_if(jobs_, [&](const auto& each) {
    return files_.exists(joinPath(folders_.todo(), each.first)) == false &&
           files_.exists(joinPath(folders_.done(), each.first)) == false;
  });
  if (lost == jobs_.end()) return;
  launcher_.loop().post(lifetime_.guard([this] { missLost(); }));
  tell(std::string(lost->first));
}

ServiceReport LinuxBackgroundTransfer::report() const {
  return {"background transfer", "brindle-courier", usable_, launcher_.means()};
}

}  // namespace brindle
