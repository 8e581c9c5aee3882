#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "app/brindle_app.h"
#include "app/doctor.h"
#include "app/guard_commands.h"
#include "app/memory_services.h"
#include "testing/recording_log.h"
#include "testing/scripted_service.h"
#include "testing/temporary_folder.h"

namespace brindle {

/// The whole application on devices in memory, in a private folder, with a real loop: sockets and
/// worker threads need one. It never waits for time, only for what it was told to wait for.
class AppFixture : public testing::Test {
 protected:
  static constexpr std::string_view pin = "730164";
  static constexpr std::string_view wrongPin = "918273";

  AppFixture() {
    devices.screen.setReachable(true);
    app.start([this] { started = true; });
    runUntil([this] { return started; });
  }
  void runUntil(const std::function<bool()>& happened) {
    bool late = false;
    const Timer limit = devices.scheduler.after(std::chrono::seconds(20), [&] { late = true; });
    const Timer tick = devices.scheduler.every(std::chrono::milliseconds(1), [] {});
    // A turn at a time: what is waited for need not be an event of the loop.
    while (!happened() && !late) {
      devices.scheduler.post([this] { devices.scheduler.stop(); });
      devices.scheduler.run();
    }
    ASSERT_FALSE(late) << lines.all();
  }
  /// One conversation with the guard, with a try for each demand for proof. The last reply.
  Reply command(Request request, std::vector<Request> tries = {}) {
    std::vector<Reply> replies;
    CommandSession session(commands, app.gate(), [&](Reply reply) { replies.push_back(reply); });
    EXPECT_TRUE(session.receive(std::move(request)));
    runUntil([&] { return replies.size() == 1; });
    for (std::size_t i = 0; i < tries.size() && !session.over(); ++i) {
      EXPECT_TRUE(session.receive(std::move(tries[i])));
      runUntil([&] { return replies.size() == i + 2; });
    }
    return replies.back();
  }
  static Request tryWith(std::string_view kind, std::string_view secret) {
    Request request{.command = "try", .target = std::string(kind)};
    request.secrets.push_back({std::string(kind), SecretText(secret)});
    return request;
  }
  static std::vector<Request> tries(
      std::initializer_list<std::pair<std::string_view, std::string_view>> each) {
    std::vector<Request> all;
    for (const auto& [kind, secret] : each) all.push_back(tryWith(kind, secret));
    return all;
  }
  void choosePin() {
    bool saved = false;
    app.secrets().savePin(SecretText(pin), SecretText(pin), nullptr,
                          [&](PinSaved outcome) { saved = outcome == PinSaved::saved; });
    runUntil([&] { return saved; });
  }
  Reply say(const std::string& name) { return command({.command = name}); }

  TemporaryFolder home;  // goes last: the worker may write until the application is gone
  const std::string& folder = home.path();
  AppPaths paths = AppPaths::below(folder);
  RecordingLog lines;
  MemoryServices devices{paths, lines};
  ScriptedService scripted{devices.scheduler};
  bool served = [this] {
    devices.http.setServer(scripted.server());
    devices.watchTransfer.setServer(scripted.server());
    devices.alertTransfer.setServer(scripted.server());
    devices.vaultTransfer.setServer(scripted.server());
    return devices.preferences.set("service.url", "https://service.test");
  }();
  BrindleMacApp app{devices.services(), paths.data};
  Doctor doctor{devices.services(), {"guarded window", "none", false, "a test"}, [this] {
                  return app.watching().report(!app.store().armed());
                }};
  GuardCommands commands{app, true, [this](bool json, auto done) { doctor.ask(json, done); }};
  bool started = false;
};

}  // namespace brindle
