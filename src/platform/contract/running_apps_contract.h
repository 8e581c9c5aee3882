#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/running_apps.h"

namespace brindle {

/// A backend offers: `apps`, in which "org.example.Notes" and "org.example.Draw" are installed, the
/// first named "Notes" and started by `program`; `start(id)`, which brings it to the front; and
/// `until(condition)`, which runs the main loop.
template <class Backend>
using RunningAppsContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(RunningAppsContract);

TYPED_TEST_P(RunningAppsContract, WhatStartsAndComesToTheFrontIsToldUntilTheSubscriptionEnds) {
  using What = RunningApps::What;
  auto& test = *this;
  const std::string notes = "org.example.Notes", draw = "org.example.Draw";
  std::vector<std::pair<std::string, What>> told;
  const auto has = [&](const std::string& id, What what) {
    return std::ranges::find(told, std::pair(id, what)) != told.end();
  };
  RunningApps& apps = test.backend.apps;
  auto subscription =
      apps.observe([&](const std::string& id, What what) { told.emplace_back(id, what); });
  EXPECT_TRUE(apps.report().answered) << apps.report().detail;
  EXPECT_FALSE(apps.frontmost());
  test.backend.start(notes);
  EXPECT_TRUE(told.empty()) << "told inline";
  ASSERT_TRUE(test.backend.until(
      [&] { return has(notes, What::launched) && has(notes, What::activated); }));
  EXPECT_EQ(apps.frontmost(), notes);

  subscription.end();
  const auto before = told.size();
  test.backend.start(draw);
  ASSERT_TRUE(test.backend.until([&] { return apps.frontmost() == draw; }));
  EXPECT_EQ(told.size(), before);
}

TYPED_TEST_P(RunningAppsContract, AnApplicationIsKnownByItsProgramAndItsIdentifier) {
  const AppIdentity notes{"org.example.Notes", "Notes"};
  for (const std::string& way : {notes.id, std::string(this->backend.program)}) {
    EXPECT_EQ(this->backend.apps.identify(way), notes) << way;
  }
  for (const char* other : {"org.example.Nothing", "/nowhere/at/all", ""}) {
    EXPECT_FALSE(this->backend.apps.identify(other)) << other;
  }
}

REGISTER_TYPED_TEST_SUITE_P(RunningAppsContract,
                            WhatStartsAndComesToTheFrontIsToldUntilTheSubscriptionEnds,
                            AnApplicationIsKnownByItsProgramAndItsIdentifier);

}  // namespace brindle
