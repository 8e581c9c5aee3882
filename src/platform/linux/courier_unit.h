#pragma once

#include <functional>
#include <string>

#include "platform/linux/dbus_service.h"

namespace brindle {

/// Orders a transient unit that runs `program` with `spool` and is started again when it is killed.
/// `done` from the main loop, with the name of the error, or empty once the order was taken.
void startCourierUnit(DbusService& manager, const std::string& program, const std::string& spool,
                      std::function<void(const std::string& error)> done);

}  // namespace brindle
