#include "platform/contract/camera_contract.h"

#include "platform/contract/flash_window_contract.h"
#include "platform/contract/image_contract.h"
#include "platform/memory/camera_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/image_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

class MemoryCameras {
 public:
  MemoryCameras() { missing_.setPresent(false); }
  CameraDevice& camera() { return camera_; }
  CameraDevice& noCamera() { return missing_; }
  template <class Condition>
  bool runUntil(Condition condition) {
    clock_.run();
    return condition();
  }

 private:
  VirtualScheduler clock_;
  MemoryCamera camera_{clock_};
  MemoryCamera missing_{clock_};
};

struct MemoryImages {
  MemoryImageReader images;
  ImageReader& reader() { return images; }
  Bytes picture(double level) { return MemoryImageReader::picture(level); }
};

class MemoryFlashes {
 public:
  MemoryFlashes() { blind_.setHasScreen(false); }
  FlashWindow& window() { return window_; }
  FlashWindow& withoutScreen() { return blind_; }
  bool lit() const { return window_.shown(); }

 private:
  MemoryFlashWindow window_, blind_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, CameraContract, MemoryCameras);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ImageContract, MemoryImages);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, FlashWindowContract, MemoryFlashes);

}  // namespace
}  // namespace brindle
