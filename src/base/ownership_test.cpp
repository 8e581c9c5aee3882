#include <gtest/gtest.h>

#include <optional>

#include "base/lifetime.h"
#include "base/secret_text.h"
#include "base/subscription.h"

namespace brindle {
namespace {

TEST(SecretTextTest, LeavesNothingBehind) {
  std::string typed = "1234";
  const char* buffer = typed.data();
  SecretText secret = SecretText::take(typed);
  EXPECT_TRUE(typed.empty());
  EXPECT_EQ(std::string(buffer, 4), std::string(4, '\0')) << "the source is wiped, not just cut";
  const char* kept = secret.view().data();
  SecretText moved = std::move(secret);
  EXPECT_EQ(moved.view().data(), kept) << "a move copies no secret";
  EXPECT_TRUE(secret.empty());  // NOLINT: what a move leaves is the point
  const SecretText copy = moved.duplicate();
  moved = SecretText();
  EXPECT_EQ(copy.view(), "1234");
  Bytes bytes = bytesOf("5678");
  const std::uint8_t* wiped = bytes.data();
  wipe(bytes);
  EXPECT_EQ(wiped[0] | wiped[1] | wiped[2] | wiped[3], 0);
}

TEST(ListenersTest, MayComeAndGoWhileBeingTold) {
  Listeners<int> listeners;
  std::string told;
  std::optional<Subscription> last;
  Subscription second;
  const Subscription first = listeners.add([&](int) {
    told += 'a';
    second.end();
    if (!last) last = listeners.add([&](int) { told += 'c'; });
  });
  second = listeners.add([&](int) { told += 'b'; });
  Subscription own;
  own = listeners.add([&, alive = std::make_shared<int>(1)](int) {
    own.end();
    told += static_cast<char>('0' + *alive);
  });
  listeners.tell(1);
  EXPECT_EQ(told, "a1") << "the ended one is not told, the new one not yet";
  listeners.tell(2);
  EXPECT_EQ(told, "a1ac");
  Subscription moved = std::move(*last);
  last.reset();
  moved = Subscription();
  EXPECT_FALSE(moved);
  EXPECT_FALSE(listeners.empty());
}

TEST(LifetimeTest, GuardedTasksDoNothingOnceTheirOwnerIsGone) {
  int runs = 0;
  auto owner = std::make_unique<Lifetime>();
  const auto count = [&](int by) { runs += by; };
  auto beforeRenewal = owner->guard(count);
  beforeRenewal(1);
  owner->renew();
  beforeRenewal(10);
  auto later = owner->guard(count);
  later(100);
  owner.reset();
  later(1000);
  EXPECT_EQ(runs, 101);
}

}  // namespace
}  // namespace brindle
