#include "base/log.h"

#include <fmt/format.h>

#include <cstdlib>

namespace brindle {
namespace logging {

void formatIsWrong(const char*) { std::abort(); }

}  // namespace logging

namespace {

std::string textOfArg(const LogArg& arg) {
  struct Render {
    std::string operator()(std::int64_t value) const { return fmt::to_string(value); }
    std::string operator()(double value) const { return fmt::format("{:.6f}", value); }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::string_view value) const { return std::string(value); }
  };
  return std::visit(Render{}, arg);
}

}  // namespace

std::vector<LogSegment> logSegments(std::string_view format, std::span<const LogArg> args) {
  std::vector<LogSegment> segments;
  const auto append = [&](std::string_view text, bool isPublic) {
    if (text.empty()) return;
    if (segments.empty() || segments.back().isPublic != isPublic)
      segments.push_back({"", isPublic});
    segments.back().text += text;
  };
  std::size_t at = 0;
  for (const LogArg& arg : args) {
    const logging::Directive found = logging::nextDirective(format, at);
    append(format.substr(at, found.begin - at), true);
    append(textOfArg(arg), found.isPublic);
    at = found.end;
  }
  append(format.substr(at), true);
  return segments;
}

std::string renderLogLine(std::string_view format, std::span<const LogArg> args, bool showPrivate) {
  std::string line;
  for (const LogSegment& segment : logSegments(format, args)) {
    line += segment.isPublic || showPrivate ? segment.text : "<private>";
  }
  return line;
}

}  // namespace brindle
