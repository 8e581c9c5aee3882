#include "core/stored_ids.h"

#include <string>

namespace brindle {

std::set<Uuid> readStoredIds(const Preferences& defaults, std::string_view key) {
  constexpr std::size_t idLength = 36;
  std::set<Uuid> ids;
  const std::string text = defaults.text(key).value_or("");
  for (std::size_t at = 0; at < text.size(); at += idLength + 1) {
    if (const auto id = Uuid::parse(std::string_view(text).substr(at, idLength))) ids.insert(*id);
  }
  return ids;
}

std::optional<PreferenceValue> storedIds(const std::set<Uuid>& ids) {
  if (ids.empty()) return std::nullopt;
  std::string text;
  for (const Uuid& id : ids) text.append(text.empty() ? "" : " ").append(id.upper());
  return text;
}

}  // namespace brindle
