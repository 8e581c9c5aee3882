#include "platform/mac/os_log_stretches.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace brindle {
namespace {

class Stretches final : public LogSink {
 public:
  void write(std::string_view format, std::span<const LogArg> args) override {
    line = osLogStretches(format, args);
    publicText.clear();
    privateText.clear();
    // Read as the call with this number of private stretches hands them to the system.
    for (std::size_t i = 0; i < std::min(2 * line.privates + 1, line.text.size()); ++i) {
      (i % 2 == 0 ? publicText : privateText) += line.text[i];
    }
  }

  OsLogStretches line;
  std::string publicText;
  std::string privateText;
};

TEST(OsLogStretchesTest, TextAlternatesAndNothingPrivateTurnsPublic) {
  Stretches sink;
  const Log log(sink);
  log.notice("guard on");
  EXPECT_EQ(sink.line.privates, 0u);
  log.notice("%{private}s kept %{public}ld times as %{private}s", "a", 2, "b");
  EXPECT_EQ(sink.line.privates, 2u);
  EXPECT_EQ(sink.line.text[0], "");
  EXPECT_EQ(sink.publicText, " kept 2 times as ");
  EXPECT_EQ(sink.privateText, "ab");
  log.notice("1%{private}s2%{private}s3%{private}s4%{private}s5%{private}s6", "p", "p", "p", "p",
             "p");
  EXPECT_EQ(sink.line.privates, OsLogStretches::mostPrivate);
  EXPECT_EQ(sink.publicText, "1234") << "past the last place everything is private";
  EXPECT_EQ(sink.privateText, "pppp5p6");
}

}  // namespace
}  // namespace brindle
