#import <os/log.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/os_log_stretches.h"

namespace brindle {
namespace {

class OsLogSink final : public LogSink {
 public:
  // os_log takes literal formats only, hence one call per number of private stretches.
  void write(std::string_view format, std::span<const LogArg> args) override {
    const OsLogStretches line = osLogStretches(format, args);
    const auto at = [&line](std::size_t i) { return line.text[i].c_str(); };
    switch (line.privates) {
      case 0:
        os_log(log_, "%{public}s", at(0));
        return;
      case 1:
        os_log(log_, "%{public}s%{private}s%{public}s", at(0), at(1), at(2));
        return;
      case 2:
        os_log(log_, "%{public}s%{private}s%{public}s%{private}s%{public}s", at(0), at(1), at(2),
               at(3), at(4));
        return;
      case 3:
        os_log(log_, "%{public}s%{private}s%{public}s%{private}s%{public}s%{private}s%{public}s",
               at(0), at(1), at(2), at(3), at(4), at(5), at(6));
        return;
      default:
        os_log(log_,
               "%{public}s%{private}s%{public}s%{private}s%{public}s%{private}s%{public}s"
               "%{private}s",
               at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7));
        return;
    }
  }

 private:
  os_log_t log_ = os_log_create(mac::names::subsystem, "brindle");
};

}  // namespace

std::unique_ptr<LogSink> makeOsLogSink() { return std::make_unique<OsLogSink>(); }

}  // namespace brindle
