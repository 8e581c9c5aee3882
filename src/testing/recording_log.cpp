#include "testing/recording_log.h"

#include <algorithm>

namespace brindle {

void RecordingLog::write(std::string_view format, std::span<const LogArg> args) {
  const std::lock_guard lock(mutex_);
  lines_.push_back({std::string(format), renderLogLine(format, args, true)});
}

std::size_t RecordingLog::count(std::string_view what) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count_if(
      lines_, [what](const Line& line) { return line.format == what || line.shown == what; }));
}

std::string RecordingLog::line(std::size_t i) const {
  const std::lock_guard lock(mutex_);
  return i < lines_.size() ? lines_[i].shown : std::string();
}

std::size_t RecordingLog::size() const {
  const std::lock_guard lock(mutex_);
  return lines_.size();
}

void RecordingLog::clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

std::string RecordingLog::all() const {
  const std::lock_guard lock(mutex_);
  std::string text;
  for (const Line& line : lines_) text += line.shown + '\n';
  return text;
}

}  // namespace brindle
