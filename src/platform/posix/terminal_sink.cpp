#include "platform/posix/terminal_sink.h"

#include "platform/posix/descriptor.h"

namespace brindle {

void TerminalSink::write(std::string_view format, std::span<const LogArg> args) {
  std::string line = renderLogLine(format, args);
  for (char& c : line) {
    // Text from outside must neither steer the terminal nor pass for a line of its own.
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  }
  line += '\n';
  // One call for each line, so that lines of several threads do not mix. A terminal that has gone
  // is nothing that could be told anywhere.
  (void)uninterrupted([&] { return ::write(descriptor_, line.data(), line.size()); });
}

}  // namespace brindle
