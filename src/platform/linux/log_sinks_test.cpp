#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <fstream>

#include "platform/contract/log_sink_contract.h"
#include "platform/linux/journal_sink.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/terminal_sink.h"
#include "platform/tee_sink.h"
#include "testing/private_mounts.h"
#include "testing/recording_log.h"

namespace brindle {
namespace {

using Lines = std::vector<std::string>;

/// A tee, whose two recorders stand for the recorder as well.
struct Recorders {
  static constexpr bool showsPrivate = true;
  RecordingLog one, two;
  TeeSink sink{{&one, &two}};
  Lines lines() const {
    Lines all;
    for (std::size_t i = 0; i < two.size(); ++i) {
      EXPECT_TRUE(one.has(two.line(i)));
      all.push_back(two.line(i));
    }
    return all;
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(TeeOfRecorders, LogSinkContract, Recorders);

struct Terminal {
  static constexpr bool showsPrivate = false;
  Descriptor screen{::memfd_create("terminal", MFD_CLOEXEC)};
  TerminalSink sink{screen.get()};
  Lines lines() const {
    Lines all;
    std::ifstream text("/proc/self/fd/" + std::to_string(screen.get()));
    for (std::string line; std::getline(text, line);) all.push_back(line);
    EXPECT_THAT(all, testing::Each(testing::Not(testing::HasSubstr("\x1b")))) << "steered";
    return all;
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Terminal, LogSinkContract, Terminal);

/// A journal of our own, in the place of the machine's.
struct Journal {
  static constexpr bool showsPrivate = false;
  PrivateMounts mounts;
  Descriptor end{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
  JournalSink sink;

  Journal() {
    if (!mounts.add("/run")) return;
    EXPECT_FALSE(JournalSink::available());
    std::filesystem::create_directories("/run/systemd/journal");
    const sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
    EXPECT_EQ(::bind(end.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(JournalSink::available());
  }
  const char* missing() const { return mounts.missing(); }
  Lines lines() const {
    Lines all;
    char entry[8192];
    for (ssize_t size; (size = ::recv(end.get(), entry, sizeof entry, 0)) > 0;) {
      all.emplace_back(entry, static_cast<std::size_t>(size));
    }
    EXPECT_THAT(all, testing::Each(testing::HasSubstr("\nSYSLOG_IDENTIFIER=brindle\n")));
    return all;
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Journal, LogSinkContract, Journal);

}  // namespace
}  // namespace brindle
