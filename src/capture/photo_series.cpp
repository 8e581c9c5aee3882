#include "capture/photo_series.h"

#include <chrono>
#include <memory>

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr Duration exposureLook = 50ms;
constexpr Duration exposureLimit = 2s;
constexpr Duration seriesLimit = 8s;
constexpr int attemptLimit = 10;
// Irregular on purpose: somebody who turns away between two shots cannot tell when the next comes.
constexpr double shortestGap = 0.35;
constexpr double longestGap = 1.6;

Duration fromSeconds(double seconds) {
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

PhotoSeries::PhotoSeries(CaptureServices services, Take take, Order order)
    : services_(services),
      take_(std::move(take)),
      order_(std::move(order)),
      flash_(services.flash) {}

void PhotoSeries::begin() {
  startedAt_ = services_.scheduler.awakeTime();
  step();
}

void PhotoSeries::step() {
  switch (state_) {
    case State::warmUp:
      if (!exposureSettled()) return wait(exposureLook);
      deadline_ = services_.scheduler.awakeTime() + seriesLimit;
      return shoot();
    case State::pausing:
      return shoot();
    case State::shooting:
    case State::measuring:
    case State::over:
      return;  // the camera or the worker has the word, or nobody
  }
}

bool PhotoSeries::exposureSettled() const {
  return !services_.device.adjustingExposure() ||
         services_.scheduler.awakeTime() - startedAt_ >= exposureLimit;
}

void PhotoSeries::shoot() {
  state_ = State::shooting;
  take_(lifetime_.guard([this](std::optional<Bytes> jpeg) {
    if (!jpeg) return goOnOrFinish();
    keep(std::move(*jpeg));
  }));
}

void PhotoSeries::keep(Bytes jpeg) {
  const bool isFirst = list_.shots.empty();
  list_.shots.push_back({jpeg, std::nullopt, services_.scheduler.wallTime(), isFirst});
  measure(std::move(jpeg));
  if (!isFirst) return;
  // Last, from copies: whoever gets the photo may end the series.
  const auto first = order_.first;
  if (first) first(CapturedPhoto(list_.shots.front()));
}

void PhotoSeries::measure(Bytes jpeg) {
  state_ = State::measuring;
  auto brightness = std::make_shared<std::optional<double>>();
  services_.worker.run([&images = services_.images, jpeg = std::move(jpeg),
                        brightness] { *brightness = images.meanBrightness(jpeg); },
                       lifetime_.guard([this, brightness] { judge(*brightness); }));
}

void PhotoSeries::judge(std::optional<double> brightness) {
  list_.shots.back().brightness = brightness;
  lightIfDark();
  goOnOrFinish();
}

void PhotoSeries::lightIfDark() {
  // The first shot is taken before anybody can look away from a light.
  const bool isFirst = list_.shots.size() == 1;
  if (isFirst || !callsForFlash(list_.shots.back())) return;
  if (flash_.light()) list_.flashMark = list_.shots.size();
}

void PhotoSeries::goOnOrFinish() {
  if (limitReached()) return finish();
  ++attempts_;
  state_ = State::pausing;
  wait(fromSeconds(services_.random.uniform(shortestGap, longestGap)));
}

bool PhotoSeries::limitReached() const {
  return list_.usable() >= order_.wanted || !services_.device.running() ||
         attempts_ > attemptLimit || services_.scheduler.awakeTime() >= deadline_;
}

void PhotoSeries::wait(Duration time) {
  timer_ = services_.scheduler.after(time, [this] { step(); });
}

void PhotoSeries::finish() {
  state_ = State::over;
  // Whoever gets the photos ends the series, and with it these members.
  const auto done = std::move(order_.done);
  done(std::move(list_).chosen(order_.wanted));
}

}  // namespace brindle
