#pragma once

#include "platform/contract/contract_test.h"
#include "platform/flash_window.h"

namespace brindle {

/// What every flash backend keeps to. `Backend` offers `window()`, `withoutScreen()` and `lit()`,
/// which looks at the screen itself.
template <class Backend>
using FlashWindowContract = ContractTest<Backend>;

TYPED_TEST_SUITE_P(FlashWindowContract);

TYPED_TEST_P(FlashWindowContract, LightsTheScreenUntilHiddenAndSaysWhenThereIsNone) {
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
  FlashWindow& nowhere = this->backend.withoutScreen();
  EXPECT_FALSE(nowhere.show());
  EXPECT_FALSE(nowhere.report().answered);
  nowhere.hide();
}

REGISTER_TYPED_TEST_SUITE_P(FlashWindowContract, LightsTheScreenUntilHiddenAndSaysWhenThereIsNone);

}  // namespace brindle
