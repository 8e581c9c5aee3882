#import <Foundation/Foundation.h>

#include <sys/sysctl.h>

#include <array>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

class MacMachine final : public Machine {
 public:
  std::string name() const override { return mac::stringOf(NSHost.currentHost.localizedName); }

  std::string timeZone() const override {
    [NSTimeZone resetSystemTimeZone];  // the process keeps the one it asked for first
    const std::string name = mac::stringOf(NSTimeZone.systemTimeZone.name);
    return name.empty() ? "UTC" : name;
  }

  std::string model() const override {
    std::array<char, 128> name{};
    std::size_t size = name.size() - 1;
    return sysctlbyname("hw.model", name.data(), &size, nullptr, 0) == 0 ? name.data() : "";
  }

  ServiceReport report() const override {
    const std::string called = name();
    return {"machine", "Foundation", !called.empty(),
            (called.empty() ? "it has no name" : called) + ", time zone " + timeZone()};
  }
};

}  // namespace

std::unique_ptr<Machine> makeMacMachine() { return std::make_unique<MacMachine>(); }

}  // namespace brindle
