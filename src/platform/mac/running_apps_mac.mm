#import <AppKit/AppKit.h>

#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

using Changed = std::function<void(const std::string& id, RunningApps::What what)>;

/// A program that is no bundle goes by its name: that it came to the front has to be told, or going
/// back to the application before it would be none.
std::string identifierOf(NSRunningApplication* app) {
  const std::string id = mac::stringOf(app.bundleIdentifier);
  return id.empty() ? mac::stringOf(app.localizedName) : id;
}

std::string identifierIn(NSNotification* notification) {
  id app = notification.userInfo[NSWorkspaceApplicationKey];
  if (![app isKindOfClass:NSRunningApplication.class]) return {};
  return identifierOf(static_cast<NSRunningApplication*>(app));
}

id<NSObject> observeWorkspace(NSNotificationName name, RunningApps::What what,
                              const std::shared_ptr<Changed>& changed) {
  const std::weak_ptr<Changed> weak = changed;
  return [NSWorkspace.sharedWorkspace.notificationCenter
      addObserverForName:name
                  object:nil
                   queue:NSOperationQueue.mainQueue
              usingBlock:^(NSNotification* notification) {
                const auto listener = weak.lock();
                const std::string id = identifierIn(notification);
                if (listener && *listener && !id.empty()) (*listener)(id, what);
              }];
}

/// The bundle of an application: the path itself, or the one around a program inside it.
NSBundle* bundleAround(const std::string& path) {
  for (std::string at = path; at.size() > 1; at.erase(at.rfind('/'))) {
    NSString* text = at.ends_with(".app") ? mac::textOf(at) : nil;
    if (text) return [NSBundle bundleWithURL:[NSURL fileURLWithPath:text]];
  }
  return nil;
}

NSBundle* bundleNamed(const std::string& id) {
  NSString* text = mac::textOf(id);
  if (!text || text.length == 0) return nil;
  NSURL* url = [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:text];
  return url ? [NSBundle bundleWithURL:url] : nil;
}

std::string nameOf(NSBundle* bundle) {
  for (NSString* key in @[ mac::names::bundleDisplayName, mac::names::bundleName ]) {
    id value = [bundle objectForInfoDictionaryKey:key];
    if (![value isKindOfClass:NSString.class]) continue;
    const std::string name = mac::stringOf(static_cast<NSString*>(value));
    if (!name.empty()) return name;
  }
  const std::string path = mac::stringOf(bundle.bundleURL.path);
  const std::string file = path.substr(path.rfind('/') + 1);
  return file.substr(0, file.rfind('.'));
}

class MacRunningApps final : public RunningApps {
 public:
  Subscription observe(Changed changed) override {
    auto listener = std::make_shared<Changed>(std::move(changed));
    id<NSObject> launched =
        observeWorkspace(NSWorkspaceDidLaunchApplicationNotification, What::launched, listener);
    id<NSObject> activated =
        observeWorkspace(NSWorkspaceDidActivateApplicationNotification, What::activated, listener);
    return Subscription([listener = std::move(listener), launched, activated]() mutable {
      // Not the default center: the workspace's notifications arrive only at its own.
      NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
      [center removeObserver:launched];
      [center removeObserver:activated];
      listener.reset();
    });
  }

  std::optional<std::string> frontmost() const override {
    const std::string id = identifierOf(NSWorkspace.sharedWorkspace.frontmostApplication);
    return id.empty() ? std::nullopt : std::optional(id);
  }

  std::optional<AppIdentity> identify(const std::string& pathOrId) const override {
    NSBundle* bundle = pathOrId.starts_with('/') ? bundleAround(pathOrId) : bundleNamed(pathOrId);
    const std::string id = mac::stringOf(bundle.bundleIdentifier);
    if (!bundle || id.empty()) return std::nullopt;
    return AppIdentity{id, nameOf(bundle)};
  }

  ServiceReport report() const override {
    const bool inSession = NSWorkspace.sharedWorkspace.frontmostApplication != nil;
    return {"running apps", "NSWorkspace", inSession,
            inSession
                ? "told of what comes to the front, and of starts but those without a Dock icon"
                : "no application is in front: nothing announces them"};
  }
};

}  // namespace

std::unique_ptr<RunningApps> makeMacRunningApps() { return std::make_unique<MacRunningApps>(); }

}  // namespace brindle
