#pragma once

#include <gtest/gtest.h>

#include "platform/flash_window.h"

namespace brindle {

/// What every flash backend keeps to. `Backend` offers `window()`, `withoutScreen()` and `lit()`,
/// which looks at the screen itself.
template <class Backend>
class FlashWindowContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(FlashWindowContract);

TYPED_TEST_P(FlashWindowContract, LightsTheScreenUntilHidden) {
  FlashWindow& window = this->backend.window();
  EXPECT_TRUE(window.report().answered);
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(window.show());
    EXPECT_TRUE(window.show()) << "shown already";
    EXPECT_TRUE(this->backend.lit());
    window.hide();
    window.hide();
    EXPECT_FALSE(this->backend.lit());
  }
}

TYPED_TEST_P(FlashWindowContract, SaysWhenThereIsNoScreen) {
  FlashWindow& window = this->backend.withoutScreen();
  EXPECT_FALSE(window.show());
  EXPECT_FALSE(window.report().answered);
  window.hide();
}

REGISTER_TYPED_TEST_SUITE_P(FlashWindowContract, LightsTheScreenUntilHidden,
                            SaysWhenThereIsNoScreen);

}  // namespace brindle
