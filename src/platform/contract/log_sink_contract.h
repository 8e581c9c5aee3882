#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "base/log.h"

namespace brindle {

/// A backend offers `sink`, `lines()`, a text for each line that has reached the other end,
/// `showsPrivate`, true for a recorder only, and perhaps `missing()`, why it cannot run here.
template <class Backend>
class LogSinkContract : public testing::Test {
 protected:
  void SetUp() override {
    if constexpr (requires { backend.missing(); }) {
      if (backend.missing()) GTEST_SKIP() << backend.missing();
    }
  }
  Backend backend;
};
TYPED_TEST_SUITE_P(LogSinkContract);

TYPED_TEST_P(LogSinkContract, ALineStaysOneLineAndKeepsPrivateTextBack) {
  Log(this->backend.sink)
      .notice("state.json kept aside: %{private}s, %{public}ld events, %{public}s", "secret name",
              3, "50%{private}s\x1b[2J\nforged");
  const std::vector<std::string> lines = this->backend.lines();
  ASSERT_EQ(lines.size(), 1u) << "text from outside passes for a line of its own";
  EXPECT_THAT(lines[0], testing::HasSubstr("state.json kept aside: "));
  EXPECT_THAT(lines[0], testing::HasSubstr(", 3 events, 50%{private}s"));
  EXPECT_THAT(lines[0], testing::HasSubstr("forged"));
  EXPECT_EQ(lines[0].find("secret name") != std::string::npos, TypeParam::showsPrivate);
}

TYPED_TEST_P(LogSinkContract, LinesOfSeveralThreadsDoNotMix) {
  std::vector<std::string> said;
  std::vector<std::thread> threads;
  for (const char each : {'a', 'b', 'c', 'd'}) said.emplace_back(500, each);
  for (const auto& text : said) {
    threads.emplace_back([&] { Log(this->backend.sink).notice("said: %{public}s", text); });
  }
  for (auto& each : threads) each.join();
  const std::vector<std::string> lines = this->backend.lines();
  EXPECT_EQ(lines.size(), said.size());
  for (const auto& text : said) EXPECT_THAT(lines, testing::Contains(testing::HasSubstr(text)));
}

REGISTER_TYPED_TEST_SUITE_P(LogSinkContract, ALineStaysOneLineAndKeepsPrivateTextBack,
                            LinesOfSeveralThreadsDoNotMix);

}  // namespace brindle
