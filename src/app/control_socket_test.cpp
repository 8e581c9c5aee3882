#include "app/control_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "app/instance_lock.h"
#include "app/reach_guard.h"
#include "testing/app_fixture.h"

namespace brindle {
namespace {

class ControlSocketTest : public AppFixture {
 protected:
  ControlSocketTest() { EXPECT_EQ(socket.listen(paths.socketFile()), std::nullopt); }
  Descriptor connected() const {
    Descriptor peer(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    paths.socketFile().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(peer.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return peer;
  }
  static void send(const Descriptor& peer, std::string_view text) {
    static_cast<void>(::send(peer.get(), text.data(), text.size(), MSG_NOSIGNAL));
  }
  /// All that the guard says until it closes the connection.
  std::string heard(const Descriptor& peer) {
    std::string text;
    runUntil([&] {
      std::array<char, 4096> bytes;
      const ssize_t got = recv(peer.get(), bytes.data(), bytes.size(), 0);
      if (got > 0) text.append(bytes.data(), static_cast<std::size_t>(got));
      return got == 0 || (got < 0 && errno != EAGAIN);
    });
    return text;
  }

  ControlSocket socket{
      devices.scheduler,
      Log(lines),
      [this](auto send) { return std::make_unique<CommandSession>(commands, app.gate(), send); },
      {std::chrono::milliseconds(200), std::chrono::seconds(10)}};
};

TEST_F(ControlSocketTest, BadPeersAreClosedAndTheGuardGoesOn) {
  const std::string rows[] = {"garbage\n", std::string(20000, 'x'),
                              encodeRequest({.command = "try", .target = "pin"})};
  std::size_t closed = 0;
  for (const auto& row : rows) {
    const auto peer = connected();
    send(peer, row);
    EXPECT_EQ(heard(peer), "");
    EXPECT_EQ(lines.count("socket: request not understood, connection closed"), ++closed);
  }
  { connected(); }  // gone at once
  const auto silent = connected();
  EXPECT_EQ(heard(silent), "") << "shut out after its time";
  runUntil([this] { return socket.connections() == 0; });
  std::vector<Descriptor> peers;
  for (std::size_t i = 0; i <= ControlSocket::mostConnections; ++i) peers.push_back(connected());
  EXPECT_EQ(heard(peers.back()), "") << "there is room for so many only";
  EXPECT_TRUE(lines.has("socket: refused, 8 connections")) << lines.all();
}

TEST_F(ControlSocketTest, RefusesOtherUsers) {
  struct stat found {};
  ASSERT_EQ(stat(paths.runtime.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0700u);
  if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
  for (const auto& each : {folder, folder + "/run", paths.runtime}) chmod(each.c_str(), 0755);
  chmod(paths.socketFile().c_str(), 0777);
  const pid_t child = fork();
  if (child == 0) {
    const bool other = setuid(65534) == 0;
    const auto peer = connected();
    _exit(other ? 0 : 1);
  }
  runUntil([this] { return lines.has("socket: refused, user 65534"); });
  int status = 0;
  waitpid(child, &status, 0);
}

TEST_F(ControlSocketTest, OneInstancePerDataFolderAndASocketThatACrashLeftIsReplaced) {
  const std::string path = folder + "/run/stale.sock";
  std::ofstream(path) << "left";
  ControlSocket second(devices.scheduler, Log(lines), [](auto) { return nullptr; });
  EXPECT_EQ(second.listen(path), std::nullopt);
  const auto why = second.listen("/" + std::string(200, 'x'));
  ASSERT_TRUE(why);
  EXPECT_NE(why->find("too long"), std::string::npos);

  InstanceLock first, another;
  EXPECT_EQ(first.take(paths.lockFile()), InstanceLock::Outcome::taken);
  EXPECT_EQ(another.take(paths.lockFile()), InstanceLock::Outcome::heldByAnother);
  EXPECT_TRUE(reachGuard(paths).client) << "who holds the lock is talked to";
  AppPaths elsewhere = AppPaths::below(folder + "/other");
  const auto alone = reachGuard(elsewhere);
  EXPECT_FALSE(alone.client);
  EXPECT_EQ(alone.problem, "");
}

}  // namespace
}  // namespace brindle
