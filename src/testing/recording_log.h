#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"

namespace brindle {

/// Keeps every line. Any thread.
class RecordingLog final : public LogSink {
 public:
  void write(std::string_view format, std::span<const LogArg> args) override;

  /// `what` is the format as designed or the whole line as rendered with its private parts shown.
  bool has(std::string_view what) const { return count(what) > 0; }
  std::size_t count(std::string_view what) const;
  /// The i-th line, private parts shown; empty when there is none.
  std::string line(std::size_t i) const;
  std::size_t size() const;
  void clear();
  /// All lines, one below the other, for messages of failed tests.
  std::string all() const;

 private:
  struct Line {
    std::string format;
    std::string shown;
  };
  mutable std::mutex mutex_;
  std::vector<Line> lines_;
};

}  // namespace brindle
