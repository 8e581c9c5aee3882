#pragma once

#include <map>
#include <string>

#include "base/lifetime.h"
#include "core/camera_capturing.h"
#include "platform/scheduler.h"

namespace brindle {

/// Takes photo series as told: the first photo after 0.1 s, the series after 2 s. Every photo's
/// bytes are different.
class ScriptedCamera final : public CameraCapturing {
 public:
  explicit ScriptedCamera(Scheduler& scheduler) : scheduler_(scheduler) {}

  bool cameraAllowed() const override { return allowed; }
  void requestAccess(std::function<void(bool)> done) override {
    scheduler_.post([done = std::move(done), yes = allowed] { done(yes); });
  }
  void start(std::function<void()> done) override { scheduler_.post(std::move(done)); }
  [[nodiscard]] Subscription takePhoto(int wanted, FirstPhoto first, Series done) override {
    const int id = ++series_;
    wantedCounts.push_back(wanted);
    if (onAsked) onAsked();
    auto photos = std::make_shared<std::vector<CapturedPhoto>>();
    for (int i = 0; i < std::min(wanted, photosPerSeries); ++i) {
      const std::string name = "photo " + std::to_string(id) + "/" + std::to_string(i);
      photos->push_back(
          {bytesOf(covered ? "black" : name), brightness, scheduler_.wallTime(), i == 0});
    }
    if (!photos->empty()) {
      waits_[id].first =
          scheduler_.after(std::chrono::milliseconds(100), [=] { first(photos->front()); });
    }
    waits_[id].second = scheduler_.after(std::chrono::seconds(2), [this, id, photos, done] {
      const auto wait = waits_.extract(id);
      done(*photos);
    });
    return Subscription(lifetime_.guard([this, id] { waits_.erase(id); }));
  }
  std::size_t running() const { return waits_.size(); }

  bool allowed = true;
  bool covered = false;  ///< all photos are the same to the last byte
  int photosPerSeries = 9;
  std::optional<double> brightness = 0.5;
  std::function<void()> onAsked;
  std::vector<int> wantedCounts;  ///< of each series asked for

 private:
  Scheduler& scheduler_;
  int series_ = 0;
  std::map<int, std::pair<Timer, Timer>> waits_;
  Lifetime lifetime_;
};

}  // namespace brindle
