#include "app/guard_commands.h"

#include "app/rehearsal.h"
#include "testing/app_fixture.h"

namespace brindle {
namespace {

using GuardCommandsTest = AppFixture;

Request setupOf(std::string_view pin, std::string_view repeat) {
  Request request{.command = "setup", .alertDelay = 20, .startAtLogin = true, .question = "Pet?"};
  const std::string_view answer = "Rex Barker";
  for (const auto& [name, text] :
       {std::pair("pin", pin), std::pair("pinRepeat", repeat), std::pair("answer", answer),
        std::pair("answerRepeat", answer)}) {
    request.secrets.push_back({name, SecretText(text)});
  }
  return request;
}

TEST_F(GuardCommandsTest, SetsUpTurnsOnAndOff) {
  const auto reply = say("on");
  EXPECT_EQ(reply.text, "Brindle has no PIN on this Mac, so it stays off.\n");
  EXPECT_EQ(reply.exitCode, exit_code::failed);
  EXPECT_EQ(command(setupOf("730164", "730165")).exitCode, exit_code::failed);
  EXPECT_FALSE(app.store().pinIsSet());
  EXPECT_EQ(command(setupOf(pin, pin)).text,
            "The question and its answer are saved.\nThe PIN is saved.\nThe alert delay is 20 s.\n"
            "Brindle starts at login.\n");
  EXPECT_EQ(say("off").text, "Brindle is off.\n");

  EXPECT_EQ(say("show").text, "The running guard has no windows.\n");
  int shown = 0;
  app.appDelegate().openFullWindow = [&] { ++shown; };
  EXPECT_EQ(say("show").exitCode, exit_code::done);
  EXPECT_EQ(shown, 1);

  devices.screen.setReachable(false);
  EXPECT_EQ(
      say("on").text,
      "Brindle is on.\nNo source of lock signals answers on this machine, so unlocks go unseen.\n");
  devices.screen.setReachable(true);
  EXPECT_EQ(say("on").text, "Brindle is on already.\n");
  const std::string status = command({.command = "status", .json = true}).text;
  for (const char* part : {"\"running\":true", "\"armed\":true", "\"armedBy\":\"owner\"",
                           "\"pin\":\"set\"", "\"alertDelay\":20", "\"lockSource\":true"}) {
    EXPECT_NE(status.find(part), std::string::npos) << part << status;
  }
  EXPECT_EQ(command({.command = "setup", .alertDelay = 4000}, tries({{"pin", pin}})).text,
            "The alert delay was not saved: it is 0 to 3600 seconds.\n");
}

TEST_F(GuardCommandsTest, ProofIsAskedForWhereItIsDue) {
  EXPECT_EQ(say("history").text, "The history is empty.\n") << "nothing to protect yet";
  EXPECT_EQ(say("delete").text, "Choose a PIN first: brindle setup\n");
  choosePin();
  say("on");
  const std::string event = "D73D0D23-C20B-4BC0-9698-803DCDF6FF41";
  for (const char* name : {"history", "delete", "setup", "off"}) {
    const auto reply = command({.command = name, .target = event});
    EXPECT_EQ(reply.type, Reply::Type::proof) << name;
    EXPECT_FALSE(reply.answerOpen);
  }
  for (const char* name : {"status", "doctor", "on"}) {
    EXPECT_EQ(say(name).type, Reply::Type::done) << name;
  }
  EXPECT_EQ(say("confirm").text, "Nothing waits to be confirmed.\n");
  EXPECT_EQ(say("fly").exitCode, exit_code::usage);

  auto asked = tries({{"answer", "Rex"}, {"pin", wrongPin}, {"pin", pin}});
  EXPECT_EQ(command({.command = "off"}, std::move(asked)).text, "Brindle is off.\n");
  EXPECT_FALSE(app.store().armed());
  ASSERT_EQ(app.store().events().size(), 1u)
      << "the wrong PIN, and not the answer that was not open";
  EXPECT_EQ(app.store().events()[0]->wrongPINs, 1);

  EXPECT_EQ(command({.command = "delete", .target = "all"}, tries({{"pin", pin}})).text,
            "The history is deleted.\n");
  EXPECT_TRUE(app.store().events().empty());
}

TEST_F(GuardCommandsTest, NobodyChoosesAPinWhoseRecordVanishedWhileOn) {
  choosePin();
  say("on");
  devices.keychain.setAnswer(KeychainStore::dataProtection, keychain_code::itemNotFound);
  EXPECT_EQ(command(setupOf("556677", "556677")).text,
            "Brindle is on, but its PIN is gone: no new one can be chosen while it is on.\n");
  for (const char* name : {"history", "notices"}) EXPECT_EQ(say(name).type, Reply::Type::proof);
  EXPECT_EQ(command({.command = "alerts", .target = "off"}).type, Reply::Type::proof);
  bool saved = true;
  app.secrets().savePin(SecretText("556677"), SecretText("556677"), nullptr,
                        [&](PinSaved how) { saved = how == PinSaved::saved; });
  runUntil([&] { return !saved; });
  devices.keychain.setLocked(true);
  EXPECT_EQ(say("history").type, Reply::Type::proof) << "unreadable is not absent";
}

TEST_F(GuardCommandsTest, APinThatCannotBeReadIsReplacedOnlyWhileOff) {
  choosePin();
  const auto replace = [&] {
    Request request{.command = "setup", .replacePin = true};
    for (const char* name : {"pin", "pinRepeat"}) {
      request.secrets.push_back({name, SecretText("480317")});
    }
    return command(std::move(request));
  };
  EXPECT_EQ(replace().type, Reply::Type::proof) << "it can be read";
  devices.keychain.setDenied(true);
  EXPECT_EQ(replace().text, "Couldn't save your PIN. Try again.\n");
  EXPECT_FALSE(app.store().secretsFlow().replacingUnreadablePIN());
  devices.keychain.setDenied(false);
  say("on");
  devices.keychain.setDenied(true);
  EXPECT_EQ(replace().type, Reply::Type::proof) << "on";
}

TEST_F(GuardCommandsTest, DoctorFailsWithoutTheEssentialBackends) {
  EXPECT_EQ(say("doctor").exitCode, exit_code::done);
  const std::pair<std::string, std::function<void(bool)>> rows[] = {
      {"screen lock", [this](bool gone) { devices.screen.setReachable(!gone); }},
      {"camera", [this](bool gone) { devices.camera.setPresent(!gone); }},
      {"keychain", [this](bool gone) { devices.keychain.setGone(gone); }},
  };
  for (const auto& [service, gone] : rows) {
    gone(true);
    const auto reply = say("doctor");
    EXPECT_EQ(reply.exitCode, exit_code::failed) << service;
    EXPECT_NE(reply.text.find("FAILED   " + service), std::string::npos) << reply.text;
    gone(false);
  }
}

TEST_F(GuardCommandsTest, APersonsQuitOrderNeedsProofAndIsRefusedWhereNobodyCanAsk) {
  AppDelegate& delegate = app.appDelegate();
  std::optional<bool> quit;
  delegate.quit = [&](bool saved) { quit = saved; };
  choosePin();
  say("on");
  devices.quitSender.order({"shut", false, "pid 77"});
  runUntil([this] { return lines.has("quit refused: the guard is on"); });
  EXPECT_TRUE(lines.has("quit claiming a system reason, sender pid 77"));
  int asked = 0;
  delegate.askForQuitProof = [&] { ++asked; };
  delegate.requestQuit();
  EXPECT_EQ(asked, 1);
  EXPECT_FALSE(delegate.quitting());
  const auto sitting = app.gate().open(OwnerPurpose::quit);
  sitting->tryPin(SecretText(pin), [](GateAnswer) {});
  runUntil([&] { return quit.has_value(); });
  EXPECT_TRUE(*quit);
}

TEST_F(GuardCommandsTest, TheSystemsQuitOrderNeedsNoProof) {
  std::optional<bool> quit;
  app.appDelegate().quit = [&](bool saved) { quit = saved; };
  choosePin();
  say("on");
  devices.quitSender.order({"logo", true, "logind"});
  runUntil([&] { return quit.has_value(); });
  EXPECT_TRUE(*quit);
  EXPECT_TRUE(app.store().armed()) << "the guard is on again after the next login";
}

}  // namespace
}  // namespace brindle
