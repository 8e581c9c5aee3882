// Whatever another device's notice says, and whatever lies where the list of reports should be:
// what comes out is harmless as a line, a path and a header, and written again it reads the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "service/alert_outbox.h"
#include "service/other_device_notice.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto notice = readNotice(text)) {
    const std::string title = OtherDeviceNotice{{}, *notice}.title() + notice->device;
    if (std::ranges::any_of(title, [](char c) { return c >= 0 && c < ' '; })) std::abort();
    if (const auto again = readNotice(writeNotice(*notice)); again && again != notice) std::abort();
  }
  const auto list = readNotices(text);
  if (readNotices(writeNotices(list)).size() != list.size()) std::abort();
  if (const auto bodies = readAlertIndex(text)) {
    for (const auto& [id, body] : *bodies) {
      if (body.file.find('/') != body.file.npos) std::abort();
      if (body.boundary.find_first_of("\r\n") != body.boundary.npos) std::abort();
    }
    const auto again = readAlertIndex(writeAlertIndex(*bodies));
    if (!again || again->size() != bodies->size()) std::abort();
  }
  return 0;
}
