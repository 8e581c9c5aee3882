#include "platform/linux/camera_gstreamer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "platform/contract/camera_contract.h"
#include "platform/linux/exposure_watch.h"
#include "platform/linux/image_jpeg.h"
#include "platform/posix/worker_queue_thread.h"
#include "testing/linux_loop.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Place = V4l2Camera::Place;

/// Folders like those of a kernel with cameras, to be filled by the test.
class FakeKernel {
 public:
  FakeKernel() {
    fs::create_directories(root_ / "class");
    fs::create_directories(root_ / "dev");
  }
  V4l2Folders folders() const { return {root_ / "class", root_ / "dev"}; }
  std::string node(const std::string& entry) const { return root_ / "dev" / entry; }

  /// A device on USB (`removable` given) or inside the machine, with the side it looks out of.
  void add(const std::string& entry, const std::string& removable, const std::string& panel,
           const std::string& index = "0") {
    const fs::path body = root_ / "devices" / entry;
    const fs::path interface = removable.empty() ? body : body / "interface";
    write(root_ / "class" / entry / "name", "Camera " + entry);
    write(root_ / "class" / entry / "index", index);
    write(node(entry), "");
    fs::create_directories(interface);
    fs::create_symlink(interface, root_ / "class" / entry / "device");
    if (!removable.empty()) {
      write(interface / "bInterfaceNumber", "00");
      write(body / "removable", removable);
    }
    if (!panel.empty()) write(body / "physical_location" / "panel", panel);
  }
  static void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text << '\n';
  }
  void openToOthers() const {
    for (const auto& folder : {root_, root_ / "class", root_ / "class/video0", root_ / "dev"}) {
      fs::permissions(folder, fs::perms(0755));
    }
  }
  fs::path root() const { return root_; }

 private:
  TemporaryFolder folder_;
  fs::path root_ = folder_.path();
};

TEST(V4l2CamerasTest, TheBuiltInOneAtTheFrontIsChosenFirstAndOnlyCamerasAreListed) {
  FakeKernel kernel;
  EXPECT_TRUE(v4l2Cameras(kernel.folders()).empty());
  kernel.add("video0", "removable", "");
  kernel.add("video2", "", "back");
  kernel.add("video10", "fixed", "front");
  kernel.add("video11", "fixed", "front", "1");  // the metadata of video10
  kernel.add("video4", "fixed", "");
  kernel.add("v4l-subdev0", "", "");
  FakeKernel::write(kernel.root() / "class/video5/name", "loopback");
  std::vector<std::pair<std::string, Place>> found;
  for (const auto& camera : v4l2Cameras(kernel.folders())) {
    found.emplace_back(fs::path(camera.node).filename(), camera.place);
  }
  EXPECT_THAT(found, testing::ElementsAre(std::pair("video10", Place::builtInFront),
                                          std::pair("video2", Place::builtIn),
                                          std::pair("video4", Place::builtIn),
                                          std::pair("video0", Place::external),
                                          std::pair("video5", Place::virtualDevice)));
}

TEST(ExposureWatchTest, SettlesOnceFourFramesAgreeAndAreNotBlack) {
  const struct {
    const char* why;
    std::vector<double> frames;
    bool adjusting;
  } rows[] = {{"too few", {.5, .5, .5}, true},
              {"steady", {.1, .5, .5, .51, .5}, false},
              {"a slow climb", {.5, .51, .52, .53}, true},
              {"black", {0, 0, 0, 0, 0}, true}};
  for (const auto& row : rows) {
    ExposureWatch watch;
    for (const double mean : row.frames) watch.frame(mean);
    EXPECT_EQ(watch.adjusting(), row.adjusting) << row.why;
  }
}

struct GstreamerCameras {
  LinuxScheduler scheduler;
  ThreadWorkerQueue queue{scheduler, "brindle.camera"};
  FakeKernel kernel;
  GstreamerCamera works{queue, {"videotestsrc is-live=true"}};
  GstreamerCamera missing{queue, {}, kernel.folders()};
  CameraDevice& camera() { return works; }
  CameraDevice& noCamera() { return missing; }
  bool runUntil(const std::function<bool()>& done) { return brindle::runUntil(scheduler, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Gstreamer, CameraContract, GstreamerCameras);

class GstreamerCameraTest : public CameraContract<GstreamerCameras> {
 protected:
  std::unique_ptr<GstreamerCamera> cameraOf(const std::string& fragment) {
    return std::make_unique<GstreamerCamera>(loop.queue, CameraSource{fragment});
  }
  std::optional<Bytes> photo(CameraDevice& camera) {
    bool answered = false;
    std::optional<Bytes> taken;
    EXPECT_TRUE(camera.capture([&](auto, std::optional<Bytes> bytes) {
      answered = true;
      taken = std::move(bytes);
    }));
    EXPECT_TRUE(loop.runUntil([&] { return answered; }));
    return taken;
  }
  GstreamerCameras& loop = backend;
  FakeKernel& kernel = backend.kernel;
};

TEST_F(GstreamerCameraTest, PhotosAreJpegOfWhatTheCameraSeesAlsoWhenItSendsJpeg) {
  const struct {
    std::string source;
    double low, high;
  } rows[] = {{"videotestsrc is-live=true pattern=white", 0.9, 1.0},
              {"videotestsrc is-live=true pattern=black", 0.0, 0.08},
              {"multifilesrc location=" BRINDLE_SAMPLE_FRAMES
               "/day-%d.jpg loop=true caps=image/jpeg,framerate=30/1",
               0.45, 0.6}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    const auto camera = cameraOf(row.source);
    ASSERT_EQ(started(*camera), CameraStart::running);
    const auto jpeg = photo(*camera);
    ASSERT_TRUE(jpeg);
    const auto mean = JpegImageReader().meanBrightness(*jpeg);
    ASSERT_TRUE(mean);
    EXPECT_GE(*mean, row.low);
    EXPECT_LE(*mean, row.high);
    const auto adjusting = [&] { return camera->adjustingExposure(); };
    EXPECT_TRUE(loop.runUntil([&] { return adjusting() == (row.high < 0.1); }))
        << "black says nothing";
  }
}

TEST_F(GstreamerCameraTest, ACameraThatGoesAwayIsNoticedAndMayComeBack) {
  const auto camera = cameraOf("videotestsrc is-live=true num-buffers=12");
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(started(*camera), CameraStart::running);
    EXPECT_TRUE(photo(*camera));
    EXPECT_TRUE(loop.runUntil([&] { return !camera->running(); }));
    EXPECT_FALSE(camera->capture([](auto, auto) {}));
    camera->stop();
    EXPECT_THAT(camera->report().detail, testing::HasSubstr("last failure: no more frames"));
  }
}

TEST_F(GstreamerCameraTest, SourcesThatCannotWorkFailAndSayWhy) {
  FakeKernel::write(kernel.root() / "bad-0.jpg", "this is no picture, however long it may be");
  const std::pair<std::string, const char*> rows[] = {
      {"nosuchelement", "nosuchelement"},
      {"multifilesrc location=" + (kernel.root() / "bad-%d.jpg").string() +
           " caps=image/jpeg,framerate=30/1",
       "last failure: "},
      {"multifilesrc location=/nowhere/%d.jpg caps=image/jpeg,framerate=30/1", "last failure: "}};
  for (const auto& [source, why] : rows) {
    SCOPED_TRACE(source);
    const auto camera = cameraOf(source);
    EXPECT_EQ(started(*camera), CameraStart::failed);
    EXPECT_THAT(camera->report().detail, testing::HasSubstr(why));
  }
}

TEST_F(GstreamerCameraTest, OneThatGivesNoFrameIsLeftAtOnceAndNeverAnswersOnceGone) {
  auto camera = cameraOf("appsrc is-live=true caps=video/x-raw,format=I420,width=64,height=64");
  camera->start([](CameraStart) { ADD_FAILURE() << "answered from the beyond"; });
  camera.reset();
  bool workedOff = false;
  loop.queue.run([] {}, [&] { workedOff = true; });
  EXPECT_TRUE(loop.runUntil([&] { return workedOff; }));
}

TEST_F(GstreamerCameraTest, ADeviceThatMayNotBeOpenedIsDeniedAndOneThatIsNoneFails) {
  kernel.add("video0", "fixed", "front");
  GstreamerCamera camera(loop.queue, {}, kernel.folders());
  EXPECT_EQ(camera.authorization(), CameraAuthorization::authorized);
  EXPECT_EQ(started(camera), CameraStart::failed) << "an ordinary file";
  EXPECT_THAT(camera.report().detail,
              testing::StartsWith("Camera video0 (" + kernel.node("video0")));

  kernel.openToOthers();
  fs::permissions(kernel.node("video0"), fs::perms::none);
  const bool root = ::geteuid() == 0;
  ASSERT_TRUE(!root || ::seteuid(65534) == 0);
  EXPECT_EQ(camera.authorization(), CameraAuthorization::denied);
  EXPECT_FALSE(camera.report().answered);
  EXPECT_THAT(camera.report().detail, testing::HasSubstr("no permission to open"));
  std::optional<bool> granted;
  camera.requestAuthorization([&](bool yes) { granted = yes; });
  EXPECT_TRUE(loop.runUntil([&] { return granted.has_value(); }));
  EXPECT_EQ(granted, false);
  ASSERT_TRUE(!root || ::seteuid(0) == 0);
}

}  // namespace
}  // namespace brindle
