#pragma once

#include <memory>

#include "platform/contract/contract_test.h"
#include "platform/sound_player.h"

namespace brindle {

/// A backend offers: `player()`; `sound()`, one that loops; `spoilt()`, one that cannot be read;
/// `heard()`, whether it sounds at this moment; and `until(condition)`, which runs the main loop.
template <class Backend>
using SoundPlayerContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(SoundPlayerContract);

TYPED_TEST_P(SoundPlayerContract, ASoundIsHeardUntilItsObjectGoes) {
  auto& test = *this;
  int failures = 0;
  auto playing = test.backend.player().play(test.backend.sound(), [&](const auto&) { ++failures; });
  EXPECT_TRUE(playing->running());
  ASSERT_TRUE(test.backend.until([&] { return test.backend.heard(); }));
  EXPECT_TRUE(playing->running());
  EXPECT_TRUE(test.backend.player().report().answered) << test.backend.player().report().detail;
  playing.reset();
  ASSERT_TRUE(test.backend.until([&] { return !test.backend.heard(); }));
  EXPECT_EQ(failures, 0);
}

TYPED_TEST_P(SoundPlayerContract, AFailureIsToldOnceFromTheLoopAndToNobodyWhoLeft) {
  auto& test = *this;
  int failures = 0;
  std::unique_ptr<SoundPlayer::Playing> playing;
  const auto play = [&] {
    const auto told = [&, one = std::make_shared<int>(1)](const SoundFailure& failure) {
      EXPECT_EQ(failure.kind, SoundFailure::Kind::unreadable);
      EXPECT_FALSE(playing->running());
      playing.reset();
      failures += *one;  // whoever is told stays until the end of it
    };
    playing = test.backend.player().play(test.backend.spoilt(), told);
  };
  play();
  play();  // the one before has gone
  EXPECT_EQ(failures, 0) << "told inline";
  ASSERT_TRUE(test.backend.until([&] { return !playing; }));
  play();
  ASSERT_TRUE(test.backend.until([&] { return !playing; }));
  EXPECT_EQ(failures, 2);
}

REGISTER_TYPED_TEST_SUITE_P(SoundPlayerContract, ASoundIsHeardUntilItsObjectGoes,
                            AFailureIsToldOnceFromTheLoopAndToNobodyWhoLeft);

}  // namespace brindle
