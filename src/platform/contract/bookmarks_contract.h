#pragma once

#include <optional>

#include "platform/bookmarks.h"
#include "platform/contract/contract_test.h"

namespace brindle {

/// A backend offers: `bookmarks`, `path`, a file that is there, `move()`, which gives its new path
/// in the same file system, and `remove(path)`.
template <class Backend>
using BookmarksContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(BookmarksContract);

template <class Value>
std::optional<Bookmarks::Problem> problemOf(const Result<Value, Bookmarks::Problem>& result) {
  return result ? std::nullopt : std::optional(result.error());
}

TYPED_TEST_P(BookmarksContract, AMovedItemIsFoundAgainAndARemovedOneIsGone) {
  Bookmarks& all = this->backend.bookmarks;
  const auto first = all.create(this->backend.path);
  ASSERT_TRUE(first);
  const auto resolved = all.resolve(*first);
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->path, this->backend.path);
  EXPECT_FALSE(resolved->stale);

  const std::string moved = this->backend.move();
  const auto again = all.resolve(*first);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->path, moved);
  EXPECT_TRUE(again->stale);
  const auto renewed = all.create(moved);
  ASSERT_TRUE(renewed);
  const auto fresh = all.resolve(*renewed);
  EXPECT_TRUE(fresh && fresh->path == moved && !fresh->stale);

  this->backend.remove(moved);
  EXPECT_EQ(problemOf(all.resolve(*renewed)), Bookmarks::Problem::gone);
  EXPECT_EQ(problemOf(all.create(moved)), Bookmarks::Problem::gone);
  EXPECT_EQ(problemOf(all.resolve(viewOf("no bookmark"))), Bookmarks::Problem::unreadable);
  EXPECT_EQ(all.lastPlace(*renewed), moved);
  EXPECT_EQ(all.lastPlace(viewOf("no bookmark")), "");
  EXPECT_TRUE(all.report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(BookmarksContract, AMovedItemIsFoundAgainAndARemovedOneIsGone);

}  // namespace brindle
