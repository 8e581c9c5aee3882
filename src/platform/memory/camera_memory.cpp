#include "platform/memory/camera_memory.h"

namespace brindle {

void MemoryCamera::requestAuthorization(std::function<void(bool granted)> done) {
  if (authorization_ == CameraAuthorization::notDetermined) {
    authorization_ = grants_ ? CameraAuthorization::authorized : CameraAuthorization::denied;
  }
  const bool granted = authorization_ == CameraAuthorization::authorized;
  deliver(Duration::zero(), [done = std::move(done), granted] { done(granted); });
}

void MemoryCamera::start(std::function<void(CameraStart)> done) {
  ++starts_;
  if (startHangs_) return;
  deliver(startTakes_, [this, stop = stopCalls_, done = std::move(done)] {
    const bool wasRunning = running_;
    running_ = present_ && !busy_ && stop == stopCalls_;
    if (running_ && !wasRunning) startedAt_ = scheduler_.awakeTime();
    done(running_ ? CameraStart::running : present_ ? CameraStart::failed : CameraStart::noDevice);
  });
}

void MemoryCamera::stop() {
  ++stopCalls_;
  if (running_) ++stops_;
  running_ = false;
}

bool MemoryCamera::adjustingExposure() const {
  return running() && scheduler_.awakeTime() - startedAt_ < settlesAfter_;
}

std::optional<CameraDevice::PhotoId> MemoryCamera::capture(PhotoDone done) {
  if (!running()) return std::nullopt;
  ++shots_;
  const PhotoId id = ++lastId_;
  const Shot shot = nextShot();
  if (shot == Shot::hang) {
    hung_.push_back({id, std::move(done)});
    return id;
  }
  deliver(shotTakes_, [this, shot, id, done = std::move(done)] {
    done(id, shot == Shot::deliver && running() ? std::optional(frames_()) : std::nullopt);
  });
  return id;
}

void MemoryCamera::setFrames(std::vector<Bytes> frames) {
  frames_ = [all = std::deque<Bytes>(frames.begin(), frames.end())]() mutable {
    Bytes next = all.empty() ? Bytes{} : all.front();
    if (all.size() > 1) all.pop_front();
    return next;
  };
}

bool MemoryCamera::answerHung(std::optional<Bytes> bytes) {
  if (hung_.empty()) return false;
  Hung late = std::move(hung_.front());
  hung_.pop_front();
  deliver(Duration::zero(),
          [late = std::move(late), bytes = std::move(bytes)] { late.done(late.id, bytes); });
  return true;
}

ServiceReport MemoryCamera::report() {
  return {"camera", "memory", present_, present_ ? "frames from memory" : "no camera"};
}

MemoryCamera::Shot MemoryCamera::nextShot() {
  if (plan_.empty()) return Shot::deliver;
  const Shot next = plan_.front();
  plan_.pop_front();
  return next;
}

void MemoryCamera::deliver(Duration delay, Task task) {
  std::erase_if(waits_, [](const Timer& wait) { return !wait.armed(); });
  if (delay == Duration::zero()) {
    scheduler_.post(lifetime_.guard(std::move(task)));
  } else {
    waits_.push_back(scheduler_.after(delay, std::move(task)));
  }
}

}  // namespace brindle
