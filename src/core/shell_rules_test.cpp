#include <gtest/gtest.h>

#include "base/subscription.h"
#include "core/menu_content.h"
#include "core/quit_request.h"
#include "core/session_mark.h"
#include "core/start_at_login.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/preferences_memory.h"
#include "testing/recording_log.h"

namespace brindle {
namespace {

TEST(QuitRequestTest, OnlyAVerifiedSystemReasonGoesWithoutProofWhileOn) {
  for (const char* reason : {"logo", "rlgo", "rrst", "rest", "rsdn", "shut"}) {
    RecordingLog lines;
    EXPECT_EQ(decideQuit({reason, true, "login window"}, true, Log(lines)), QuitDecision::proceed);
    EXPECT_EQ(lines.size(), 0u);
    EXPECT_EQ(decideQuit({reason, false, "pid 77"}, true, Log(lines)), QuitDecision::needsProof);
    EXPECT_EQ(decideQuit({reason, false, "pid 77"}, false, Log(lines)), QuitDecision::proceedAsOff);
    EXPECT_EQ(lines.count("quit claiming a system reason, sender pid 77"), 2u) << lines.all();
  }
  RecordingLog lines;
  for (const char* reason : {"", "quia", "SHUT", "shut "}) {
    EXPECT_EQ(decideQuit({reason, true, "any"}, true, Log(lines)), QuitDecision::needsProof);
  }
  EXPECT_EQ(lines.size(), 0u) << "these claim no system reason";
}

TEST(MenuContentTest, ShowsTheGuardAndKeepsItsOrder) {
  using Action = MenuContent::Action;
  const MenuContent on(true), off(false);
  EXPECT_EQ(on.label(), "Brindle is on");
  EXPECT_EQ(off.label(), "Brindle is off");
  const std::vector<MenuContent::Entry> whileOn{{Action::turnOff, "Turn Brindle off…"},
                                                {Action::openFullWindow, "Open full window…"},
                                                {Action::settings, "Settings"},
                                                {Action::whatsNew, "What's new", false},
                                                {Action::reportProblem, "Report a problem…", false},
                                                {Action::quit, "Quit Brindle…"}};
  EXPECT_EQ(on.entries(), whileOn);
  EXPECT_EQ(off.entries().front().action, Action::turnOn);
}

TEST(SessionMarkTest, TellsARestartFromALogout) {
  const SessionMark last{"boot-a", "1"};
  using enum SinceLastRun;
  const std::tuple<std::optional<SessionMark>, SessionMark, SinceLastRun> rows[] = {
      {std::nullopt, last, unknown},
      {last, {"boot-b", "1"}, restarted},
      {last, {"boot-b", ""}, restarted},
      {last, {"", "1"}, unknown},
      {SessionMark{"", "1"}, {"", "2"}, loggedOut}};
  for (const auto& [before, now, result] : rows) EXPECT_EQ(sinceLastRun(before, now), result);

  MemoryPreferences preferences;
  ASSERT_TRUE(writeSessionMark(preferences, last));
  EXPECT_EQ(readSessionMark(preferences), last);
  EXPECT_EQ(preferences.text("boot"), "boot-a");
  EXPECT_EQ(preferences.text("session"), "1");
}

class StartAtLoginOnArmTest : public testing::Test {
 protected:
  StartAtLoginOnArmTest() {
    start.follow([this](auto changed) { return changes.add(changed); }, [this] { return armed; });
  }
  void change(bool on) {
    armed = on;
    changes.tell();
  }
  void disabledElsewhere() {
    item.setStatus(LoginItem::Status::disabled);
    changes.tell();
  }
  bool enabled() const { return item.status() == LoginItem::Status::enabled; }

  MemoryLoginItem item;
  MemoryPreferences preferences;
  RecordingLog lines;
  Listeners<> changes;
  bool armed = false;
  bool featureOn = true;
  StartAtLoginOnArm start{item, preferences, Log(lines), [this](std::string_view name) {
                            return featureOn && name == "watch.loginItemWhileOn";
                          }};
};

TEST_F(StartAtLoginOnArmTest, KeepsWhatIsEnabledWhileOnAndNothingElse) {
  change(true);
  EXPECT_FALSE(enabled()) << "nobody chose it";
  ASSERT_TRUE(start.choose(true));
  EXPECT_TRUE(enabled());
  EXPECT_EQ(preferences.boolean("startAtLogin"), true);
  disabledElsewhere();
  EXPECT_TRUE(enabled());
  EXPECT_TRUE(lines.has("login item: enabled again while on"));

  featureOn = false;
  disabledElsewhere();
  EXPECT_FALSE(enabled()) << "switched off";
  featureOn = true;
  change(false);
  EXPECT_FALSE(enabled()) << "the guard is off";

  ASSERT_TRUE(start.choose(false));
  item.setStatus(LoginItem::Status::enabled);
  change(true);
  disabledElsewhere();
  EXPECT_FALSE(enabled()) << "the owner chose against it";
}

TEST_F(StartAtLoginOnArmTest, ASystemThatRefusesIsSaidAndTheChoiceStays) {
  item.setProblem("not approved");
  EXPECT_EQ(start.choose(true).error(), "not approved");
  ASSERT_TRUE(preferences.set("startAtLogin", true));
  change(true);
  EXPECT_TRUE(lines.has("login item: not kept enabled: not approved"));
}

}  // namespace
}  // namespace brindle
