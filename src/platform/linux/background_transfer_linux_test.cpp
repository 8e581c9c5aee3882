#include "platform/linux/background_transfer_linux.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "platform/contract/background_transfer_contract.h"
#include "testing/private_bus.h"
#include "testing/scripted_service_socket.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

struct LinuxTransferBackend {
  TemporaryFolder folder;
  RecordingLog lines;
  LinuxScheduler loop;
  ScriptedService service{loop};
  ScriptedServiceSocket socket{loop, service};
  std::string spool = folder / "transfers";
  std::string program = BRINDLE_COURIER;
  PosixFiles files{spool};
  DbusService* manager = nullptr;
  std::optional<CourierLauncher> launcher;
  std::optional<LinuxBackgroundTransfer> transfer;

  LinuxBackgroundTransfer& launch() {
    quit();
    launcher.emplace(loop, files, spool, program, manager, Log(lines));
    return transfer.emplace(*launcher, files, "brindle.alerts", Log(lines));
  }
  void quit() {
    transfer.reset();
    launcher.reset();
  }
  std::string url() const { return socket.url(); }
  std::string put(const std::string& name, const Bytes& bytes) {
    std::ofstream(folder / name, std::ios::binary) << textOf(bytes);
    return folder / name;
  }
  bool until(const std::function<bool()>& done) { return runUntil(loop, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, BackgroundTransferContract, LinuxTransferBackend);

class LinuxTransferTest : public BackgroundTransferContract<LinuxTransferBackend> {
 protected:
  /// No job, result or half-written file is left.
  bool spoolEmpty() {
    return std::ranges::none_of(
        fs::recursive_directory_iterator(backend.spool), [](const auto& each) {
          return each.is_regular_file() && each.path().filename() != "courier.lock";
        });
  }
};

TEST_F(LinuxTransferTest, ACourierKilledAtAnyStepLosesNothing) {
  // How often the service may get the body when the kill comes here.
  const std::vector<std::pair<std::string, std::size_t>> steps{
      {"started", 1},  {"locked", 1},         {"read", 1},        {"sending", 1}, {"sent", 2},
      {"answered", 2}, {"result written", 1}, {"job removed", 1}, {"unlocked", 1}};
  for (const auto& [step, most] : steps) {
    SCOPED_TRACE(step);
    const std::string once = backend.put("once", {});
    setenv("BRINDLE_COURIER_STOP_AT", (step + ":" + once).c_str(), 1);
    backend.quit();
    backend.spool = backend.folder / step;  // the courier of the step before is still there
    Results results;
    BackgroundTransfer& transfer = launch(results);
    backend.service.forgetRequests();
    const std::string content(100'000, 'x');
    ASSERT_TRUE(transfer.send(upload(content), step));
    for (const auto& each : fs::recursive_directory_iterator(backend.spool)) {
      EXPECT_EQ(each.status().permissions() & fs::perms(077), fs::perms::none) << each.path();
    }
    ASSERT_TRUE(backend.until([&] { return !results.empty(); }));
    ASSERT_TRUE(backend.until([&] { return !fs::exists(once) && spoolEmpty(); }))
        << "never came there";
    EXPECT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].answer.status, 200);
    const auto& requests = backend.service.requests();
    EXPECT_LE(requests.size(), most);
    EXPECT_TRUE(
        std::ranges::any_of(requests, [&](const auto& each) { return each.text() == content; }));
  }
  unsetenv("BRINDLE_COURIER_STOP_AT");
}

/// A program that hands over one upload, waits for its result and notes it in the file `told`. It
/// is killed after its `left`-th change to the disk.
int handOver(const LinuxTransferBackend& with, HttpRequest request, const std::string& told,
             int left) {
  RecordingLog lines;
  LinuxScheduler loop;
  PosixFiles files(with.spool, {}, [&](const FileStep&) {
    if (--left == 0) std::raise(SIGKILL);
  });
  CourierLauncher launcher(loop, files, with.spool, with.program, nullptr, Log(lines));
  LinuxBackgroundTransfer transfer(launcher, files, "brindle.alerts", Log(lines));
  bool over = false;
  transfer.start([&](const TransferResult& result) {
    std::ofstream(told) << result.description << result.answer.status;
    over = true;
  });
  if (!transfer.send(std::move(request), "peer")) return 1;
  return runUntil(loop, [&] { return over; }) ? 0 : 2;
}

TEST_F(LinuxTransferTest, AProgramKilledAtAnyStepLosesNothing) {
  const HttpRequest request = upload(std::string(100'000, 'y'));
  const std::string told = backend.folder / "told";
  for (int stop = 1, status = -1; status != 0; ++stop) {
    SCOPED_TRACE(stop);
    ASSERT_LT(stop, 50);
    fs::remove_all(backend.spool);
    fs::remove(told);
    backend.service.forgetRequests();
    ChildProcess peer([&] { return handOver(backend, request, told, stop); });
    std::optional<int> ended;
    ASSERT_TRUE(backend.until([&] { return (ended = peer.poll()).has_value(); }));
    status = *ended;
    Results results;
    BackgroundTransfer& transfer = launch(results);
    ASSERT_TRUE(backend.until([&] { return spoolEmpty(); }));
    const auto& requests = backend.service.requests();
    EXPECT_LE(requests.size(), 1u);
    if (!requests.empty()) {
      EXPECT_EQ(requests[0].body.size(), 100'000u);
      EXPECT_TRUE(fs::exists(told) || results.size() == 1u) << "nobody heard of the answer";
    }
    EXPECT_TRUE(unfinished(transfer).empty());
  }
}

TEST_F(LinuxTransferTest, WhatCannotBeWrittenOrStartedIsSaid) {
  Results results;
  std::ofstream(backend.spool) << "a file in its place";
  EXPECT_FALSE(launch(results).send(upload("body"), "label"));
  EXPECT_TRUE(backend.lines.has("background transfer: its folders cannot be used"));
  fs::remove(backend.spool);
  backend.program = "/nonexistent/brindle-courier";
  BackgroundTransfer& transfer = launch(results);
  const HttpRequest request = upload("body");
  const std::string todo = backend.spool + "/brindle.alerts/todo";
  fs::rename(todo, todo + " aside");
  EXPECT_FALSE(transfer.send(request, "no room"));
  fs::rename(todo + " aside", todo);
  EXPECT_TRUE(backend.lines.has("background transfer: not handed over, error %{public}d"));
  EXPECT_TRUE(unfinished(transfer).empty());
  EXPECT_TRUE(spoolEmpty());
  ASSERT_TRUE(transfer.send(request, "label"));
  EXPECT_TRUE(backend.lines.has("background transfer: brindle-courier not started, %{public}s"));
  fs::remove_all(todo);
  ASSERT_TRUE(backend.until([&] { return !results.empty(); })) << "a job that vanished has ended";
  EXPECT_EQ(results[0].answer.status, 0);
}

TEST_F(LinuxTransferTest, TheServiceManagerIsAskedFirstAndAProcessStartedWhenItRefuses) {
  const PrivateBus bus;
  std::vector<std::string> command;
  using Property = sdbus::Struct<std::string, sdbus::Variant>;
  using Command = sdbus::Struct<std::string, std::vector<std::string>, bool>;
  std::optional<Peer> peer(std::in_place, bus.address(), "org.freedesktop.systemd1",
                           "/org/freedesktop/systemd1");
  peer->object()
      .registerMethod("StartTransientUnit")
      .onInterface("org.freedesktop.systemd1.Manager")
      .implementedAs([&](const std::string&, const std::string&, const std::vector<Property>& all,
                         const std::vector<sdbus::Struct<std::string, std::vector<Property>>>&) {
        command = all.at(1).get<1>().get<std::vector<Command>>().at(0).get<1>();
        throw sdbus::Error("org.freedesktop.DBus.Error.AccessDenied", "no");
        return sdbus::ObjectPath("/");
      });
  peer->serve();
  DbusLink session(backend.loop, Log(backend.lines), DbusBus::session);
  DbusService manager(session, Log(backend.lines), "org.freedesktop.systemd1");
  backend.manager = &manager;
  ASSERT_TRUE(backend.until([&] { return manager.present(); }));
  Results results;
  EXPECT_TRUE(launch(results).send(upload("body"), "label"));
  EXPECT_TRUE(backend.until([&] { return !results.empty(); }));
  backend.quit();
  peer.reset();
  EXPECT_EQ(command, (std::vector{backend.program, backend.spool}));
  EXPECT_TRUE(backend.lines.has("background transfer: no unit (%{public}s), a process instead"));
}

}  // namespace
}  // namespace brindle
