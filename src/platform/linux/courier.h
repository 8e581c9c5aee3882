#pragma once

#include <map>
#include <string>

#include "platform/linux/awake_clock.h"
#include "platform/linux/courier_job.h"
#include "platform/linux/courier_spool.h"

namespace brindle {

/// Carries out the jobs of a spool, a few at a time in the order of their hand-over. The caller
/// holds the spool's lock and says when to look. Main thread only.
class Courier {
 public:
  Courier(Scheduler& scheduler, Http& http, Files& files, std::string spool, AwakeClock clock);

  /// Takes up new jobs and drops cancelled ones.
  void look();
  /// Nothing is under way, waited for, or left to be written.
  bool idle() const { return jobs_.empty(); }

 private:
  struct Work {
    CourierFolders folders;
    std::string file;  ///< its name in `todo`, and that of its result in `done`
    CourierJob job;
    Duration begun{};  ///< awake time from which its time-out counts
    bool underWay = false;
    Duration pause;       ///< before the next attempt
    std::string problem;  ///< of the last attempt
    std::optional<TransferResult> result;
    Timer timer;
    Subscription request;
  };
  using Key = std::string;  // path of the job

  void dropCancelled(const CourierFolders& folders);
  void takeUp(const CourierFolders& folders, const std::string& file);
  void setAside(const CourierFolders& folders, const std::string& file, std::string_view text);
  void begin();
  void attempt(const Key& key, Work& work);
  void answered(const Key& key, HttpAnswer answer);
  void end(const Key& key, HttpAnswer answer);
  void writeResult(const Key& key);
  bool put(const CourierFolders& folders, const std::string& file, const TransferResult& result);
  Duration now() const { return clock_.now(scheduler_); }

  Scheduler& scheduler_;
  Http& http_;
  Files& files_;
  std::string spool_;
  AwakeClock clock_;
  std::map<Key, Work> jobs_;
};

}  // namespace brindle
