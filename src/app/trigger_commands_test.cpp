#include "testing/app_fixture.h"

namespace brindle {
namespace {

class TriggerCommandsTest : public AppFixture {
 protected:
  Reply ask(const std::string& name, const std::string& target = {}, const std::string& value = {},
            std::vector<Request> more = {}) {
    return command({.command = name, .target = target, .value = value}, std::move(more));
  }
  std::string kindOfLast() {
    const auto& events = app.store().events();
    return events.empty() || !events.back()->trigger ? "" : events.back()->trigger->kind;
  }
};

TEST_F(TriggerCommandsTest, PulledAdapterSoundsAndIsAnEventUntilTheOwnerProvesThemself) {
  devices.outputs.plug({"speakers", {{0, 0.3}, {1, 0.5}}, true});
  devices.powerSource.set({true, false});
  choosePin();
  EXPECT_EQ(ask("alarm", "unplugged", "on").type, Reply::Type::proof) << "a setting of the owner's";
  ask("alarm", "unplugged", "on", tries({{"pin", pin}}));
  EXPECT_EQ(ask("alarm", "stop").text, "The alarm isn't sounding.\n");
  say("on");
  devices.powerSource.set({false, false});
  runUntil([&] { return devices.outputs.volume("speakers").levels.at(0) == 1.0; });
  EXPECT_NE(devices.player.sounding().find("alarm.wav"), std::string::npos);
  EXPECT_EQ(kindOfLast(), "power-unplugged");
  EXPECT_NE(say("status").text.find("The alarm sounds (power-unplugged)"), std::string::npos);
  devices.powerSource.set({false, true});
  runUntil([&] { return kindOfLast() == "lid-closed"; });  // without its setting, an event only

  EXPECT_EQ(ask("alarm", "stop").type, Reply::Type::proof);
  EXPECT_EQ(ask("alarm", "stop", {}, tries({{"pin", wrongPin}})).type, Reply::Type::tried);
  EXPECT_TRUE(app.triggers().alarm().sounding());
  EXPECT_EQ(ask("alarm", "stop", {}, tries({{"pin", pin}})).text, "The alarm is stopped.\n");
  const SavedVolume owners{"speakers", {{0, 0.3}, {1, 0.5}}, true};
  runUntil([&] { return devices.outputs.volume("speakers") == owners; });
  EXPECT_EQ(devices.player.sounding(), "");
}

TEST_F(TriggerCommandsTest, TimesAreAddedChangedAndRefusedInWords) {
  EXPECT_EQ(ask("schedule", "add", "09:00").text, "Choose at least one day.\n");
  EXPECT_EQ(ask("schedule", "add", "24:00 mon").exitCode, exit_code::failed);
  EXPECT_EQ(ask("schedule", "add", "09:00 someday").exitCode, exit_code::failed);
  EXPECT_NE(ask("schedule", "add", "9:05 Weekend monday").text.find("  1  09:05 Sun, Mon, Sat\n"),
            std::string::npos);
  EXPECT_NE(ask("schedule", "off", "1").text.find(" (off)\n"), std::string::npos);
  EXPECT_EQ(ask("schedule", "remove", "2").exitCode, exit_code::failed);
  EXPECT_NE(ask("schedule", "remove", "1").text.find("No times are chosen.\n"), std::string::npos);
  choosePin();
  EXPECT_EQ(ask("schedule", "list").type, Reply::Type::done);
  EXPECT_EQ(ask("schedule", "add", "09:00 daily").type, Reply::Type::proof);
  EXPECT_EQ(ask("idle", "5").type, Reply::Type::proof);
  EXPECT_EQ(ask("idle", "5", {}, tries({{"pin", pin}})).text,
            "Check in when you come back: after 5 min without a touch\n");
  EXPECT_EQ(ask("idle", "0.5", {}, tries({{"pin", pin}})).exitCode, exit_code::failed);
}

TEST_F(TriggerCommandsTest, UnlockLogShowsTheOwnersUnlocksOnlyWhenAsked) {
  choosePin();
  say("on");
  devices.screen.setLocked(true);
  devices.screen.setLocked(false);
  runUntil([&] { return app.store().pendingConfirm().has_value(); });
  command({.command = "confirm"}, tries({{"pin", pin}}));
  EXPECT_EQ(ask("log").type, Reply::Type::proof);
  EXPECT_NE(ask("log", {}, {}, tries({{"pin", pin}})).text.find("1 confirmed and not shown"),
            std::string::npos);
  EXPECT_NE(ask("log", "own", {}, tries({{"pin", pin}})).text.find("it was you\n"),
            std::string::npos);
}

}  // namespace
}  // namespace brindle
