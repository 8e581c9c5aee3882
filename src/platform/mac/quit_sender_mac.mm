#include "platform/mac/quit_sender_mac.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include "platform/mac/app_delegate_mac.h"
#include "platform/mac/code_check_mac.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/quit_signals_mac.h"

namespace brindle {
namespace {

std::string fourCharacters(OSType code) {
  if (code == 0) return "";
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>((code >> shift) & 0xff);
  return text;
}

/// A type or an enumerator, whichever the sender wrote; 0 when it is neither.
OSType codeOf(NSAppleEventDescriptor* descriptor) {
  if (!descriptor) return 0;
  return descriptor.descriptorType == typeType ? descriptor.typeCodeValue
                                               : descriptor.enumCodeValue;
}

std::string reasonOf(NSAppleEventDescriptor* event) {
  const OSType asAttribute = codeOf([event attributeDescriptorForKeyword:kAEQuitReason]);
  if (asAttribute != 0) return fourCharacters(asAttribute);
  return fourCharacters(codeOf([event paramDescriptorForKeyword:kAEQuitReason]));
}

mac::EventSender senderOf(NSAppleEventDescriptor* event) {
  mac::EventSender sender;
  sender.auditToken = [event attributeDescriptorForKeyword:keySenderAuditTokenAttr].data;
  sender.actualToken = [event attributeDescriptorForKeyword:keyActualSenderAuditToken].data;
  sender.pid = [event attributeDescriptorForKeyword:keySenderPIDAttr].int32Value;
  return sender;
}

/// Reads the event while it is being delivered; later it is gone.
QuitOrder currentOrder() {
  NSAppleEventDescriptor* event = NSAppleEventManager.sharedAppleEventManager.currentAppleEvent;
  const bool isQuit =
      event && event.eventClass == kCoreEventClass && event.eventID == kAEQuitApplication;
  if (!isQuit) return {"", false, "this application"};
  const mac::EventSender sender = senderOf(event);
  return {reasonOf(event), mac::isLoginWindow(sender), mac::describe(sender)};
}

/// While the launch is being finished, the event is the one that caused it.
bool launchedByLogin() {
  NSAppleEventDescriptor* event = NSAppleEventManager.sharedAppleEventManager.currentAppleEvent;
  const bool opens =
      event && event.eventClass == kCoreEventClass && event.eventID == kAEOpenApplication;
  return opens &&
         codeOf([event paramDescriptorForKeyword:keyAEPropData]) == keyAELaunchedAsLogInItem;
}

/// What the delegate's calls change.
struct AppState {
  Listeners<QuitOrder> ordered;
  bool appKitWaits = false;
  bool startedAtLogin = false;
};

/// Whether AppKit is to wait.
bool mayNotQuitYet(const std::shared_ptr<AppState>& state) {
  // Nobody listens before the guard is loaded and after it is closed: then quitting is plain.
  if (state->ordered.empty()) return false;
  state->appKitWaits = true;
  mac::onMain([weak = std::weak_ptr(state), order = currentOrder()] {
    const auto alive = weak.lock();
    if (alive && !alive->ordered.empty()) return alive->ordered.tell(order);
    // Whoever listened has gone meanwhile; AppKit still waits for an answer.
    [NSApplication.sharedApplication replyToApplicationShouldTerminate:YES];
  });
  return true;
}

class MacAppQuitSender final : public MacQuitSender {
 public:
  MacAppQuitSender() {
    const std::weak_ptr<AppState> weak = state_;
    events_->terminates = [weak] {
      const auto state = weak.lock();
      return state && mayNotQuitYet(state);
    };
    events_->launches = [weak] {
      if (const auto state = weak.lock()) state->startedAtLogin = launchedByLogin();
    };
    NSApplication.sharedApplication.delegate = delegate_;
  }
  ~MacAppQuitSender() override {
    NSApplication* application = NSApplication.sharedApplication;
    if (application.delegate == delegate_) application.delegate = nil;
  }

  Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) override {
    return state_->ordered.add(std::move(ordered));
  }

  bool reply(bool quit) override {
    if (!std::exchange(state_->appKitWaits, false)) return false;
    [NSApplication.sharedApplication replyToApplicationShouldTerminate:quit ? YES : NO];
    return true;
  }

  bool startedAtLogin() const override { return state_->startedAtLogin; }

  void listenForPush(PushRegistration::Listener listener) override {
    events_->push = std::move(listener);
  }

  ServiceReport report() const override {
    return {"quit sender", "Apple events and signals", true,
            "a quit is the system's when its sender is the login window"};
  }

 private:
  std::shared_ptr<AppState> state_ = std::make_shared<AppState>();
  std::shared_ptr<mac::AppEvents> events_ = std::make_shared<mac::AppEvents>();
  BrindleAppDelegate* delegate_ =  // the application holds it weakly
      [[BrindleAppDelegate alloc] initWithEvents:events_];
  mac::QuitSignals signals_{std::shared_ptr<Listeners<QuitOrder>>(state_, &state_->ordered)};
};

}  // namespace

std::unique_ptr<MacQuitSender> makeMacQuitSender() { return std::make_unique<MacAppQuitSender>(); }

}  // namespace brindle
