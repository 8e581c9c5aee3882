#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/file_events.h"
#include "platform/scheduler.h"

namespace brindle {

/// Events as a test tells them, delivered by the scheduler in batches of what was told since the
/// last one. Paths outside the observed ones are left out, as the system would.
class MemoryFileEvents final : public FileEvents {
 public:
  explicit MemoryFileEvents(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Result<std::unique_ptr<FileEventStream>, std::string> open(
      const ObservedPaths& paths, Deliver deliver) override {
    if (whileOpening) whileOpening();
    if (!problem.empty()) return Failure<std::string>(problem);
    if (running() >= most) return Failure<std::string>("the limit of streams is reached");
    auto state = std::make_shared<State>(State{paths, std::move(deliver), {}, {}});
    for (const std::string& path : blind) {
      if (observes(paths, path))
        state->unobserved.push_back({path, "told to be blind", false, true});
    }
    for (const std::string& path : locked) {
      if (observes(paths, path)) state->unobserved.push_back({path, "permission denied"});
    }
    streams_.push_back(state);
    opened.push_back(paths);
    return std::make_unique<Stream>(std::move(state));
  }
  [[nodiscard]] Subscription probe(const std::string& path,
                                   std::function<void(bool seen)> done) override {
    auto waiting = std::make_shared<std::function<void(bool)>>(std::move(done));
    scheduler_.post([waiting = std::weak_ptr(waiting), seen = !blind.contains(path)] {
      if (const auto told = waiting.lock()) (*told)(seen);
    });
    return Subscription([waiting]() mutable { waiting.reset(); });
  }
  ServiceReport report() const override {
    return {"file events", "memory", problem.empty(), problem};
  }

  /// Somebody did something, in all streams that observe the path.
  void happened(const std::string& path, std::uint32_t flags) {
    const bool everywhere = (flags & file_event::mustScanSubDirs) != 0;
    for (const auto& weak : streams_) {
      const auto stream = weak.lock();
      if (!stream || (!everywhere && !observes(stream->paths, path))) continue;
      stream->waiting.push_back({path, flags});
      scheduler_.post([weak] {
        if (const auto due = weak.lock()) due->flush();
      });
    }
  }
  std::size_t running() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(streams_, [](const auto& each) { return !each.expired(); }));
  }

  std::string problem;                 ///< not empty: no stream can be opened, for this reason
  std::set<std::string> blind;         ///< paths whose openings are not seen, for want of room
  std::set<std::string> locked;        ///< paths that may not be read
  std::size_t most = 1000;             ///< streams at a time
  std::function<void()> whileOpening;  ///< runs while a stream is made
  std::vector<ObservedPaths> opened;   ///< what each stream so far was asked for

 private:
  struct State {
    ObservedPaths paths;
    Deliver deliver;
    std::vector<FileEvent> waiting;
    std::vector<UnobservedPath> unobserved;
    void flush() {
      if (!waiting.empty()) deliver(std::exchange(waiting, {}));
    }
  };
  class Stream final : public FileEventStream {
   public:
    explicit Stream(std::shared_ptr<State> state) : state_(std::move(state)) {}
    void flush() override { state_->flush(); }
    std::vector<UnobservedPath> unobserved() const override { return state_->unobserved; }

   private:
    std::shared_ptr<State> state_;
  };
  static bool below(const std::string& path, const std::string& folder) {
    return path == folder || folder == "/" || path.starts_with(folder + "/");
  }
  static bool observes(const ObservedPaths& paths, const std::string& path) {
    const auto holds = [&path](const std::string& folder) { return below(path, folder); };
    if (std::ranges::find(paths.files, path) != paths.files.end()) return true;
    return std::ranges::any_of(paths.folders, holds) &&
           std::ranges::none_of(paths.exclusions, holds);
  }

  Scheduler& scheduler_;
  std::vector<std::weak_ptr<State>> streams_;
};

}  // namespace brindle
