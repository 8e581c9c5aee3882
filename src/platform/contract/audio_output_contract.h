#pragma once

#include <optional>
#include <string>

#include "platform/audio_output.h"
#include "platform/contract/contract_test.h"

namespace brindle {

/// A backend offers: `outputs()`; `plug(name)`, which adds a built-in output with two channels and
/// makes it the default one; `unplug(name)`; and `until(condition)`, which runs the main loop.
template <class Backend>
struct AudioOutputContract : ContractTest<Backend> {
  bool until(const std::function<bool()>& done) { return this->backend.until(done); }
  std::optional<AudioOutputs::State> read() {
    std::optional<std::optional<AudioOutputs::State>> answer;
    this->backend.outputs().readDefault([&](auto state) { answer = state; });
    EXPECT_FALSE(answer) << "answered inline";
    EXPECT_TRUE(until([&] { return answer.has_value(); }));
    return answer.value_or(std::nullopt);
  }
  std::optional<AudioOutputs::Written> write(const SavedVolume& volume) {
    std::optional<AudioOutputs::Written> answer;
    this->backend.outputs().write(volume, [&](AudioOutputs::Written written) { answer = written; });
    EXPECT_FALSE(answer) << "answered inline";
    EXPECT_TRUE(until([&] { return answer.has_value(); }));
    return answer;
  }
};
TYPED_TEST_SUITE_P(AudioOutputContract);

TYPED_TEST_P(AudioOutputContract, AVolumeIsForcedAndGivenBackExactly) {
  using Written = AudioOutputs::Written;
  EXPECT_FALSE(this->read());
  this->backend.plug("low");
  // Raw numbers that no percentage and no float would keep.
  const SavedVolume owners{"low", {{0, 19661 / 65536.0}, {1, 32767 / 65536.0}}, true};
  const SavedVolume full{"low", {{0, 1.0}, {1, 1.0}}, false};
  EXPECT_EQ(this->write(owners), Written::done);
  const auto before = this->read();
  ASSERT_TRUE(before);
  EXPECT_EQ(before->volume, owners);
  EXPECT_EQ(before->output, (AudioOutput{"low", "low", true, true}));
  SavedVolume more = full;
  more.levels[7] = 0.5;
  EXPECT_EQ(this->write(more), Written::done);
  EXPECT_EQ(this->read().value_or(AudioOutputs::State()).volume, full);
  EXPECT_EQ(this->write({"low", {}, true}), Written::done);
  EXPECT_EQ(this->write(before->volume), Written::done);
  EXPECT_EQ(this->read().value_or(AudioOutputs::State()).volume, owners);
  EXPECT_EQ(this->write({"nowhere", {{0, 1.0}}, false}), Written::gone);

  // Overtaken by nothing: the last one asked for holds.
  std::optional<Written> last;
  this->backend.outputs().write(full, [](Written) {});
  this->backend.outputs().write(owners, [&](Written written) { last = written; });
  ASSERT_TRUE(this->until([&] { return last.has_value(); }));
  EXPECT_EQ(this->read().value_or(AudioOutputs::State()).volume, owners);
}

TYPED_TEST_P(AudioOutputContract, WhatChangesIsToldUntilTheSubscriptionEnds) {
  int told = 0;
  const auto isDefault = [&](const std::string& name) {
    const auto now = this->read();
    return now && now->output.id == name;
  };
  this->backend.plug("first");
  ASSERT_TRUE(isDefault("first"));
  auto subscription = this->backend.outputs().onChange([&] { ++told; });
  ASSERT_TRUE(this->until([&] { return this->backend.outputs().report().answered; }));
  this->backend.plug("second");
  ASSERT_TRUE(this->until([&] { return told > 0 && isDefault("second"); }));
  int before = told;
  this->write({"second", {{0, 0.25}}, {}});
  ASSERT_TRUE(this->until([&] { return told > before; })) << "a volume changed";
  before = told;
  this->backend.unplug("second");
  ASSERT_TRUE(this->until([&] { return told > before && isDefault("first"); }));
  EXPECT_EQ(this->write({"second", {{0, 1.0}}, false}), AudioOutputs::Written::gone);
  subscription.end();
  before = told;
  this->write({"first", {{0, 0.5}}, true});
  ASSERT_TRUE(isDefault("first"));
  EXPECT_EQ(told, before);
}

REGISTER_TYPED_TEST_SUITE_P(AudioOutputContract, AVolumeIsForcedAndGivenBackExactly,
                            WhatChangesIsToldUntilTheSubscriptionEnds);

}  // namespace brindle
