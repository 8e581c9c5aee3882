#pragma once

#include <chrono>
#include <string>
#include <thread>

#include "platform/contract/contract_test.h"
#include "platform/worker_queue.h"

namespace brindle {

/// A backend offers `scheduler`, `queue`, both pointers, and `runUntil(condition)`.
template <class Backend>
using WorkerQueueContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(WorkerQueueContract);

TYPED_TEST_P(WorkerQueueContract, WorksInOrderAndReportsOnTheMainThread) {
  const auto mainThread = std::this_thread::get_id();
  std::string worked;
  std::string reported;
  for (const char each : {'a', 'b', 'c'}) {
    this->backend.queue->run([&worked, each] { worked += each; },
                             [&reported, &mainThread, each] {
                               EXPECT_EQ(std::this_thread::get_id(), mainThread);
                               reported += each;
                             });
  }
  this->backend.queue->run([] {}, nullptr);
  EXPECT_EQ(reported, "");
  EXPECT_TRUE(this->backend.runUntil([&] { return reported.size() == 3; }));
  EXPECT_EQ(worked, "abc");
  EXPECT_EQ(reported, "abc");
}

TYPED_TEST_P(WorkerQueueContract, FinishWaitsForTheWorkButNotForItsReports) {
  int worked = 0;
  int reported = 0;
  for (int i = 0; i < 50; ++i) {
    const auto slow = [&] {
      const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
      while (std::chrono::steady_clock::now() < end) {
      }
      ++worked;
    };
    this->backend.queue->run(slow, [&] { ++reported; });
  }
  this->backend.queue->finish();
  EXPECT_EQ(worked, 50);
  EXPECT_EQ(reported, 0);
  EXPECT_TRUE(this->backend.runUntil([&] { return reported == 50; }));
}

TYPED_TEST_P(WorkerQueueContract, NothingIsWorkedOffAfterItsEnd) {
  auto token = std::make_shared<int>(0);
  for (int i = 0; i < 5; ++i) this->backend.queue->run([token] { ++*token; }, nullptr);
  this->backend.queue.reset();
  const int worked = *token;
  bool reached = false;
  this->backend.scheduler->post([&] { reached = true; });
  EXPECT_TRUE(this->backend.runUntil([&] { return reached; }));
  EXPECT_EQ(*token, worked);
  EXPECT_EQ(token.use_count(), 1) << "dropped work still holds what it captured";
}

REGISTER_TYPED_TEST_SUITE_P(WorkerQueueContract, WorksInOrderAndReportsOnTheMainThread,
                            FinishWaitsForTheWorkButNotForItsReports,
                            NothingIsWorkedOffAfterItsEnd);

}  // namespace brindle
