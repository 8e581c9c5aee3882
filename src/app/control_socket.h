#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "app/command_session.h"
#include "base/log.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Where commands reach the running guard: a Unix socket in a private folder, for this user's
/// programs only. Peers are not trusted: what they send is bounded, and one that stays silent is
/// shut out, so that nobody can use up the places. Main thread only.
class ControlSocket {
 public:
  using MakeSession =
      std::function<std::unique_ptr<CommandSession>(std::function<void(Reply)> send)>;

  static constexpr std::size_t mostConnections = 8;
  /// How long a peer may take.
  struct Limits {
    Duration request = std::chrono::seconds(10);  ///< for its first whole request
    Duration step = std::chrono::minutes(3);      ///< for each step after that: a person types
  };

  ControlSocket(MainLoop& scheduler, Log log, MakeSession makeSession)
      : ControlSocket(scheduler, log, std::move(makeSession), Limits()) {}
  ControlSocket(MainLoop& scheduler, Log log, MakeSession makeSession, Limits limits);
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  /// Replaces a socket that a crash left behind: only for the holder of the instance lock. The
  /// reason when it fails.
  std::optional<std::string> listen(const std::string& path);
  std::size_t connections() const { return connections_.size(); }

 private:
  class Connection;
  void accept();
  void drop(int id);

  MainLoop& scheduler_;
  Log log_;
  MakeSession makeSession_;
  Limits limits_;
  std::string path_;
  Descriptor listener_;
  Subscription watch_;
  std::map<int, std::unique_ptr<Connection>> connections_;
  int lastId_ = 0;
  Lifetime lifetime_;
};

/// A command's end of the conversation. Blocking.
class ControlClient {
 public:
  enum class Outcome { connected, nobodyThere, failed };

  /// Tells secrets only to a program of this user: anybody else's socket is `failed`.
  Outcome connect(const std::string& path);
  /// False when the guard is gone.
  bool send(const Request& request);
  std::optional<Reply> receive();

 private:
  Descriptor socket_;
  std::string received_;
};

}  // namespace brindle
