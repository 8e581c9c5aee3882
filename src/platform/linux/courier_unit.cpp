#include "platform/linux/courier_unit.h"

#include <tuple>

#include "platform/linux/dbus_values.h"
#include "platform/linux/random_linux.h"

namespace brindle {

using namespace std::chrono_literals;

void startCourierUnit(DbusService& manager, const std::string& program, const std::string& spool,
                      std::function<void(const std::string& error)> done) {
  using Property = sdbus::Struct<std::string, sdbus::Variant>;
  using Command = sdbus::Struct<std::string, std::vector<std::string>, bool>;
  using Unit = sdbus::Struct<std::string, std::vector<Property>>;
  const auto fill = [&](sdbus::MethodCall& call) {
    const std::vector<Command> commands{Command(program, {program, spool}, false)};
    const auto property = [](const char* name, const auto& value) {
      return Property(name, sdbus::Variant(value));
    };
    const std::vector<Property> properties{
        property("Description", std::string("Uploads of Brindle")),
        property("ExecStart", commands),
        property("CollectMode", std::string("inactive-or-failed")),
        property("Restart", std::string("on-failure")),
        property("RestartUSec", std::uint64_t{1'000'000}),
    };
    call << "brindle-courier-" + LinuxRandom().newUuid().lower() + ".service"
         << "fail" << properties << std::vector<Unit>{};
  };
  const auto settle = [done = std::move(done)](const DbusAnswer& answer) { done(answer.error); };
  manager.call("/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager",
               "StartTransientUnit", fill, settle, 2s);
}

}  // namespace brindle
