#include "platform/linux/journal_sink.h"

// No source location: it would name this file for every line.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace brindle {

JournalSink::JournalSink(std::string_view identifier)
    : identifier_("SYSLOG_IDENTIFIER=" + std::string(identifier)) {}

void JournalSink::write(std::string_view format, std::span<const LogArg> args) {
  std::string message = "MESSAGE=" + renderLogLine(format, args);
  std::string design = "BRINDLE_FORMAT=" + std::string(format);
  std::string priority = "PRIORITY=5";
  const std::array<iovec, 4> fields{{{message.data(), message.size()},
                                     {design.data(), design.size()},
                                     {priority.data(), priority.size()},
                                     {identifier_.data(), identifier_.size()}}};
  (void)sd_journal_sendv(fields.data(), static_cast<int>(fields.size()));
}

bool JournalSink::available() { return ::access("/run/systemd/journal/socket", W_OK) == 0; }

}  // namespace brindle
