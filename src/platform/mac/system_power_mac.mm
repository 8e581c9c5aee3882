#import <IOKit/IOKitLib.h>
#import <IOKit/IOMessage.h>
#import <IOKit/pwr_mgt/IOPMLib.h>
#import <dispatch/dispatch.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

/// The system sleeps 30 s after its announcement whatever anybody says.
constexpr Duration longestWait = std::chrono::seconds(20);

/// This process in the system's list of those that are asked before sleep. Held by the subscription
/// and by every permission that is still out, so that the permission can be given through it.
class PowerRegistration : public std::enable_shared_from_this<PowerRegistration> {
 public:
  explicit PowerRegistration(SystemPower::Listener listener) : listener_(std::move(listener)) {}
  PowerRegistration(const PowerRegistration&) = delete;
  PowerRegistration& operator=(const PowerRegistration&) = delete;

  bool begin() {
    root_ = IORegisterForSystemPower(this, &port_, &PowerRegistration::told, &notifier_);
    if (root_ == MACH_PORT_NULL) return false;
    IONotificationPortSetDispatchQueue(port_, queue_);
    return true;
  }

  ~PowerRegistration() {
    if (root_ == MACH_PORT_NULL) return;
    // On the queue of the callback, which therefore is not running while its context goes.
    dispatch_sync(queue_, ^{
      IODeregisterForSystemPower(&notifier_);
      IOServiceClose(root_);
      IONotificationPortDestroy(port_);
    });
  }

  /// From here on sleep is allowed at once.
  void stopListening() { listener_ = {}; }

 private:
  static void told(void* context, io_service_t, std::uint32_t message, void* argument) {
    auto& self = *static_cast<PowerRegistration*>(context);
    const auto identifier = reinterpret_cast<std::intptr_t>(argument);
    // Weak: the last reference must not be dropped on this queue, which the destructor waits for.
    const std::weak_ptr<PowerRegistration> weak = self.weak_from_this();
    if (message == kIOMessageCanSystemSleep) {
      IOAllowPowerChange(self.root_, identifier);
    } else if (message == kIOMessageSystemWillSleep) {
      mac::onMain([weak, identifier] {
        if (const auto alive = weak.lock()) alive->willSleep(identifier);
      });
    } else if (message == kIOMessageSystemHasPoweredOn) {
      mac::onMain([weak] {
        if (const auto alive = weak.lock()) alive->woke();
      });
    }
  }

  void willSleep(std::intptr_t identifier) {
    SleepPermission permission(identifier, [self = shared_from_this(), identifier] {
      IOAllowPowerChange(self->root_, identifier);
    });
    // A copy: it may end its own subscription. With nobody to tell, the permission goes here.
    const auto listener = listener_.willSleep;
    if (listener) listener(std::move(permission));
  }

  void woke() {
    const auto listener = listener_.woke;
    if (listener) listener();
  }

  dispatch_queue_t queue_ = dispatch_queue_create("brindle.power", DISPATCH_QUEUE_SERIAL);
  io_connect_t root_ = MACH_PORT_NULL;
  IONotificationPortRef port_ = nullptr;
  io_object_t notifier_ = IO_OBJECT_NULL;
  SystemPower::Listener listener_;
};

class MacSystemPower final : public SystemPower {
 public:
  Subscription listen(Listener listener) override {
    auto registration = std::make_shared<PowerRegistration>(std::move(listener));
    refused_ = !registration->begin();
    registration_ = registration;
    return Subscription([held = std::move(registration)]() mutable {
      if (held) held->stopListening();
      held.reset();
    });
  }

  Duration longestHold() const override {
    return registration_.expired() || refused_ ? Duration::zero() : longestWait;
  }

  ServiceReport report() const override {
    return {"system power", "IOKit", !refused_,
            refused_ ? "the system does not announce sleep to this program"
                     : "sleep is announced, and waits up to 20 s for this program"};
  }

 private:
  std::weak_ptr<PowerRegistration> registration_;
  bool refused_ = false;
};

}  // namespace

std::unique_ptr<SystemPower> makeMacSystemPower() { return std::make_unique<MacSystemPower>(); }

}  // namespace brindle
