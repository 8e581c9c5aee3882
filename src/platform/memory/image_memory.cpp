#include "platform/memory/image_memory.h"

#include <fmt/format.h>

#include "base/exact_number.h"

namespace brindle {
namespace {

constexpr std::string_view beginning = "PICTURE ";
constexpr std::string_view ending = " END";

}  // namespace

Bytes MemoryImageReader::picture(double brightness) {
  return bytesOf(fmt::format("{}{}{}", beginning, brightness, ending));
}

std::optional<double> MemoryImageReader::meanBrightness(ByteView encoded) const {
  std::string_view text = textOf(encoded);
  if (!text.starts_with(beginning)) return std::nullopt;
  text.remove_prefix(beginning.size());
  const auto end = text.find(ending);
  if (end == std::string_view::npos) return std::nullopt;
  const double brightness = exactDouble(text.substr(0, end), -1);
  if (brightness < 0) return std::nullopt;
  return brightness;
}

}  // namespace brindle
