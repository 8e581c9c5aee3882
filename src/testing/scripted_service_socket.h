#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"
#include "testing/scripted_service.h"

namespace brindle {

/// A scripted service on 127.0.0.1, HTTP/1.1 (RFC 9112) with kept connections and bodies of a told
/// length. It lives on a main loop, which may be the client's own. Loop and service outlive it.
class ScriptedServiceSocket {
 public:
  /// Port 0: any that is free.
  ScriptedServiceSocket(MainLoop& loop, ScriptedService& service, std::uint16_t port = 0);
  ScriptedServiceSocket(const ScriptedServiceSocket&) = delete;
  ScriptedServiceSocket& operator=(const ScriptedServiceSocket&) = delete;
  ~ScriptedServiceSocket();

  /// 0 when it could not listen.
  std::uint16_t port() const { return port_; }
  /// "http://127.0.0.1:4711"
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  std::size_t accepted() const { return accepted_; }
  /// Connections open now.
  std::size_t open() const { return connections_.size(); }
  void closeConnections();

 private:
  class Connection;

  void acceptOne();

  MainLoop& loop_;
  ScriptedService& service_;
  Descriptor listener_;
  std::uint16_t port_ = 0;
  std::size_t accepted_ = 0;
  std::vector<std::shared_ptr<Connection>> connections_;
  Subscription watch_;
};

}  // namespace brindle
