#include "platform/linux/image_jpeg.h"

#include <algorithm>
#include <iterator>
#include <random>

#include "platform/contract/image_contract.h"
#include "tools/jpeg_writing.h"

namespace brindle {
namespace {

/// A gray picture with a sensor's noise, so that most of its bytes are picture data.
Bytes encoded(double level, unsigned width = 320, unsigned height = 240, bool progressive = false) {
  Bytes pixels(std::size_t{width} * height);
  std::minstd_rand random(1);
  for (auto& sample : pixels) {
    const double noise = static_cast<double>(random() % 5) - 2;
    sample = static_cast<std::uint8_t>(std::clamp(level * 255 + noise, 0.0, 255.0));
  }
  return jpegOf(std::move(pixels), width, 1, 95, progressive);
}

struct JpegImages {
  JpegImageReader images;
  ImageReader& reader() { return images; }
  Bytes picture(double level) { return encoded(level); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Jpeg, ImageContract, JpegImages);

std::size_t find(const Bytes& bytes, std::uint8_t marker) {
  const std::uint8_t sought[] = {0xff, marker};
  const auto at = std::search(bytes.begin(), bytes.end(), std::begin(sought), std::end(sought));
  return static_cast<std::size_t>(at - bytes.begin());
}

TEST(JpegImageReaderTest, DamageIsToldFromStrayBytes) {
  const JpegImageReader reader;
  constexpr std::uint8_t startOfScan = 0xda, startOfFrame = 0xc0;
  Bytes stray = encoded(0.3);
  const auto scan = static_cast<std::ptrdiff_t>(find(stray, startOfScan));
  stray.insert(stray.begin() + scan, {0x12, 0x34});
  EXPECT_TRUE(reader.meanBrightness(stray)) << "between two segments";

  for (const bool progressive : {false, true}) {
    Bytes cut = encoded(0.02, 320, 240, progressive);
    cut.resize(cut.size() / 2);
    cut.insert(cut.end(), {0xff, 0xd9});  // looks finished
    EXPECT_FALSE(reader.meanBrightness(cut)) << "the gap is filled with gray";
  }

  Bytes huge = encoded(0.3);
  const std::size_t frame = find(huge, startOfFrame);
  std::fill_n(huge.begin() + static_cast<std::ptrdiff_t>(frame) + 5, 4, 0xfe);
  EXPECT_FALSE(reader.meanBrightness(huge)) << "claims 65278 by 65278";
}

}  // namespace
}  // namespace brindle
