#include "platform/linux/courier.h"

#include <algorithm>
#include <vector>

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t mostUnderWay = 6;  // what one server is asked at once
constexpr Duration firstPause = 1s;
constexpr Duration longestPause = 32s;
// Far more than a program leaves unread; what is lost beyond is repeated by its owner.
constexpr std::size_t mostResults = 256;
constexpr std::uintmax_t mostResultBytes = 16 << 20;
constexpr std::size_t mostDamaged = 16;
constexpr std::uintmax_t mostDamagedBytes = 1 << 20;

Duration longer(Duration pause) { return std::min(pause * 2, longestPause); }

bool gone(const FileResult<void>& result) {
  return !result && result.error().kind == FileError::Kind::notFound;
}

}  // namespace

Courier::Courier(Scheduler& scheduler, Http& http, Files& files, std::string spool,
                 AwakeClock clock)
    : scheduler_(scheduler),
      http_(http),
      files_(files),
      spool_(std::move(spool)),
      clock_(std::move(clock)) {}

void Courier::look() {
  for (const CourierFolders& folders : courierSessions(files_, spool_)) {
    dropCancelled(folders);
    for (const std::string& file : courierEntries(files_, folders.todo())) {
      if (!jobs_.contains(joinPath(folders.todo(), file))) takeUp(folders, file);
    }
  }
  // A job that somebody took away is not carried on.
  std::erase_if(jobs_, [&](const auto& each) { return files_.exists(each.first) == false; });
  courierStep("read");
  begin();
}

void Courier::dropCancelled(const CourierFolders& folders) {
  for (const std::string& file : courierEntries(files_, folders.cancel())) {
    jobs_.erase(joinPath(folders.todo(), file));
    (void)files_.remove(joinPath(folders.done(), file));  // there only when it was late
    (void)files_.remove(joinPath(folders.cancel(), file));
  }
}

void Courier::takeUp(const CourierFolders& folders, const std::string& file) {
  const Key key = joinPath(folders.todo(), file);
  const auto content = files_.read(key);
  if (!content && content.error().kind == FileError::Kind::notFound) return;
  // Answered before an earlier run was killed: sending it once more would be for nothing.
  if (files_.exists(joinPath(folders.done(), file)) == true) {
    (void)files_.remove(key);
    return;
  }
  const auto text = content ? textOf(*content) : std::string_view();
  auto job = readCourierJob(text);
  if (!job) return setAside(folders, file, text);
  const bool ofThisBoot = job->boot == clock_.boot;
  const Duration begun = ofThisBoot ? std::min(job->handedOver, now()) : now();
  jobs_[key] = {folders, file, std::move(*job), begun, false, firstPause, {}, {}, {}, {}};
  // Its body may not have reached the disk before the power went. Whoever owes it looks, and hands
  // it over again; half of it would be refused for good.
  if (!ofThisBoot) end(key, {0, {}, {}, "the machine was restarted"});
}

void Courier::setAside(const CourierFolders& folders, const std::string& file,
                       std::string_view text) {
  if (const auto description = readCourierDescription(text)) {
    if (!put(folders, file, {*description, {0, {}, {}, "the job cannot be read"}})) return;
  }
  (void)files_.makeFolder(folders.damaged());
  const std::string key = joinPath(folders.todo(), file);
  const auto moved = files_.renameNew(key, joinPath(folders.damaged(), file));
  if (!moved) (void)files_.remove(key);
  trimFolder(folders.damaged(), mostDamaged, mostDamagedBytes);
}

void Courier::begin() {
  std::vector<std::pair<Duration, Key>> waiting;
  std::size_t underWay = 0;
  for (const auto& [key, work] : jobs_) {
    if (work.underWay)
      ++underWay;
    else if (!work.timer.armed() && !work.result)
      waiting.emplace_back(work.begun, key);
  }
  std::ranges::sort(waiting);
  for (const auto& [begun, key] : waiting) {
    const auto found = jobs_.find(key);
    if (underWay >= mostUnderWay) return;
    if (found == jobs_.end()) continue;
    attempt(key, found->second);
    const auto after = jobs_.find(key);
    if (after != jobs_.end() && after->second.underWay) ++underWay;
  }
}

void Courier::attempt(const Key& key, Work& work) {
  HttpRequest request = work.job.request;
  const Duration left = work.begun + request.timeout - now();
  if (left <= Duration::zero()) {
    return end(key, {0, {}, {}, work.problem.empty() ? "timed out" : work.problem});
  }
  if (files_.exists(request.bodyFile) != true) {
    return end(key, {0, {}, {}, "the body file cannot be read"});
  }
  request.timeout = left;
  work.underWay = true;
  courierStep("sending");
  work.request = http_.send(std::move(request),
                            [this, key](HttpAnswer answer) { answered(key, std::move(answer)); });
  courierStep("sent");
}

void Courier::answered(const Key& key, HttpAnswer answer) {
  const auto found = jobs_.find(key);
  if (found == jobs_.end()) return;
  Work& work = found->second;
  work.underWay = false;
  if (answer.status != 0) {
    end(key, std::move(answer));
  } else {
    work.problem = answer.problem;
    const Duration left = work.begun + work.job.request.timeout - now();
    work.timer = scheduler_.after(std::min(work.pause, left), [this] { begin(); });
    work.pause = longer(work.pause);
  }
  begin();
}

void Courier::end(const Key& key, HttpAnswer answer) {
  Work& work = jobs_.at(key);
  answer.elapsed = now() - work.begun;
  work.result = {work.job.description, std::move(answer)};
  work.pause = firstPause;
  courierStep("answered");
  writeResult(key);
}

/// An answer that the disk has no room for is kept and written later; repeating the request would
/// not make room.
void Courier::writeResult(const Key& key) {
  const auto found = jobs_.find(key);
  if (found == jobs_.end()) return;
  Work& work = found->second;
  if (!put(work.folders, work.file, *work.result)) {
    work.timer = scheduler_.after(work.pause, [this, key] { writeResult(key); });
    work.pause = longer(work.pause);
    return;
  }
  courierStep("result written");
  // Its job was taken away meanwhile: it was cancelled, and nobody is to hear of it.
  if (gone(files_.remove(key))) (void)files_.remove(joinPath(work.folders.done(), work.file));
  courierStep("job removed");
  trimFolder(work.folders.done(), mostResults, mostResultBytes);
  jobs_.erase(key);
}

bool Courier::put(const CourierFolders& folders, const std::string& file,
                  const TransferResult& result) {
  return files_.writeWhole(joinPath(folders.done(), file), viewOf(courierResultText(result)))
      .has_value();
}

}  // namespace brindle
