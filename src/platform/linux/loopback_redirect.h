#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "base/lifetime.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Waits on a loopback port of the system's choice for the browser to come back (OAuth 2.0 for
/// native apps, RFC 8252, 7.3). It knows one path and answers each request with one plain page.
/// Whoever reaches it is a program on this machine, but any: what comes is outside data. Main
/// thread only.
class LoopbackRedirect {
 public:
  /// `came` gets the query of the first request for `path`, from the main loop, once.
  LoopbackRedirect(MainLoop& loop, std::string path, std::function<void(std::string query)> came);

  bool listening() const { return static_cast<bool>(watch_); }
  /// "http://127.0.0.1:PORT" and the path.
  std::string uri() const;

 private:
  struct Visitor {
    Descriptor socket;
    std::string request;
    Subscription watch;
    Timer patience;
  };
  using Visitors = std::list<Visitor>;

  bool listen();
  void accept();
  void read(Visitors::iterator visitor);
  void answer(Visitors::iterator visitor, const char* status, const char* text);
  void judge(Visitors::iterator visitor);
  void leave(Visitors::iterator visitor);

  MainLoop& loop_;
  std::string path_;
  std::function<void(std::string)> came_;
  Descriptor listener_;
  std::uint16_t port_ = 0;
  Visitors visitors_;
  Subscription watch_;
  Lifetime lifetime_;
};

}  // namespace brindle
