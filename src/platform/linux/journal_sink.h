#pragma once

#include <string>

#include "base/log.h"

namespace brindle {

/// The systemd journal. Private arguments never reach it, not even as fields. Any thread. On a
/// machine without a journal lines go nowhere: combine it with another sink there.
class JournalSink final : public LogSink {
 public:
  explicit JournalSink(std::string_view identifier = "brindle");
  void write(std::string_view format, std::span<const LogArg> args) override;

  /// True when a journal listens on this machine.
  static bool available();

 private:
  std::string identifier_;
};

}  // namespace brindle
