#pragma once

#include "base/lifetime.h"
#include "platform/awaited_end.h"
#include "platform/linux/browser_linux.h"
#include "platform/opened_links.h"
#include "platform/web_sign_in.h"

namespace brindle {

/// Sign-in in the person's own browser. The answer comes as a link where this program is what opens
/// such links, else to a loopback address. A browser that is closed is not noticed.
class LinuxWebSignIn final : public WebSignIn {
 public:
  LinuxWebSignIn(MainLoop& loop, OpenedLinks& links, DbusLink& session, Log log)
      : loop_(loop), links_(links), browser_(loop, session, log) {}

  [[nodiscard]] Subscription begin(WebSignInAsk ask,
                                   std::function<void(WebSignInEnd)> done) override;
  ServiceReport report() const override;

 private:
  struct Attempt;
  void receive(Attempt& attempt, const WebSignInAsk& ask);
  void end(WebSignInEnd::How how, std::string link = {}, std::string problem = {});

  MainLoop& loop_;
  OpenedLinks& links_;
  LinuxBrowser browser_;
  std::string redirectUri_;
  AwaitedEnd<WebSignInEnd> end_;
  Lifetime lifetime_;  // whoever waits may outlive this object
};

}  // namespace brindle
