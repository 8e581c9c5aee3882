#pragma once

#include <gtest/gtest.h>

#include "platform/preferences.h"

namespace brindle {

/// A backend offers `preferences()`, `reopen()`, which reads what is stored anew, and `fail(bool)`.
template <class Backend>
class PreferencesContract : public testing::Test {
 protected:
  Preferences& preferences() { return backend.preferences(); }
  Backend backend;
};
TYPED_TEST_SUITE_P(PreferencesContract);

TYPED_TEST_P(PreferencesContract, KeepsEveryKindOfValue) {
  ASSERT_TRUE(this->preferences().set("a.truth", true));
  ASSERT_TRUE(this->preferences().set("a.whole", std::int64_t{-9'007'199'254'740'993}));
  ASSERT_TRUE(this->preferences().set("a.real", 1234.0625));
  ASSERT_TRUE(this->preferences().set("a.text", std::string("\"ž\"\n")));
  ASSERT_TRUE(this->preferences().set("b.other", std::int64_t{3}));
  this->backend.reopen();
  const Preferences& read = this->preferences();
  EXPECT_EQ(read.boolean("a.truth"), true);
  EXPECT_EQ(read.integer("a.whole"), -9'007'199'254'740'993);
  EXPECT_EQ(read.real("a.real"), 1234.0625);
  EXPECT_EQ(read.text("a.text"), "\"ž\"\n");
  EXPECT_EQ(read.real("b.other"), 3.0) << "an integer serves as a double";
  EXPECT_EQ(read.integer("a.real"), std::nullopt);
  EXPECT_EQ(read.text("a.truth"), std::nullopt);
  EXPECT_EQ(read.get("a"), std::nullopt);
  EXPECT_EQ(read.keys("a."), (std::vector<std::string>{"a.real", "a.text", "a.truth", "a.whole"}));
}

TYPED_TEST_P(PreferencesContract, AChangeIsStoredWholeOrNotAtAll) {
  using Changes = std::vector<std::pair<std::string, std::optional<PreferenceValue>>>;
  ASSERT_TRUE(this->preferences().change({{"x", std::int64_t{1}}, {"y", std::string("old")}}));
  const Changes changes{{"x", std::nullopt}, {"y", std::string("new")}, {"z", true}};
  this->backend.fail(true);
  EXPECT_FALSE(this->preferences().change(changes));
  EXPECT_EQ(this->preferences().integer("x"), 1);
  EXPECT_EQ(this->preferences().text("y"), "old");
  EXPECT_EQ(this->preferences().get("z"), std::nullopt);
  this->backend.fail(false);
  EXPECT_TRUE(this->preferences().change(changes));
  EXPECT_TRUE(this->preferences().remove("never there"));
  this->backend.reopen();
  EXPECT_EQ(this->preferences().keys(""), (std::vector<std::string>{"y", "z"}));
}

REGISTER_TYPED_TEST_SUITE_P(PreferencesContract, KeepsEveryKindOfValue,
                            AChangeIsStoredWholeOrNotAtAll);

}  // namespace brindle
