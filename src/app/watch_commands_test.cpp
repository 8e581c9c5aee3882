#include "testing/app_fixture.h"

namespace brindle {
namespace {

class WatchCommandsTest : public AppFixture {
 protected:
  Reply watch(const std::string& what, const std::string& value = {},
              std::vector<Request> more = {}) {
    return command({.command = "watch", .target = what, .value = value}, std::move(more));
  }
};

TEST_F(WatchCommandsTest, WhileOnAllOfItIsTheOwnersAndWhileOffOnlyTakingAway) {
  EXPECT_EQ(watch("add", "/x/a").text, "'a' is watched while Brindle is on.\n");
  EXPECT_EQ(watch("add", "/y/a").exitCode, exit_code::done);
  EXPECT_NE(say("status").text.find("Watched: 2 items\n"), std::string::npos);
  choosePin();
  EXPECT_EQ(watch("list").type, Reply::Type::done);
  EXPECT_EQ(watch("remove", "a").type, Reply::Type::proof);
  const std::string several = watch("remove", "a", tries({{"pin", pin}})).text;
  EXPECT_NE(several.find("Say which by its identifier:\n"), std::string::npos) << several;
  const std::string id = several.substr(several.find('\n') + 1, 36);
  EXPECT_EQ(watch("remove", id, tries({{"pin", pin}})).text, "'a' isn't watched any more.\n");
  say("on");
  for (const char* what : {"list", "add", "remove"}) {
    EXPECT_EQ(watch(what, "b").type, Reply::Type::proof) << what;
  }
  EXPECT_EQ(command({.command = "tripwire", .target = "b", .value = folder}).type,
            Reply::Type::proof);
}

TEST_F(WatchCommandsTest, WhatIsNotWatchableOrMissingIsSaid) {
  devices.fileEvents.blind.insert("/x/blind");
  EXPECT_EQ(watch("add", "/x/blind").text,
            "'blind' is watched while Brindle is on.\nOpenings may go unseen: Its file system "
            "doesn't tell who opens it.\n");
  watch("add", "/x/gone");
  devices.bookmarks.removed.insert("/x/gone");
  EXPECT_NE(watch("list").text.find("gone, missing\n"), std::string::npos) << watch("list").text;
  const std::string told = say("doctor").text;
  EXPECT_NE(told.find("2 items, 1 missing, 1 not watchable; 'blind' not watchable: Its file"),
            std::string::npos)
      << told;
  choosePin();
  say("on");
  const std::string guarded = say("doctor").text;
  EXPECT_NE(guarded.find("2 items, 1 missing"), std::string::npos) << guarded;
  EXPECT_EQ(guarded.find("blind"), std::string::npos) << "names are the owner's alone";
}

TEST_F(WatchCommandsTest, WhyNotIsSaidAsItIs) {
  devices.apps.installed["own"] = {"com.corvane.brindle.links", "Brindle"};
  EXPECT_EQ(watch("add", "own").text, "Brindle can't watch itself.\n");
  EXPECT_EQ(watch("add", "x.txt").text,
            "There is no file 'x.txt' here. That isn't an app Brindle can watch.\n");
  command({.command = "tripwire", .target = "b", .value = folder});
  ASSERT_TRUE(devices.files.remove(folder + "/b.rtf"));
  EXPECT_EQ(watch("remove", "b.rtf").text,
            "'b.rtf' isn't watched any more.\nIts decoy wasn't found, so none was deleted.\n");
}

}  // namespace
}  // namespace brindle
