#include "capture/camera_capture.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr Duration shotTimeOut = 2s;
// A driver that never answers must not keep the turn for ever: the event would stay without its "no
// photo".
constexpr Duration startTimeOut = 10s;
constexpr Duration unusedStop = 10s;

}  // namespace

bool MacCameraCapture::cameraAllowed() const {
  return services_.device.authorization() == CameraAuthorization::authorized;
}

void MacCameraCapture::requestAccess(std::function<void(bool)> done) {
  services_.device.requestAuthorization(lifetime_.guard(std::move(done)));
}

void MacCameraCapture::start(std::function<void()> done) {
  if (!cameraAllowed()) return services_.scheduler.post(lifetime_.guard(std::move(done)));
  startCamera([this, done = std::move(done)](bool running) {
    if (running && orders_.empty()) {
      idleStop_ = services_.scheduler.after(unusedStop, [this] { stopIfUnused(); });
    }
    done();
  });
}

Subscription MacCameraCapture::takePhoto(int wanted, FirstPhoto first, Series done) {
  idleStop_.cancel();
  const OrderId id = ++lastOrder_;
  Order& order = orders_[id];
  order.what = {static_cast<std::size_t>(std::max(wanted, 1)), std::move(first), std::move(done)};
  order.turn = turns_.take([this, id] { begin(id); });
  return Subscription(lifetime_.guard([this, id] { drop(id); }));
}

void MacCameraCapture::begin(OrderId id) {
  if (!cameraAllowed()) return finish(id, {});
  startCamera([this, id](bool running) {
    if (!orders_.contains(id)) return stopIfUnused();
    if (!running) return finish(id, {});
    runSeries(id);
  });
}

void MacCameraCapture::runSeries(OrderId id) {
  Order& order = orders_.at(id);
  auto what = std::move(order.what);
  order.what.done = what.done;
  what.done = [this, id](std::vector<CapturedPhoto> photos) { finish(id, std::move(photos)); };
  order.series = std::make_unique<PhotoSeries>(
      services_, [this](PhotoSeries::ShotDone done) { take(std::move(done)); }, std::move(what));
  order.series->begin();
}

void MacCameraCapture::finish(OrderId id, std::vector<CapturedPhoto> photos) {
  const Series done = std::move(orders_.at(id).what.done);
  drop(id);
  done(std::move(photos));
}

/// Takes the flash down with the series, gives the turn on.
void MacCameraCapture::drop(OrderId id) {
  const auto found = orders_.find(id);
  if (found == orders_.end()) return;
  const Order order = std::move(found->second);
  orders_.erase(found);
  if (order.series) forgetPending();
  stopIfUnused();
}

void MacCameraCapture::stopIfUnused() {
  if (!orders_.empty() || !startWaiters_.empty() || idleStop_.armed()) return;
  services_.device.stop();
}

void MacCameraCapture::startCamera(Started done) {
  startWaiters_.push_back(std::move(done));
  if (startWaiters_.size() > 1) return;
  startLifetime_.renew();
  startLimit_ = services_.scheduler.after(startTimeOut, [this] {
    startLifetime_.renew();
    services_.device.stop();
    started(false);
  });
  services_.device.start(
      startLifetime_.guard([this](CameraStart how) { started(how == CameraStart::running); }));
}

void MacCameraCapture::started(bool running) {
  startLimit_.cancel();
  const auto waiters = std::exchange(startWaiters_, {});
  for (const Started& waiter : waiters) waiter(running);
}

void MacCameraCapture::take(PhotoSeries::ShotDone done) {
  const auto id = services_.device.capture(
      lifetime_.guard([this](CameraDevice::PhotoId answered, std::optional<Bytes> bytes) {
        complete(answered, std::move(bytes));
      }));
  if (!id) return done(std::nullopt);
  pendingPhoto_ = *id;
  pending_ = std::move(done);
  shotLimit_ =
      services_.scheduler.after(shotTimeOut, [this, id = *id] { complete(id, std::nullopt); });
}

/// Comes from the camera and from the time-out; whichever is second finds nothing to complete.
void MacCameraCapture::complete(CameraDevice::PhotoId id, std::optional<Bytes> bytes) {
  if (id != pendingPhoto_ || !pending_) return;
  const auto done = std::move(pending_);
  forgetPending();
  if (bytes && bytes->empty()) bytes.reset();
  done(std::move(bytes));
}

void MacCameraCapture::forgetPending() {
  pending_ = nullptr;
  pendingPhoto_ = 0;
  shotLimit_.cancel();
}

}  // namespace brindle
