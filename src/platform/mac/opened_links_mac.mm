#include "platform/mac/opened_links_mac.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include "platform/mac/mac_support.h"

namespace {
using Opened = brindle::Listeners<const std::string&>;
}

@interface BrindleLinkReceiver : NSObject
- (instancetype)initWithOpened:(std::weak_ptr<Opened>)opened;
- (void)deliver:(const std::string&)link;
- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation BrindleLinkReceiver {
  std::weak_ptr<Opened> _opened;
}
- (instancetype)initWithOpened:(std::weak_ptr<Opened>)opened {
  if ((self = [super init])) _opened = std::move(opened);
  return self;
}
- (void)deliver:(const std::string&)link {
  brindle::mac::onMain([weak = _opened, link] {
    if (const auto opened = weak.lock()) opened->tell(link);
  });
}
- (void)getUrl:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
  NSString* link = [event paramDescriptorForKeyword:keyDirectObject].stringValue;
  if (link) [self deliver:brindle::mac::stringOf(link)];
}
@end

namespace brindle {
namespace {

std::string placeOf(NSURL* bundle) { return mac::stringOf(bundle.URLByStandardizingPath.path); }

class MacAppOpenedLinks final : public MacOpenedLinks {
 public:
  MacAppOpenedLinks() {
    BrindleLinkReceiver* receiver = receiver_;
    const auto install = ^{
      [NSAppleEventManager.sharedAppleEventManager setEventHandler:receiver
                                                       andSelector:@selector(getUrl:withReplyEvent:)
                                                     forEventClass:kInternetEventClass
                                                        andEventID:kAEGetURL];
    };
    install();
    // Again: the window toolkit's own handler, made while launching, has taken its place.
    launched_ = [NSNotificationCenter.defaultCenter
        addObserverForName:NSApplicationDidFinishLaunchingNotification
                    object:nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification*) {
                  install();
                }];
  }
  ~MacAppOpenedLinks() override {
    [NSNotificationCenter.defaultCenter removeObserver:launched_];
    // The manager holds the receiver weakly, without taking note of its end.
    [NSAppleEventManager.sharedAppleEventManager removeEventHandlerForEventClass:kInternetEventClass
                                                                      andEventID:kAEGetURL];
  }

  Subscription onLink(std::function<void(const std::string&)> opened) override {
    return opened_->add(std::move(opened));
  }
  void deliver(const std::string& link) override { [receiver_ deliver:link]; }

  bool registered(const std::string& scheme) const override {
    NSURL* link = [NSURL URLWithString:mac::plainText(scheme + ":/")];
    NSURL* opener = link ? [NSWorkspace.sharedWorkspace URLForApplicationToOpenURL:link] : nil;
    // Another copy of this application would be another program.
    return opener && placeOf(opener) == placeOf(NSBundle.mainBundle.bundleURL);
  }

  ServiceReport report() const override {
    const bool bundled = NSBundle.mainBundle.bundleIdentifier != nil;
    return {"links", "Apple events", bundled,
            bundled ? "the system hands links to the application"
                    : "not an application bundle: no link leads here"};
  }

 private:
  std::shared_ptr<Opened> opened_ = std::make_shared<Opened>();
  BrindleLinkReceiver* receiver_ = [[BrindleLinkReceiver alloc] initWithOpened:opened_];
  id<NSObject> launched_ = nil;
};

}  // namespace

std::unique_ptr<MacOpenedLinks> makeMacOpenedLinks() {
  return std::make_unique<MacAppOpenedLinks>();
}

}  // namespace brindle
