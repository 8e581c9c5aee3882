#include "base/log.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

struct RedactedLog final : LogSink {
  void write(std::string_view format, std::span<const LogArg> args) override {
    line = renderLogLine(format, args);
    segments = logSegments(format, args);
  }
  std::string line;
  std::vector<LogSegment> segments;
};

TEST(LogTest, RendersEveryKindAndRedactsPrivateArguments) {
  RedactedLog sink;
  const Log log(sink);
  log.notice("%{public}ld of %{public}d, %{public}f s, %{bool,public}d, %{public}s", 3u, -4L, 1.5,
             true, std::string("text"));
  EXPECT_EQ(sink.line, "3 of -4, 1.500000 s, true, text");
  log.notice("%{private}s: %{private}ld%{private}f, %{bool,private}d", "file name", 7, 0.5, false);
  EXPECT_EQ(sink.line, "<private>: <private>, <private>") << "neighbours are one stretch";
  log.notice("at %{private}s%{public}s", "home", "%{public}s");
  EXPECT_EQ(sink.line, "at <private>%{public}s") << "text is never read as a format";
  ASSERT_EQ(sink.segments.size(), 3u);
  EXPECT_EQ(sink.segments[1].text, "home");
  EXPECT_FALSE(sink.segments[1].isPublic);
  log.notice("nothing to add");
  EXPECT_EQ(sink.line, "nothing to add");
}

}  // namespace
}  // namespace brindle
