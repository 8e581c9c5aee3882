#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>

#include "base/lifetime.h"
#include "core/camera_capturing.h"
#include "core/event_files.h"
#include "core/event_history.h"
#include "platform/boot_clock.h"
#include "platform/random.h"

namespace brindle {

/// What a photo series is for.
enum class PhotoUse { occurrence, opening, wrongPIN, wrongAnswer };

/// Takes photo series for events and files each photo: first on disk, then in its event. The first
/// one is filed at once, the others when the series is over. Main thread only.
class EventPhotos {
 public:
  static constexpr int wantedOfOccurrence = 4;
  static constexpr int wantedOfOthers = 2;

  struct Parts {
    CameraCapturing& camera;
    EventFiles& files;
    EventHistory& history;
    BootClock& clock;
    Random& random;
    Log log;
  };
  explicit EventPhotos(const Parts& parts) : parts_(parts) {}

  /// The first photo of an occurrence or a try is on disk and in its event.
  std::function<void(const Uuid& event, const FileName& name)> onFirstPhoto;
  /// Any photo is.
  std::function<void(const Uuid& event)> onPhoto;

  void take(const Uuid& event, PhotoUse use);
  /// Call before an event loses photos: their files go once that is recorded, and a new photo of
  /// the same name would go with them.
  void keepNames(const UnlockEvent& event);
  /// No more photos of the event but those of wrong tries, whose record stays.
  void endAllButTries(const Uuid& event);
  /// The event is gone.
  void end(const Uuid& event);
  /// Before the end: no more shots; what is being written is still filed.
  void stopTaking();

  bool underWay() const { return !captureTask_.empty(); }
  bool underWay(const Uuid& event) const;

 private:
  using RunId = std::uint64_t;
  struct Run {
    Uuid event;
    PhotoUse use = PhotoUse::occurrence;
    Duration startedAt{};
    Subscription series;
    std::vector<CapturedPhoto> result;  ///< without their bytes, for judging the series
    std::size_t writing = 0;
    std::size_t saved = 0;
    bool firstFiled = false;  ///< the first photo is filed, or being filed
    bool over = false;        ///< no more photos will come
  };

  void start(RunId id);
  void firstCame(RunId id, CapturedPhoto photo);
  void seriesEnded(RunId id, std::vector<CapturedPhoto> photos);
  void file(RunId id, Bytes jpeg, WallTime takenAt);
  void filed(RunId id, const FileName& name, WallTime takenAt, bool written);
  void addToEvent(Run& run, const FileName& name, WallTime takenAt);
  void finishIfOver(RunId id);
  void finish(const Run& run);
  std::optional<PhotoProblem> problemOf(const Run& run) const;
  FileName nextName(const Uuid& event);
  long millisecondsSince(Duration start) const;
  void drop(const std::function<bool(const Run&)>& which);

  Parts parts_;
  std::map<RunId, Run> captureTask_;
  RunId lastRun_ = 0;
  /// Names of this run, or of photos lost in it, are not given out again.
  std::unordered_map<Uuid, std::size_t> nextIndex_;
  Lifetime lifetime_;
};

}  // namespace brindle
