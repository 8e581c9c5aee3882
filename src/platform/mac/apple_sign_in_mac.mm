#import <AppKit/AppKit.h>
#import <AuthenticationServices/AuthenticationServices.h>

#include "base/lifetime.h"
#include "platform/awaited_end.h"
#include "platform/mac/entitlement_mac.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/sign_in_anchor_mac.h"

namespace {
using Ended = std::function<void(brindle::AppleSignInEnd)>;
using How = brindle::AppleSignInEnd::How;

brindle::AppleSignInEnd endOf(id<ASAuthorizationCredential> credential) {
  if (![credential isKindOfClass:ASAuthorizationAppleIDCredential.class]) {
    return {How::failed, {}, "not an Apple ID"};
  }
  NSData* token = static_cast<ASAuthorizationAppleIDCredential*>(credential).identityToken;
  if (!token) return {How::failed, {}, "no identity token"};
  return {How::authorized, std::string(brindle::textOf(brindle::mac::bytesOf(token))), {}};
}

bool isCancelled(NSError* error) {
  return [error.domain isEqualToString:ASAuthorizationErrorDomain] &&
         error.code == ASAuthorizationErrorCanceled;
}
}  // namespace

@interface BrindleAppleSignInDelegate : NSObject <ASAuthorizationControllerDelegate>
- (instancetype)initWithEnded:(Ended)ended;
@end

@implementation BrindleAppleSignInDelegate {
  Ended _ended;
}
- (instancetype)initWithEnded:(Ended)ended {
  if ((self = [super init])) _ended = std::move(ended);
  return self;
}
- (void)tell:(const brindle::AppleSignInEnd&)end {
  brindle::mac::onMain([ended = _ended, end] { ended(end); });
}
- (void)authorizationController:(ASAuthorizationController*)controller
    didCompleteWithAuthorization:(ASAuthorization*)authorization {
  [self tell:endOf(authorization.credential)];
}
- (void)authorizationController:(ASAuthorizationController*)controller
           didCompleteWithError:(NSError*)error {
  if (isCancelled(error)) return [self tell:{How::cancelled, {}, {}}];
  [self tell:{How::failed, {}, brindle::mac::describe(error)}];
}
@end

namespace brindle {
namespace {

/// What is on the screen. The controller holds the other two weakly.
struct Shown {
  ASAuthorizationController* controller = nil;
  BrindleAppleSignInDelegate* delegate = nil;
  BrindleSignInAnchor* anchor = nil;

  ~Shown() { [controller cancel]; }
};

class MacAppleSignIn final : public AppleSignIn {
 public:
  explicit MacAppleSignIn(Scheduler& scheduler) : scheduler_(scheduler) {}

  bool available() const override { return NSApp != nil && entitled(); }

  Subscription begin(const std::string& nonceHash,
                     std::function<void(AppleSignInEnd)> done) override {
    end_.tell(scheduler_, {How::cancelled, {}, {}});
    auto shown = std::make_shared<Shown>();
    Shown& showing = *shown;
    auto waiting = end_.expect(std::move(done),
                               Subscription([held = std::move(shown)]() mutable { held.reset(); }));
    if (!show(showing, nonceHash)) {
      end_.tell(scheduler_, {How::failed, {}, "no windows: the system cannot ask"});
    }
    return waiting;
  }

  ServiceReport report() const override {
    const bool own = entitled();
    return {"apple sign-in", "AuthenticationServices", available(),
            !own           ? "this build is not entitled to it"
            : NSApp == nil ? "no windows: the system cannot ask"
                           : "the system asks for the Apple ID"};
  }

 private:
  static bool entitled() { return mac::entitlement(mac::names::appleSignIn) != nil; }

  bool show(Shown& shown, const std::string& nonceHash) {
    shown.anchor = [BrindleSignInAnchor anchor];
    if (!shown.anchor) return false;
    ASAuthorizationAppleIDRequest* request =
        [[[ASAuthorizationAppleIDProvider alloc] init] createRequest];
    request.requestedScopes = @[ ASAuthorizationScopeEmail ];
    request.nonce = mac::plainText(nonceHash);
    // Only the last attempt counts: a controller that is cancelled tells so, later.
    shown.delegate = [[BrindleAppleSignInDelegate alloc]
        initWithEnded:lifetime_.guard([this, number = ++attempt_](AppleSignInEnd end) {
          if (number == attempt_) end_.tell(scheduler_, std::move(end));
        })];
    shown.controller =
        [[ASAuthorizationController alloc] initWithAuthorizationRequests:@[ request ]];
    shown.controller.delegate = shown.delegate;
    shown.controller.presentationContextProvider = shown.anchor;
    [shown.controller performRequests];
    return true;
  }

  Scheduler& scheduler_;
  int attempt_ = 0;
  AwaitedEnd<AppleSignInEnd> end_;
  Lifetime lifetime_;
};

}  // namespace

std::unique_ptr<AppleSignIn> makeMacAppleSignIn(Scheduler& scheduler) {
  return std::make_unique<MacAppleSignIn>(scheduler);
}

}  // namespace brindle
