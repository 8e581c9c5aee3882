#include "platform/linux/courier.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/memory/files_memory.h"
#include "platform/posix/files_posix.h"
#include "testing/scripted_service.h"
#include "testing/temporary_folder.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class CourierTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& each : {folders.todo(), folders.done(), folders.cancel()}) {
      ASSERT_TRUE(files.makeFolder(each));
    }
    ASSERT_TRUE(files.writeWhole("/body", viewOf("body")));
    http.setServer(service.server());
    start("boot");
  }
  void start(const std::string& boot, Duration offset = 100s) {
    courier.emplace(scheduler, http, files, "/spool", AwakeClock{boot, offset});
    courier->look();
  }
  void put(const std::string& name, Duration handedOver = 100s) {
    CourierJob job{"label of " + name, {}, "boot", handedOver};
    job.request.method = HttpRequest::Method::post;
    job.request.url = "http://127.0.0.1:1/api/" + name;
    job.request.bodyFile = "/body";
    ASSERT_TRUE(files.writeWhole(joinPath(folders.todo(), name), viewOf(courierJobText(job))));
    courier->look();
  }
  std::optional<TransferResult> result(const std::string& name) {
    const auto content = files.read(joinPath(folders.done(), name));
    return content ? readCourierResult(textOf(*content)) : std::nullopt;
  }
  std::vector<std::string> todo() { return courierEntries(files, folders.todo()); }

  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
  MemoryHttp http{scheduler, files};
  CourierFolders folders{"/spool/brindle.alerts"};
  std::optional<Courier> courier;
};

TEST_F(CourierTest, WithoutAnAnswerItTriesAgainEverMoreSlowlyUntilTheTimeIsUp) {
  std::vector<int> attempts;
  service.decide = [&](const ScriptedRequest&) {
    attempts.push_back(static_cast<int>(millisecondsOf(scheduler.awakeTime()) / 1000));
    return ScriptedReply{.status = 0};
  };
  put("a");
  scheduler.advance(59s);
  EXPECT_EQ(attempts, (std::vector{0, 1, 3, 7, 15, 31}));
  EXPECT_FALSE(result("a"));
  scheduler.advance(1s);
  ASSERT_TRUE(result("a"));
  EXPECT_EQ(result("a")->answer.status, 0);
  EXPECT_EQ(result("a")->answer.elapsed, 60s);
  EXPECT_TRUE(todo().empty() && courier->idle());
}

TEST_F(CourierTest, TheTimeCountsFromTheHandOverWhateverTheClockSays) {
  service.always("api", {.copies = 0});
  put("early", 70s);  // of 100 s now
  scheduler.advance(20s);
  start("boot", 100s);  // the courier was killed
  scheduler.advance(9s);
  scheduler.setWallTime(scheduler.wallTime() + std::chrono::years(1));
  EXPECT_FALSE(result("early")) << "a clock that is set ends nothing";
  scheduler.advance(1s);
  EXPECT_TRUE(result("early"));
}

TEST_F(CourierTest, WhatAnEarlierBootLeftIsNotSent) {
  service.always("api", {.copies = 0});
  put("a");
  const std::size_t sent = service.requests().size();
  ASSERT_TRUE(files.writeWhole("/body", {})) << "as a power cut leaves what was not flushed";
  start("another boot", 0s);
  scheduler.advance(60s);
  EXPECT_EQ(service.requests().size(), sent);
  ASSERT_TRUE(result("a"));
  EXPECT_EQ(result("a")->answer.status, 0) << "its owner hands it over again";
}

TEST_F(CourierTest, AnAnswerThatCannotBeWrittenIsKeptAndTheRequestNotRepeated) {
  service.always("api", {.delay = 1s});
  put("a");
  files.failAll({FileError::Kind::noSpace, 28});
  scheduler.advance(10s);
  courier->look();
  files.failNothing();
  EXPECT_FALSE(courier->idle());
  scheduler.advance(10s);
  ASSERT_TRUE(result("a"));
  EXPECT_EQ(result("a")->answer.status, 200);
  EXPECT_EQ(service.requests().size(), 1u);
}

TEST_F(CourierTest, AFewAtOnceInTheOrderOfTheirHandOver) {
  service.always("api", {.held = true});
  for (int i = 0; i < 9; ++i) put(std::to_string(9 - i), 90s + std::chrono::seconds(i));
  scheduler.run();
  ASSERT_EQ(service.requests().size(), 6u);
  service.release();
  scheduler.run();
  ASSERT_EQ(service.requests().size(), 7u);
  EXPECT_EQ(service.requests()[0].path, "api/9");
  EXPECT_EQ(service.requests()[6].path, "api/3");
}

TEST_F(CourierTest, WhatIsCancelledAnsweredOrDamagedIsNotSent) {
  service.always("api", {.held = true});
  put("under way");
  ASSERT_TRUE(files.renameNew(folders.todo() + "/under way", folders.cancel() + "/under way"));
  service.releaseAll();  // before the courier has seen it
  scheduler.run();
  courier->look();
  EXPECT_FALSE(result("under way"));
  EXPECT_TRUE(courierEntries(files, folders.cancel()).empty());
  const TransferResult early{"label", {200, {}, 5s, ""}};
  ASSERT_TRUE(files.writeWhole(folders.done() + "/answered", viewOf(courierResultText(early))));
  put("answered");
  service.forgetRequests();
  const std::string labelled = R"({"description": "known", "url": 5})";
  ASSERT_TRUE(files.writeWhole(folders.todo() + "/labelled", viewOf(labelled)));
  ASSERT_TRUE(files.writeWhole(folders.todo() + "/torn", viewOf(R"({"description": "kn)")));
  courier->look();
  scheduler.run();
  EXPECT_EQ(result("labelled")->description, "known");
  EXPECT_EQ(courierEntries(files, folders.damaged()),
            (std::vector<std::string>{"labelled", "torn"}));
  EXPECT_TRUE(todo().empty() && service.requests().empty());
}

TEST(CourierSpoolTest, FoldersKeepTheNewestWithinTheirBounds) {
  namespace fs = std::filesystem;
  const TemporaryFolder folder;
  for (const int age : {1, 3, 0, 2}) {
    const std::string path = folder / std::to_string(age);
    std::ofstream(path) << "12345";
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(age));
  }
  PosixFiles files(folder.path());
  for (const auto& [count, bytes] : {std::pair(3u, 100u), std::pair(3u, 10u)}) {
    trimFolder(folder.path(), count, bytes);
    EXPECT_EQ(courierEntries(files, folder.path()).size(), bytes == 100 ? 3u : 2u);
  }
  EXPECT_TRUE(files.exists(folder / "0").value());
}

}  // namespace
}  // namespace brindle
