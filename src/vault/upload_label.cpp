#include "vault/upload_label.h"

#include <charconv>

namespace brindle {
namespace {

constexpr std::string_view nameStart = "vault-";
constexpr std::string_view nameEnding = ".blob";
constexpr std::size_t idLength = 36;

std::string_view takePiece(std::string_view& rest) {
  const std::size_t bar = rest.find('|');
  const std::string_view piece = rest.substr(0, bar);
  rest.remove_prefix(bar == rest.npos ? rest.size() : bar + 1);
  return piece;
}

}  // namespace

std::string UploadLabel::text() const {
  return key.event.upper() + "|" + std::to_string(key.index) + "|" + photo.upper() + "|" + blob;
}

std::optional<UploadLabel> UploadLabel::parse(std::string_view text) {
  const auto event = Uuid::parse(takePiece(text));
  const std::string_view digits = takePiece(text);
  const auto photo = Uuid::parse(takePiece(text));
  std::int64_t index = -1;
  const char* end = digits.data() + digits.size();
  const bool number = std::from_chars(digits.data(), end, index).ptr == end && index >= 0;
  if (!event || !photo || !number || !isBlobName(text)) return std::nullopt;
  return UploadLabel{{*event, index}, *photo, std::string(text)};
}

std::string blobName(const Uuid& id) {
  return std::string(nameStart) + id.upper() + std::string(nameEnding);
}

bool isBlobName(std::string_view name) {
  return name.size() == nameStart.size() + idLength + nameEnding.size() &&
         name.starts_with(nameStart) && name.ends_with(nameEnding) &&
         Uuid::parse(name.substr(nameStart.size(), idLength));
}

}  // namespace brindle
