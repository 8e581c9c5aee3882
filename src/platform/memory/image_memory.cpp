#include "platform/memory/image_memory.h"

#include <fmt/format.h>

#include <charconv>

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
  double brightness = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), brightness);
  const auto rest = text.substr(static_cast<std::size_t>(end - text.data()));
  if (error != std::errc{} || !rest.starts_with(ending)) return std::nullopt;
  return brightness;
}

}  // namespace brindle
