#pragma once

#include <unistd.h>

#include "base/log.h"

namespace brindle {

/// Writes lines to a terminal or what stands in for it, private arguments redacted. Any thread.
class TerminalSink final : public LogSink {
 public:
  explicit TerminalSink(int descriptor = STDERR_FILENO) : descriptor_(descriptor) {}
  void write(std::string_view format, std::span<const LogArg> args) override;

 private:
  int descriptor_;
};

}  // namespace brindle
