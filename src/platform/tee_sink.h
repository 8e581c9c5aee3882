#pragma once

#include <utility>
#include <vector>

#include "base/log.h"

namespace brindle {

/// Hands every line to several sinks, which outlive it.
class TeeSink final : public LogSink {
 public:
  explicit TeeSink(std::vector<LogSink*> sinks) : sinks_(std::move(sinks)) {}
  void write(std::string_view format, std::span<const LogArg> args) override {
    for (LogSink* sink : sinks_) sink->write(format, args);
  }

 private:
  std::vector<LogSink*> sinks_;
};

}  // namespace brindle
