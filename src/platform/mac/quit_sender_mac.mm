#include "platform/mac/quit_sender_mac.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include "platform/mac/code_check_mac.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/quit_signals_mac.h"

namespace {
using Ordered = brindle::Listeners<brindle::QuitOrder>;

/// Lives with the sender.
struct Waiting {
  bool appKitWaits = false;
};

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

brindle::mac::EventSender senderOf(NSAppleEventDescriptor* event) {
  brindle::mac::EventSender sender;
  sender.auditToken = [event attributeDescriptorForKeyword:keySenderAuditTokenAttr].data;
  sender.actualToken = [event attributeDescriptorForKeyword:keyActualSenderAuditToken].data;
  sender.pid = [event attributeDescriptorForKeyword:keySenderPIDAttr].int32Value;
  return sender;
}

/// Reads the event while it is being delivered; later it is gone.
brindle::QuitOrder currentOrder() {
  NSAppleEventDescriptor* event = NSAppleEventManager.sharedAppleEventManager.currentAppleEvent;
  const bool isQuit =
      event && event.eventClass == kCoreEventClass && event.eventID == kAEQuitApplication;
  if (!isQuit) return {"", false, "this application"};
  const brindle::mac::EventSender sender = senderOf(event);
  return {reasonOf(event), brindle::mac::isLoginWindow(sender), brindle::mac::describe(sender)};
}
}  // namespace

@interface BrindleQuitDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithOrdered:(std::weak_ptr<Ordered>)ordered
                        waiting:(std::weak_ptr<Waiting>)waiting;
@end

@implementation BrindleQuitDelegate {
  std::weak_ptr<Ordered> _ordered;
  std::weak_ptr<Waiting> _waiting;
}
- (instancetype)initWithOrdered:(std::weak_ptr<Ordered>)ordered
                        waiting:(std::weak_ptr<Waiting>)waiting {
  if ((self = [super init])) {
    _ordered = std::move(ordered);
    _waiting = std::move(waiting);
  }
  return self;
}
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
  const auto ordered = _ordered.lock();
  const auto waiting = _waiting.lock();
  // Nobody listens before the guard is loaded and after it is closed: then quitting is plain.
  if (!ordered || !waiting || ordered->empty()) return NSTerminateNow;
  waiting->appKitWaits = true;
  const std::weak_ptr<Ordered> weak = _ordered;
  brindle::mac::onMain([weak, order = currentOrder()] {
    const auto listeners = weak.lock();
    if (listeners && !listeners->empty()) return listeners->tell(order);
    // Whoever listened has gone meanwhile; AppKit still waits for an answer.
    [NSApplication.sharedApplication replyToApplicationShouldTerminate:YES];
  });
  return NSTerminateLater;
}
@end

namespace brindle {
namespace {

class MacAppQuitSender final : public MacQuitSender {
 public:
  MacAppQuitSender() { NSApplication.sharedApplication.delegate = delegate_; }
  ~MacAppQuitSender() override {
    NSApplication* application = NSApplication.sharedApplication;
    if (application.delegate == delegate_) application.delegate = nil;
  }

  Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) override {
    return ordered_->add(std::move(ordered));
  }

  bool reply(bool quit) override {
    if (!std::exchange(waiting_->appKitWaits, false)) return false;
    [NSApplication.sharedApplication replyToApplicationShouldTerminate:quit ? YES : NO];
    return true;
  }

  ServiceReport report() const override {
    return {"quit sender", "Apple events and signals", true,
            "a quit is the system's when its sender is the login window"};
  }

 private:
  std::shared_ptr<Ordered> ordered_ = std::make_shared<Ordered>();
  std::shared_ptr<Waiting> waiting_ = std::make_shared<Waiting>();
  BrindleQuitDelegate* delegate_ =  // the application holds it weakly
      [[BrindleQuitDelegate alloc] initWithOrdered:ordered_ waiting:waiting_];
  mac::QuitSignals signals_{ordered_};
};

}  // namespace

std::unique_ptr<MacQuitSender> makeMacQuitSender() { return std::make_unique<MacAppQuitSender>(); }

}  // namespace brindle
