#pragma once

#include "platform/contract/contract_test.h"
#include "platform/image.h"

namespace brindle {

/// What every picture reader keeps to. `Backend` offers `reader()` and `picture(level)`, an encoded
/// picture of that mean brightness.
template <class Backend>
using ImageContract = ContractTest<Backend>;

TYPED_TEST_SUITE_P(ImageContract);

TYPED_TEST_P(ImageContract, MeasuresTheMeanOfWholePicturesOnly) {
  const ImageReader& reader = this->backend.reader();
  for (const double level : {0.0, 0.05, 0.3, 1.0}) {
    const auto measured = reader.meanBrightness(this->backend.picture(level));
    ASSERT_TRUE(measured) << level;
    EXPECT_NEAR(*measured, level, 0.005);
  }
  EXPECT_FALSE(reader.meanBrightness({}));
  EXPECT_FALSE(reader.meanBrightness(viewOf("not a picture")));

  const Bytes whole = this->backend.picture(0.3);
  for (const std::size_t part : {2u, 4u, 5u}) {  // sixths
    const ByteView cut = ByteView(whole).first(whole.size() * part / 6);
    EXPECT_FALSE(reader.meanBrightness(cut)) << part;
  }
  Bytes more = whole;
  more.insert(more.end(), {0, 1, 2, 0xff, 0xd9});
  const auto measured = reader.meanBrightness(more);
  ASSERT_TRUE(measured);
  EXPECT_NEAR(*measured, 0.3, 0.005) << "stray bytes spoil nothing";
}

REGISTER_TYPED_TEST_SUITE_P(ImageContract, MeasuresTheMeanOfWholePicturesOnly);

}  // namespace brindle
