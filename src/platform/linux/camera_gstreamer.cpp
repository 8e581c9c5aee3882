#include "platform/linux/camera_gstreamer.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "platform/linux/camera_pipeline.h"
#include "platform/posix/spawn.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

// Just under what callers wait for a shot, so that the queue is free again for the next one.
constexpr Duration frameLimit = 1900ms;

/// v4l2src comes as near as it can to the first of these; a face needs no more, and the largest
/// formats of many cameras come a few times a second only.
constexpr const char* preferredFormat =
    " ! video/x-raw,width=1280,height=720,framerate=30/1;video/x-raw;image/jpeg";

const V4l2Camera* firstPermitted(const std::vector<V4l2Camera>& cameras) {
  const auto found = std::ranges::find_if(cameras, &V4l2Camera::permitted);
  return found == cameras.end() ? nullptr : &*found;
}

/// Whatever goes wrong here goes wrong again, and is said, when the camera starts.
void runToItsEnd(std::string program) {
  char* const command[] = {program.data(), nullptr};
  pid_t child = -1;
  if (spawn(child, command, true) != 0) return;
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

/// From a start to its stop. `pipeline` and `how` belong to the queue; the main thread reads `how`
/// after the queue has told it.
struct GstreamerCamera::Session {
  const std::shared_ptr<CameraFeed> feed = std::make_shared<CameraFeed>();
  std::unique_ptr<CameraPipeline> pipeline;
  CameraStart how = CameraStart::failed;
  bool opened = false;   // queue only
  bool started = false;  // main thread only

  void open(const CameraSource& source, const V4l2Folders& folders) {
    if (std::exchange(opened, true) || feed->ended()) return;
    if (source.real()) {
      openDevice(folders);
    } else {
      pipeline = CameraPipeline::start(source.developerFragment, true, feed);
    }
    if (pipeline) how = CameraStart::running;
  }
  void openDevice(const V4l2Folders& folders) {
    const auto cameras = v4l2Cameras(folders);
    const V4l2Camera* camera = firstPermitted(cameras);
    if (camera) {
      pipeline =
          CameraPipeline::start("v4l2src device=" + camera->node + preferredFormat, false, feed);
      return;
    }
    how = cameras.empty() ? CameraStart::noDevice : CameraStart::failed;
    feed->end(cameras.empty() ? "no camera found" : "no permission to open the camera");
  }
  std::optional<Bytes> photo() const {
    if (!pipeline) return std::nullopt;
    const SampleOwner sample = feed->next(frameLimit);
    return sample ? jpegOf(sample.get()) : std::nullopt;
  }
};

GstreamerCamera::GstreamerCamera(WorkerQueue& queue, CameraSource source, V4l2Folders folders)
    : queue_(queue), source_(std::move(source)), folders_(std::move(folders)) {}

GstreamerCamera::~GstreamerCamera() { stop(); }

void GstreamerCamera::prepare(const std::string& scan) {
  queue_.run([scan] { runToItsEnd(scan); }, nullptr);
}

CameraAuthorization GstreamerCamera::authorization() const {
  if (!source_.real()) return CameraAuthorization::authorized;
  const auto cameras = v4l2Cameras(folders_);
  return cameras.empty() || firstPermitted(cameras) ? CameraAuthorization::authorized
                                                    : CameraAuthorization::denied;
}

void GstreamerCamera::requestAuthorization(std::function<void(bool granted)> done) {
  queue_.run([] {}, lifetime_.guard([this, done = std::move(done)] {
    done(authorization() == CameraAuthorization::authorized);
  }));
}

void GstreamerCamera::start(std::function<void(CameraStart)> done) {
  if (session_ && session_->feed->ended()) stop();
  if (!session_) session_ = std::make_shared<Session>();
  queue_.run([session = session_, source = source_,
              folders = folders_] { session->open(source, folders); },
             lifetime_.guard([this, session = session_, done = std::move(done)] {
               session->started = session->how == CameraStart::running;
               lastFailure_ = session->started ? "" : session->feed->whyEnded();
               if (session == session_) return done(session->how);
               done(CameraStart::failed);  // stopped meanwhile
             }));
}

void GstreamerCamera::stop() {
  if (!session_) return;
  // One that went away by itself, while it was used.
  if (session_->started && session_->feed->ended()) lastFailure_ = session_->feed->whyEnded();
  session_->feed->end("stopped");  // whatever the queue waits for
  queue_.run([session = std::move(session_)] { session->pipeline.reset(); }, nullptr);
  session_ = nullptr;
}

bool GstreamerCamera::running() const {
  return session_ && session_->started && !session_->feed->ended();
}

bool GstreamerCamera::adjustingExposure() const {
  return running() && session_->feed->adjustingExposure();
}

std::optional<CameraDevice::PhotoId> GstreamerCamera::capture(
    std::function<void(PhotoId, std::optional<Bytes>)> done) {
  if (!running()) return std::nullopt;
  const PhotoId id = ++lastId_;
  auto photo = std::make_shared<std::optional<Bytes>>();
  queue_.run([session = session_, photo] { *photo = session->photo(); },
             lifetime_.guard([id, photo, done = std::move(done)] { done(id, std::move(*photo)); }));
  return id;
}

ServiceReport GstreamerCamera::report() {
  ServiceReport report = found();
  if (!lastFailure_.empty()) report.detail += "; last failure: " + lastFailure_;
  return report;
}

ServiceReport GstreamerCamera::found() const {
  const char* const name = "camera";
  const char* const backend = "GStreamer";
  if (!source_.real()) {
    return {name, backend, true, "developer source: " + source_.developerFragment};
  }
  const auto cameras = v4l2Cameras(folders_);
  if (cameras.empty()) return {name, backend, false, "no camera found"};
  if (const V4l2Camera* camera = firstPermitted(cameras)) {
    return {name, backend, true, camera->name + " (" + camera->node + ")"};
  }
  return {name, backend, false,
          "no permission to open " + cameras.front().node +
              "; on many systems the group \"video\" has it"};
}

}  // namespace brindle
