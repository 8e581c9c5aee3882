#include "capture/camera_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/memory/camera_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/image_memory.h"
#include "platform/memory/random_memory.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Shot = MemoryCamera::Shot;

class MacCameraCaptureTest : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_FALSE(flash.shown());
    EXPECT_EQ(clock.pending(), 0u);
  }

  void frames(std::initializer_list<double> levels) {
    std::vector<Bytes> all;
    for (const double level : levels) all.push_back(MemoryImageReader::picture(level));
    camera.setFrames(std::move(all));
  }
  void ask(int wanted) {
    series = capture.takePhoto(
        wanted,
        [this](CapturedPhoto photo) {
          ++firsts;
          firstAt = clock.awakeTime();
          first = textOf(photo.jpeg);
        },
        [this](std::vector<CapturedPhoto> chosen) {
          ++dones;
          doneAt = clock.awakeTime();
          photos = std::move(chosen);
        });
  }
  void take(int wanted) {
    ask(wanted);
    clock.advance(1min);
    EXPECT_EQ(std::exchange(dones, 0), 1);
    EXPECT_FALSE(camera.running()) << "the camera stays on for nobody";
  }
  std::vector<double> levels() const {
    std::vector<double> all;
    for (const auto& photo : photos) all.push_back(photo.brightness.value_or(-1));
    return all;
  }

  VirtualScheduler clock;
  MemoryCamera camera{clock};
  MemoryImageReader images;
  MemoryFlashWindow flash;
  VirtualWorkerQueue worker{clock};
  MemoryRandom random{7};
  MacCameraCapture capture{{clock, camera, images, flash, worker, random}};

  Subscription series;
  int firsts = 0, dones = 0;
  Duration firstAt{0}, doneAt{0};
  std::string first;
  std::vector<CapturedPhoto> photos;
};

TEST_F(MacCameraCaptureTest, TheFirstShotIsHandedOverAtOnceAndTheOthersAreSpread) {
  frames({0.5});
  worker.hold();
  ask(4);
  clock.run();
  EXPECT_EQ(firsts, 1) << "waits for the measuring";
  EXPECT_EQ(firstAt, 0ns);
  worker.release();
  clock.advance(1min);
  EXPECT_EQ(firsts, 1);
  EXPECT_THAT(levels(), ElementsAre(0.5, 0.5, 0.5, 0.5));
  EXPECT_GE(doneAt, 3 * 350ms);
  EXPECT_LE(doneAt, 3 * 1600ms);
}

TEST_F(MacCameraCaptureTest, ExposureIsWaitedForButNotLongerThanTwoSeconds) {
  const struct { Duration settles, firstAt; } rows[] = {{0ms, 0ms}, {120ms, 150ms}, {1min, 2s}};
  for (const auto& row : rows) {
    camera.setSettlesAfter(row.settles);
    const Duration asked = clock.awakeTime();
    take(1);
    EXPECT_EQ(firstAt - asked, row.firstAt);
  }
}

TEST_F(MacCameraCaptureTest, TheFlashIsLitOncePerSeriesByALaterShotBelowItsThreshold) {
  const struct {
    const char* why;
    std::initializer_list<double> frames;
    int wanted, lit;
    std::vector<double> chosen;
  } rows[] = {
      {"exactly 0.3 does not", {.3}, 2, 0, {.3, .3}},
      {"0.29 does, and the shots under it are the ones", {.5, .29, .6}, 2, 1, {.6, .6}},
      {"the very first shot does not", {.05, .6}, 2, 0, {.6, .6}},
      {"once, even when it does not help much", {.05, .05, .2}, 2, 1, {.2, .2}},
      {"the flash did not help", {.5, .2, .01}, 2, 1, {.5, .2}},
      {"0.12 counts", {.12, .5}, 2, 0, {.12, .5}},
      {"0.11 does not", {.11, .5}, 2, 0, {.5, .5}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    frames(row.frames);
    const int before = flash.shows();
    take(row.wanted);
    EXPECT_EQ(flash.shows() - before, row.lit);
    EXPECT_EQ(levels(), row.chosen);
  }
  flash.setHasScreen(false);
  frames({0.5, 0.2});
  take(2);
  EXPECT_THAT(levels(), ElementsAre(0.5, 0.2)) << "without a screen what was taken still counts";
}

TEST_F(MacCameraCaptureTest, ADarkRoomEndsAtALimitAndIsCalledDarkAndNoPictureIsNeverDark) {
  frames({0.05});
  take(4);
  EXPECT_LE(camera.shots(), 12);
  EXPECT_THAT(levels(), ElementsAre(0.05, 0.05, 0.05, 0.05));
  EXPECT_EQ(photoProblemOf(true, photos, true), PhotoProblem::dark);
  EXPECT_LE(doneAt, 8s + 1600ms);

  // A quick generator: the number of attempts ends it before the deadline does.
  random.setFailing(true);  // every gap is the shortest one
  const int before = camera.shots();
  take(4);
  EXPECT_EQ(camera.shots() - before, 12);

  const int lit = flash.shows();
  camera.setFrames({bytesOf("not a picture")});
  take(2);
  EXPECT_THAT(levels(), ElementsAre(-1, -1));
  EXPECT_EQ(photoProblemOf(true, photos, true), std::nullopt);
  EXPECT_EQ(first, "not a picture");
  EXPECT_EQ(flash.shows(), lit);
}

TEST_F(MacCameraCaptureTest, ShotsThatFailHangOrComeEmptyAreGoneWithoutEndingTheSeries) {
  camera.plan({Shot::fail, Shot::hang});
  camera.setFrames({{}, MemoryImageReader::picture(0.4)});
  take(1);
  EXPECT_EQ(camera.shots(), 4);
  EXPECT_GE(firstAt, 2s + 3 * 350ms) << "the shot that hangs takes its time-out";
  EXPECT_THAT(levels(), ElementsAre(0.4));
}

TEST_F(MacCameraCaptureTest, AShotIsCompletedOnceByItsOwnAnswerOrItsTimeOut) {
  camera.plan({Shot::hang, Shot::hang, Shot::hang});
  ask(1);
  const auto lateAnswer = [this] {
    ASSERT_TRUE(camera.answerHung(MemoryImageReader::picture(0.9)));
    clock.run();
    EXPECT_EQ(firsts, 0);
  };
  clock.advance(2s);
  lateAnswer();  // right behind the time-out
  clock.advance(2 * 1600ms + 2s);
  ASSERT_EQ(camera.shots(), 3);
  lateAnswer();  // the second shot's, while the third is outstanding
  ASSERT_TRUE(camera.answerHung(MemoryImageReader::picture(0.6)));
  clock.advance(1min);
  EXPECT_EQ(dones, 1);
  EXPECT_THAT(levels(), ElementsAre(0.6));
}

TEST_F(MacCameraCaptureTest, EveryWayOfHavingNoCameraGivesAnEmptySeries) {
  const auto tryWith = [this](auto prepare, PhotoProblem problem) {
    prepare();
    take(4);
    EXPECT_THAT(photos, IsEmpty());
    EXPECT_EQ(photoProblemOf(capture.cameraAllowed(), photos, false), problem);
    EXPECT_EQ(firsts, 0);
  };
  tryWith([this] { camera.setPresent(false); }, PhotoProblem::cameraFailed);
  tryWith(
      [this] {
        camera.setPresent(true);
        camera.setBusy(true);
      },
      PhotoProblem::cameraFailed);
  tryWith([this] { camera.setStartHangs(true); }, PhotoProblem::cameraFailed);
  const int starts = camera.starts();
  for (const auto answer : {CameraAuthorization::notDetermined, CameraAuthorization::restricted,
                            CameraAuthorization::denied}) {
    tryWith([&] { camera.setAuthorization(answer); }, PhotoProblem::cameraDenied);
  }
  EXPECT_EQ(camera.starts(), starts) << "not allowed, yet tried";
  bool told = true;
  camera.setAuthorization(CameraAuthorization::notDetermined);
  camera.setGrants(false);
  capture.requestAccess([&](bool yes) { told = yes; });
  clock.run();
  EXPECT_FALSE(told || capture.cameraAllowed()) << "only the system's yes counts";
}

TEST_F(MacCameraCaptureTest, UnpluggedMidSeriesTheShotsTakenAreKeptAndTheFlashGoes) {
  frames({0.5, 0.2});
  ask(4);
  while (!flash.shown()) clock.advance(50ms);
  camera.setPresent(false);
  clock.advance(1min);
  EXPECT_EQ(dones, 1);
  EXPECT_THAT(levels(), ElementsAre(0.5, 0.2));
}

TEST_F(MacCameraCaptureTest, ACancelledSeriesSaysNothingAndGivesItsTurnOn) {
  frames({0.5, 0.2, 0.5});
  ask(4);
  int others = 0;
  auto other = capture.takePhoto(1, nullptr, [&](auto chosen) { others += chosen.size() == 1; });
  while (!flash.shown()) clock.advance(50ms);
  EXPECT_EQ(others, 0) << "two at the camera at once";
  const int starts = camera.starts(), stops = camera.stops();
  camera.plan({Shot::hang});
  clock.advance(1600ms);
  series.end();
  EXPECT_FALSE(flash.shown());
  clock.run();
  EXPECT_EQ(others, 1) << "waits for the cancelled shot";
  camera.answerHung(MemoryImageReader::picture(0.5));
  clock.advance(1min);
  EXPECT_EQ(dones, 0);
  EXPECT_EQ(camera.starts(), starts + 1);
  EXPECT_EQ(camera.stops(), stops + 1) << "stopped between two series";
}

TEST_F(MacCameraCaptureTest, SeriesThatEndInLineOrFromTheirOwnAnswersHurtNobody) {
  const auto unwanted = [](auto) { ADD_FAILURE(); };
  auto one = capture.takePhoto(1, nullptr, unwanted);
  auto inLine = capture.takePhoto(1, nullptr, unwanted);
  auto last = capture.takePhoto(1, nullptr, unwanted);
  inLine.end();
  one.end();
  last.end();  // its turn has come, and it does not know yet
  clock.advance(1min);
  EXPECT_EQ(camera.starts(), 0);

  Subscription ended;
  ended = capture.takePhoto(
      2, [&](CapturedPhoto) { ended.end(); }, [&](auto) { ++dones; });
  clock.advance(1min);
  EXPECT_EQ(dones, 0);
}

TEST_F(MacCameraCaptureTest, AStartNobodyUsesStopsAfterTenSecondsAndLateStartsAreStopped) {
  int told = 0;
  camera.setStartTakes(300ms);
  capture.start([&] { ++told; });
  clock.advance(299ms);
  EXPECT_EQ(told, 0);
  clock.advance(10s);
  EXPECT_TRUE(camera.running());
  clock.advance(1ms);
  EXPECT_FALSE(camera.running());

  ask(1);
  clock.advance(100ms);
  series.end();  // while the camera still starts
  clock.advance(1s);
  EXPECT_FALSE(camera.running());
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace brindle
