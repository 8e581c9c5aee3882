#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/file_events.h"

namespace brindle {

/// What a stream delivered, on whatever thread.
class DeliveredEvents {
 public:
  FileEvents::Deliver deliver() {
    return [this](std::vector<FileEvent> batch) {
      const std::lock_guard lock(mutex_);
      all_.insert(all_.end(), batch.begin(), batch.end());
    };
  }
  bool has(const std::string& path, std::uint32_t flag) const {
    const std::lock_guard lock(mutex_);
    return std::ranges::any_of(
        all_, [&](const auto& each) { return each.path == path && (each.flags & flag) != 0; });
  }
  std::size_t count() const {
    const std::lock_guard lock(mutex_);
    return all_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<FileEvent> all_;
};

/// A backend offers: `events()`, `path(name)` of a file "file" and files in folders "tree/in" and
/// "tree/out", `open(path)` by another process, and `until(condition)`, which runs the main loop.
template <class Backend>
using FileEventsContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(FileEventsContract);

TYPED_TEST_P(FileEventsContract, ObservedOpeningsAreToldUntilTheStreamEnds) {
  auto& test = this->backend;
  DeliveredEvents seen;
  const std::string file = test.path("file"), below = test.path("tree/in/x");
  const std::string excluded = test.path("tree/out/x");
  auto stream =
      test.events().open({{file}, {test.path("tree")}, {test.path("tree/out")}}, seen.deliver());
  ASSERT_TRUE(stream) << stream.error();
  EXPECT_TRUE((*stream)->unobserved().empty());
  for (const std::string& each : {file, below, excluded}) test.open(each);
  (*stream)->flush();
  EXPECT_TRUE(seen.has(file, file_event::itemXattrMod));
  EXPECT_TRUE(seen.has(below, file_event::itemXattrMod));
  EXPECT_FALSE(seen.has(excluded, ~0U));
  DeliveredEvents next;
  const auto second = test.events().open({{file}, {}, {}}, next.deliver());
  stream->reset();
  const auto before = seen.count();
  test.open(file);
  (*second)->flush();
  EXPECT_EQ(seen.count(), before);
  EXPECT_TRUE(next.has(file, file_event::itemXattrMod)) << "made beside the other";
}

TYPED_TEST_P(FileEventsContract, AProbeIsAnsweredFromTheLoop) {
  auto& test = this->backend;
  std::vector<bool> answers;
  const auto first =
      test.events().probe(test.path("file"), [&](bool seen) { answers.push_back(seen); });
  test.events().probe(test.path("file"), [&](bool) { FAIL() << "given up"; }).end();
  EXPECT_TRUE(answers.empty()) << "answered inline";
  const auto folder =
      test.events().probe(test.path("tree"), [&](bool seen) { answers.push_back(seen); });
  ASSERT_TRUE(test.until([&] { return answers.size() == 2; }));
  EXPECT_EQ(answers, (std::vector{true, true}));
  EXPECT_TRUE(test.events().report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(FileEventsContract, ObservedOpeningsAreToldUntilTheStreamEnds,
                            AProbeIsAnsweredFromTheLoop);

}  // namespace brindle
