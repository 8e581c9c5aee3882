#pragma once

#include <map>
#include <utility>
#include <vector>

#include "platform/audio_output.h"
#include "platform/scheduler.h"

namespace brindle {

/// Outputs that a test plugs in, turns down and pulls out, of a server that may be slow or away.
class MemoryAudioOutputs final : public AudioOutputs {
 public:
  explicit MemoryAudioOutputs(Scheduler& scheduler) : scheduler_(scheduler) {}

  void readDefault(std::function<void(std::optional<State>)> done) override {
    ++reads_;
    scheduler_.post([this, done = std::move(done)] {
      const auto found = outputs_.find(default_);
      std::optional<State> now;
      if (answers_ && found != outputs_.end()) now = found->second;
      answer(heldReads_, [done, now] { done(now); });
    });
  }
  void write(const SavedVolume& volume, std::function<void(Written)> done) override {
    if (beforeWrite) beforeWrite(volume);
    scheduler_.post([this, volume, done = std::move(done)] {
      const auto before = outputs_;
      const Written written = take(volume);
      if (outputs_ != before) tell();
      answer(heldWrites_, [done, written] { done(written); });
    });
  }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override { return {"sound", "memory", answers_, {}}; }

  /// Adds an output and makes it the default one.
  void plug(const SavedVolume& volume, bool builtIn = true) {
    outputs_[volume.device] = {{volume.device, volume.device, builtIn, true}, volume};
    default_ = volume.device;
    tell();
  }
  void unplug(const std::string& device) {
    outputs_.erase(device);
    if (default_ == device) default_ = outputs_.empty() ? "" : outputs_.begin()->first;
    tell();
  }
  /// As another program, or the owner with the keys.
  void set(const SavedVolume& volume) {
    take(volume);
    tell();
  }
  void setAnswers(bool answers) {
    answers_ = answers;
    tell();
  }
  /// Nobody is told of changes.
  void setTells(bool tells) { tells_ = tells; }
  /// What is done from now on is answered when one of the two below says so, which end this.
  void setSlow() { slow_ = true; }
  void answerReads() { answerAll(heldReads_); }
  void answerWrites() { answerAll(heldWrites_); }
  std::function<void(const SavedVolume&)> beforeWrite;
  const SavedVolume& volume(const std::string& device) { return outputs_[device].volume; }
  const std::vector<SavedVolume>& written() const { return written_; }
  int reads() const { return reads_; }

 private:
  Written take(const SavedVolume& volume) {
    if (!answers_) return Written::refused;
    const auto found = outputs_.find(volume.device);
    if (found == outputs_.end()) return Written::gone;
    written_.push_back(volume);
    SavedVolume& now = found->second.volume;
    for (auto& [channel, level] : now.levels) {
      if (const auto wanted = volume.levels.find(channel); wanted != volume.levels.end()) {
        level = wanted->second;
      }
    }
    if (now.muted && volume.muted) now.muted = volume.muted;
    return Written::done;
  }
  void answer(std::vector<Task>& held, Task task) {
    if (!slow_) return task();
    held.push_back(std::move(task));
  }
  void answerAll(std::vector<Task>& held) {
    slow_ = false;
    for (const Task& each : std::exchange(held, {})) each();
  }
  void tell() {
    if (!tells_) return;
    scheduler_.post([this] { changes_.tell(); });
  }

  Scheduler& scheduler_;
  std::map<std::string, State> outputs_;
  std::string default_;
  std::vector<SavedVolume> written_;
  bool answers_ = true, tells_ = true, slow_ = false;
  std::vector<Task> heldReads_, heldWrites_;
  int reads_ = 0;
  Listeners<> changes_;
};

}  // namespace brindle
