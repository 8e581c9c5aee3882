#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "platform/notifications.h"

namespace brindle {

/// A backend offers: `notifications`, `shown()` (the titles on show, sorted), `click(id)`,
/// `leave()`, after which nothing can be shown, and `until(condition)`.
template <class Backend>
class NotificationsContract : public testing::Test {
 protected:
  bool post(const std::string& id, const std::string& title) {
    std::optional<bool> shown;
    backend.notifications.post({id, title, "body"}, [&](bool ok) { shown = ok; });
    EXPECT_FALSE(shown) << "delivered inline";
    EXPECT_TRUE(backend.until([&] { return shown.has_value(); }));
    return shown.value_or(false);
  }

  Backend backend;
};
TYPED_TEST_SUITE_P(NotificationsContract);

TYPED_TEST_P(NotificationsContract, TheSameIdReplacesAClickNamesItAndRemovingTakesAway) {
  using Titles = std::vector<std::string>;
  Titles clicked;
  const auto subscription =
      this->backend.notifications.onActivated([&](std::string id) { clicked.push_back(id); });
  EXPECT_TRUE(this->post("a", "first"));
  EXPECT_TRUE(this->post("b", "second"));
  EXPECT_TRUE(this->post("a", "third"));
  EXPECT_EQ(this->backend.shown(), (Titles{"second", "third"}));
  this->backend.click("b");
  ASSERT_TRUE(this->backend.until([&] { return !clicked.empty(); }));
  EXPECT_EQ(clicked, Titles{"b"});
  this->backend.notifications.remove("a");
  this->backend.notifications.remove("never shown");
  EXPECT_TRUE(this->backend.until([&] { return this->backend.shown() == Titles{"second"}; }));
  EXPECT_TRUE(this->backend.notifications.report().answered);
  this->backend.leave();
  EXPECT_FALSE(this->post("a", "what cannot be shown is said so"));
  EXPECT_FALSE(this->backend.notifications.report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(NotificationsContract,
                            TheSameIdReplacesAClickNamesItAndRemovingTakesAway);

}  // namespace brindle
