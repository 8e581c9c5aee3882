#include "platform/mac/os_log_stretches.h"

namespace brindle {

OsLogStretches osLogStretches(std::string_view format, std::span<const LogArg> args) {
  OsLogStretches line;
  std::size_t at = 0;
  for (const LogSegment& segment : logSegments(format, args)) {
    const bool last = at + 1 == line.text.size();
    const bool placeIsPublic = at % 2 == 0;
    if (!last && segment.isPublic != placeIsPublic) ++at;
    line.text[at] += segment.text;
  }
  line.privates = (at + 1) / 2;
  return line;
}

}  // namespace brindle
