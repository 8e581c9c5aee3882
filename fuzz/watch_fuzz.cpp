// Any text where the watch's outbox, its events, its reset or a transfer's label should be: what is
// read names no path, and written again it reads back as the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "service/alert_watch_json.h"
#include "service/alert_watch_sending.h"
#include "service/first_characters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto require = [](bool holds) {
    if (!holds) std::abort();
  };
  for (const AlertWatchOp& op : readOps(text).list) {
    require(op.file.find('/') == std::string::npos);
    const auto again = readOps(R"({"ops":[)" + writeOp(op) + "]}");
    require(again.skipped == 0 && again.list.size() == 1 && again.list[0] == op);
  }
  const auto events = readWatched(text).list;
  require(readWatched(writeWatched(events)).list == events);
  if (const auto reset = readReset(text)) require(readReset(writeReset(*reset)) == reset);
  if (const auto label = AlertWatchLabel::parse(text)) {
    require(AlertWatchLabel::parse(label->text())->path == label->path);
  }
  require(firstCharacters(text, 60).size() <= 3 * size);
  static_cast<void>(backstopIn(text));
  return 0;
}
