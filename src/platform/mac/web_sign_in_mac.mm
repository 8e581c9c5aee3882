#import <AppKit/AppKit.h>
#import <AuthenticationServices/AuthenticationServices.h>

#include "base/lifetime.h"
#include "platform/awaited_end.h"
#include "platform/http.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/sign_in_anchor_mac.h"

namespace brindle {
namespace {

using How = WebSignInEnd::How;
using Handler = void (^)(NSURL* _Nullable, NSError* _Nullable);

constexpr Duration patience = std::chrono::minutes(10);

ASWebAuthenticationSession* newSession(NSURL* page, NSString* scheme, Handler handler) {
  if (@available(macOS 14.4, *)) {
    return [[ASWebAuthenticationSession alloc]
              initWithURL:page
                 callback:[ASWebAuthenticationSessionCallback callbackWithCustomScheme:scheme]
        completionHandler:handler];
  }
  return [[ASWebAuthenticationSession alloc] initWithURL:page
                                       callbackURLScheme:scheme
                                       completionHandler:handler];
}

bool isCancelled(NSError* error) {
  return [error.domain isEqualToString:ASWebAuthenticationSessionErrorDomain] &&
         error.code == ASWebAuthenticationSessionErrorCodeCanceledLogin;
}

WebSignInEnd endOf(NSURL* link, NSError* error, const std::string& redirectUri) {
  if (link) return {How::redirected, mac::stringOf(link.absoluteString), redirectUri, {}};
  if (isCancelled(error)) return {How::cancelled, {}, redirectUri, {}};
  return {How::failed, {}, redirectUri, mac::describe(error)};
}

/// What is on the screen. The session holds its anchor weakly.
struct Shown {
  ASWebAuthenticationSession* session = nil;
  BrindleSignInAnchor* anchor = nil;
  Timer patience;

  ~Shown() { [session cancel]; }
};

class MacWebSignIn final : public WebSignIn {
 public:
  explicit MacWebSignIn(Scheduler& scheduler) : scheduler_(scheduler) {}

  Subscription begin(WebSignInAsk ask, std::function<void(WebSignInEnd)> done) override {
    end_.tell(scheduler_, {How::cancelled, {}, redirectUri_, {}});
    redirectUri_ = ask.callbackScheme + ":" + ask.callbackPath;
    auto shown = std::make_shared<Shown>();
    Shown& showing = *shown;
    auto waiting = end_.expect(std::move(done),
                               Subscription([held = std::move(shown)]() mutable { held.reset(); }));
    const std::string problem = show(showing, ask);
    if (!problem.empty()) end_.tell(scheduler_, {How::failed, {}, redirectUri_, problem});
    return waiting;
  }

  ServiceReport report() const override {
    const bool windows = NSApp != nil;
    return {"web sign-in", "ASWebAuthenticationSession", windows,
            windows ? "the system shows the page" : "no windows: the system shows no page"};
  }

 private:
  /// Why nothing is shown; empty when it is.
  std::string show(Shown& shown, const WebSignInAsk& ask) {
    const std::string page = ask.page(redirectUri_);
    NSURL* url = httpUrlAllowed(page) ? [NSURL URLWithString:mac::plainText(page)] : nil;
    if (!url) return "the page has no address that may be opened";
    shown.anchor = [BrindleSignInAnchor anchor];
    if (!shown.anchor) return "no windows: the system shows no page";
    // Only the last attempt counts: a session that is cancelled tells so, later.
    const std::function<void(WebSignInEnd)> ended =
        lifetime_.guard([this, number = ++attempt_](WebSignInEnd end) {
          if (number == attempt_) end_.tell(scheduler_, std::move(end));
        });
    shown.session =
        newSession(url, mac::plainText(ask.callbackScheme),
                   [ended, uri = redirectUri_](NSURL* link, NSError* error) {
                     mac::onMain([ended, end = endOf(link, error, uri)] { ended(end); });
                   });
    shown.session.presentationContextProvider = shown.anchor;
    shown.session.prefersEphemeralWebBrowserSession = YES;
    shown.patience = scheduler_.after(patience, lifetime_.guard([this] {
      end_.tell(scheduler_, {How::cancelled, {}, redirectUri_, {}});
    }));
    return [shown.session start] ? "" : "the system does not show the page";
  }

  Scheduler& scheduler_;
  std::string redirectUri_;
  int attempt_ = 0;
  AwaitedEnd<WebSignInEnd> end_;
  Lifetime lifetime_;
};

}  // namespace

std::unique_ptr<WebSignIn> makeMacWebSignIn(Scheduler& scheduler) {
  return std::make_unique<MacWebSignIn>(scheduler);
}

}  // namespace brindle
