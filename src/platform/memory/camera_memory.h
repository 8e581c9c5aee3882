#pragma once

#include <deque>
#include <vector>

#include "base/lifetime.h"
#include "platform/camera.h"
#include "platform/scheduler.h"

namespace brindle {

/// A camera that does what it is told, in the scheduler's time.
class MemoryCamera final : public CameraDevice {
 public:
  /// What becomes of one shot. `hang` never answers by itself: see `answerHung`.
  enum class Shot { deliver, fail, hang };
  /// Gives the next frame; asked once per delivered shot.
  using Frames = std::function<Bytes()>;

  explicit MemoryCamera(Scheduler& scheduler) : scheduler_(scheduler) {}

  CameraAuthorization authorization() const override { return authorization_; }
  void requestAuthorization(std::function<void(bool granted)> done) override;
  void start(std::function<void(CameraStart)> done) override;
  void stop() override;
  bool running() const override { return running_ && present_; }
  bool adjustingExposure() const override;
  std::optional<PhotoId> capture(std::function<void(PhotoId, std::optional<Bytes>)> done) override;
  ServiceReport report() override;

  void setAuthorization(CameraAuthorization authorization) { authorization_ = authorization; }
  /// What the person answers when asked.
  void setGrants(bool grants) { grants_ = grants; }
  /// False: there is no camera, or it has just been unplugged.
  void setPresent(bool present) { present_ = present; }
  /// Another program has it: starting fails.
  void setBusy(bool busy) { busy_ = busy; }
  /// Starting is never answered.
  void setStartHangs(bool hangs) { startHangs_ = hangs; }
  void setStartTakes(Duration time) { startTakes_ = time; }
  void setShotTakes(Duration time) { shotTakes_ = time; }
  /// After a start the exposure takes so long to settle.
  void setSettlesAfter(Duration time) { settlesAfter_ = time; }
  void setFrames(Frames frames) { frames_ = std::move(frames); }
  /// These frames in turn; the last one again and again.
  void setFrames(std::vector<Bytes> frames);
  /// What becomes of the coming shots; those after them are delivered.
  void plan(std::vector<Shot> shots) { plan_.assign(shots.begin(), shots.end()); }
  /// The oldest shot that hangs answers after all. False when none does.
  bool answerHung(std::optional<Bytes> bytes);

  int starts() const { return starts_; }
  int stops() const { return stops_; }
  int shots() const { return shots_; }

 private:
  using PhotoDone = std::function<void(PhotoId, std::optional<Bytes>)>;
  struct Hung {
    PhotoId id;
    PhotoDone done;
  };
  void deliver(Duration delay, Task task);
  Shot nextShot();

  Scheduler& scheduler_;
  CameraAuthorization authorization_ = CameraAuthorization::authorized;
  bool grants_ = true, present_ = true, busy_ = false, startHangs_ = false, running_ = false;
  Duration startTakes_{0}, shotTakes_{0}, settlesAfter_{0}, startedAt_{0};
  Frames frames_ = [] { return bytesOf("PICTURE 0.5 END"); };
  std::deque<Shot> plan_;
  std::deque<Hung> hung_;
  std::vector<Timer> waits_;
  PhotoId lastId_ = 0;
  int starts_ = 0, stops_ = 0, stopCalls_ = 0, shots_ = 0;
  Lifetime lifetime_;
};

}  // namespace brindle
