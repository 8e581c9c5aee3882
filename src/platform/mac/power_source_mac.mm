#import <Foundation/Foundation.h>
#import <IOKit/IOKitLib.h>
#import <IOKit/ps/IOPSKeys.h>
#import <IOKit/ps/IOPowerSources.h>

#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/server_calls_mac.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 2s;
/// Whoever asks at once is not told "unknown", unless the system takes long to answer.
constexpr auto startTime = 500ms;

/// The adapter, as the system's power daemon tells it.
struct Supply {
  bool answered = false;
  std::optional<bool> onAdapter;
  bool battery = false;
};

bool isInternalBattery(NSDictionary<NSString*, id>* described) {
  id type = described[@kIOPSTypeKey];
  return [type isKindOfClass:NSString.class] && [type isEqual:@kIOPSInternalBatteryType];
}

bool hasInternalBattery(CFTypeRef information) {
  const mac::CfOwned<CFArrayRef> sources(IOPSCopyPowerSourcesList(information));
  for (id source in (__bridge NSArray<id>*)sources.get()) {
    const CFDictionaryRef described =
        IOPSGetPowerSourceDescription(information, (__bridge CFTypeRef)source);
    if (isInternalBattery((__bridge NSDictionary<NSString*, id>*)described)) return true;
  }
  return false;
}

Supply askForSupply() {
  const mac::CfOwned<CFTypeRef> information(IOPSCopyPowerSourcesInfo());
  if (!information) return {};
  NSString* providing = (__bridge NSString*)IOPSGetProvidingPowerSourceType(information.get());
  Supply supply{true, std::nullopt, hasInternalBattery(information.get())};
  if (providing) supply.onAdapter = [providing isEqualToString:@kIOPMACPowerKey] ? true : false;
  return supply;
}

/// The part of the kernel that knows of the lid.
class RootDomain {
 public:
  explicit RootDomain(IOServiceInterestCallback told, void* context)
      : service_(
            IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("IOPMrootDomain"))) {
    if (service_ == IO_OBJECT_NULL) return;
    port_ = IONotificationPortCreate(kIOMainPortDefault);
    if (!port_) return;
    IONotificationPortSetDispatchQueue(port_, dispatch_get_main_queue());
    const kern_return_t status = IOServiceAddInterestNotification(
        port_, service_, kIOGeneralInterest, told, context, &notifier_);
    if (status != kIOReturnSuccess) notifier_ = IO_OBJECT_NULL;
  }
  RootDomain(const RootDomain&) = delete;
  RootDomain& operator=(const RootDomain&) = delete;
  /// On the main thread, as the notices: none comes afterwards.
  ~RootDomain() {
    if (notifier_ != IO_OBJECT_NULL) IOObjectRelease(notifier_);
    if (port_) IONotificationPortDestroy(port_);
    if (service_ != IO_OBJECT_NULL) IOObjectRelease(service_);
  }

  bool tells() const { return notifier_ != IO_OBJECT_NULL; }
  /// The kernel answers at once. A machine without a lid has no such property.
  std::optional<bool> lidClosed() const {
    if (service_ == IO_OBJECT_NULL) return std::nullopt;
    id closed = CFBridgingRelease(IORegistryEntryCreateCFProperty(
        service_, (__bridge CFStringRef)mac::names::clamshellState, nullptr, 0));
    if (![closed isKindOfClass:NSNumber.class]) return std::nullopt;
    return static_cast<NSNumber*>(closed).boolValue ? true : false;
  }

 private:
  io_service_t service_ = IO_OBJECT_NULL;
  IONotificationPortRef port_ = nullptr;
  io_object_t notifier_ = IO_OBJECT_NULL;
};

class MacPowerSource final : public PowerSource {
 public:
  explicit MacPowerSource(Scheduler& scheduler)
      : calls_(scheduler, "brindle.supply", patience),
        root_(&MacPowerSource::rootTold, this),
        source_(IOPSNotificationCreateRunLoopSource(&MacPowerSource::supplyTold, this)) {
    if (source_) CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
    const auto first = std::make_shared<Supply>();
    if (calls_.finished([first] { *first = askForSupply(); }, startTime)) {
      take(*first);
    } else {
      look();
    }
  }
  /// On the main thread, whose loop runs the source: it is not called afterwards.
  ~MacPowerSource() override {
    if (source_) CFRunLoopSourceInvalidate(source_.get());
  }

  PowerReading read() const override { return reading_; }
  bool hasBattery() const override { return supply_.battery; }
  bool tellsLid() const override { return root_.tells() || !reading_.lidClosed; }
  void refresh() override { look(); }
  Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }

  ServiceReport report() const override {
    const auto says = [](bool answered, std::string detail) {
      return ServiceReport{"power source", "IOKit", answered, std::move(detail)};
    };
    if (!supply_.answered) return says(false, "the system does not tell of the adapter");
    if (!source_) return says(false, "the system does not announce changes of the adapter");
    const auto side = [](std::optional<bool> is, const char* yes, const char* no,
                         const char* unknown) {
      return !is ? unknown : *is ? yes : no;
    };
    std::string detail = side(reading_.onAdapter, "on the adapter", "off the adapter", "unknown");
    detail += supply_.battery ? ", with a battery, " : ", without a battery, ";
    detail += side(reading_.lidClosed, "lid closed", "lid open", "no lid");
    return says(true, detail + (tellsLid() ? "" : ", looked at each second"));
  }

 private:
  static void rootTold(void* context, io_service_t, std::uint32_t, void*) {
    static_cast<MacPowerSource*>(context)->look();
  }
  static void supplyTold(void* context) { static_cast<MacPowerSource*>(context)->look(); }

  void look() {
    if (std::exchange(looking_, true)) {
      again_ = true;  // what changed now may be too late for that answer
      return;
    }
    calls_.ask<Supply>(askForSupply, {}, [this](const Supply& supply) {
      looking_ = false;
      take(supply);
      if (std::exchange(again_, false)) look();
    });
  }

  /// The lid does not have to wait for the daemon to be known, only to be told.
  void take(const Supply& supply) {
    const bool battery = supply.answered ? supply.battery : supply_.battery;
    const PowerReading before = std::exchange(reading_, {supply.onAdapter, root_.lidClosed()});
    supply_ = supply;
    supply_.battery = battery;  // no machine loses its own
    if (reading_ != before) changes_.tell();
  }

  mac::ServerCalls calls_;
  PowerReading reading_;
  Supply supply_;
  bool looking_ = false;
  bool again_ = false;
  Listeners<> changes_;
  RootDomain root_;
  mac::CfOwned<CFRunLoopSourceRef> source_;
};

}  // namespace

std::unique_ptr<PowerSource> makeMacPowerSource(Scheduler& scheduler) {
  return std::make_unique<MacPowerSource>(scheduler);
}

}  // namespace brindle
