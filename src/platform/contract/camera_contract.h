#pragma once

#include <gtest/gtest.h>

#include "platform/camera.h"

namespace brindle {

/// What every camera backend keeps to. `Backend` offers `camera()` (one whose shots work),
/// `noCamera()` (one that finds no device) and `runUntil(condition)`, which drives the main loop
/// and gives up after some seconds.
template <class Backend>
class CameraContract : public testing::Test {
 protected:
  CameraStart started(CameraDevice& camera) {
    std::optional<CameraStart> how;
    camera.start([&](CameraStart result) { how = result; });
    EXPECT_FALSE(how) << "answered inline";
    EXPECT_TRUE(backend.runUntil([&] { return how.has_value(); }));
    return how.value_or(CameraStart::failed);
  }

  Backend backend;
};

TYPED_TEST_SUITE_P(CameraContract);

TYPED_TEST_P(CameraContract, APhotoComesWithItsOwnIdentifierAndOnlyWhileRunning) {
  CameraDevice& camera = this->backend.camera();
  EXPECT_EQ(camera.authorization(), CameraAuthorization::authorized);
  EXPECT_FALSE(camera.running());
  EXPECT_FALSE(camera.capture([](auto, auto) { ADD_FAILURE(); }));
  ASSERT_EQ(this->started(camera), CameraStart::running);
  EXPECT_EQ(this->started(camera), CameraStart::running) << "running already";

  std::vector<CameraDevice::PhotoId> asked, answered;
  for (int i = 0; i < 2; ++i) {
    const auto id = camera.capture([&](CameraDevice::PhotoId of, std::optional<Bytes> photo) {
      answered.push_back(of);
      EXPECT_TRUE(photo && !photo->empty());
    });
    ASSERT_TRUE(id);
    EXPECT_NE(*id, 0);
    asked.push_back(*id);
  }
  EXPECT_TRUE(answered.empty()) << "answered inline";
  EXPECT_TRUE(this->backend.runUntil([&] { return answered.size() == 2; }));
  EXPECT_EQ(answered, asked);
  EXPECT_NE(asked[0], asked[1]);

  camera.stop();
  EXPECT_FALSE(camera.running());
  EXPECT_FALSE(camera.capture([](auto, auto) { ADD_FAILURE(); }));
  EXPECT_EQ(this->started(camera), CameraStart::running) << "started again";
}

TYPED_TEST_P(CameraContract, AStopDuringTheStartWinsAndNoCameraIsSaid) {
  CameraDevice& camera = this->backend.camera();
  std::optional<CameraStart> how;
  camera.start([&](CameraStart result) { how = result; });
  camera.stop();
  EXPECT_TRUE(this->backend.runUntil([&] { return how.has_value(); }));
  EXPECT_NE(how, CameraStart::running);
  EXPECT_FALSE(camera.running());
  CameraDevice& none = this->backend.noCamera();
  EXPECT_EQ(this->started(none), CameraStart::noDevice);
  EXPECT_FALSE(none.running());
  EXPECT_FALSE(none.report().answered);
  EXPECT_NE(none.report().detail.find("no camera"), std::string::npos);
}

REGISTER_TYPED_TEST_SUITE_P(CameraContract, APhotoComesWithItsOwnIdentifierAndOnlyWhileRunning,
                            AStopDuringTheStartWinsAndNoCameraIsSaid);

}  // namespace brindle
