#include "core/owed_reports.h"

#include <string>

namespace brindle {
namespace {

constexpr std::size_t idLength = 36;

std::set<Uuid> readIds(const Preferences& defaults, std::string_view key) {
  std::set<Uuid> ids;
  const std::string text = defaults.text(key).value_or("");
  for (std::size_t at = 0; at < text.size(); at += idLength + 1) {
    if (const auto id = Uuid::parse(std::string_view(text).substr(at, idLength))) ids.insert(*id);
  }
  return ids;
}

std::optional<PreferenceValue> written(const std::set<Uuid>& ids) {
  if (ids.empty()) return std::nullopt;
  std::string text;
  for (const Uuid& id : ids) text.append(text.empty() ? "" : " ").append(id.upper());
  return text;
}

}  // namespace

OwedReports::OwedReports(Preferences& defaults)
    : defaults_(defaults),
      owed_(readIds(defaults, owedKey)),
      notWanted_(readIds(defaults, notWantedKey)) {}

void OwedReports::setOwed(const Uuid& id) {
  notWanted_.erase(id);
  if (owed_.insert(id).second) store();
}

void OwedReports::setNotWanted(const Uuid& id) {
  owed_.erase(id);
  if (notWanted_.insert(id).second) store();
}

void OwedReports::forget(const Uuid& id) {
  if (owed_.erase(id) + notWanted_.erase(id) > 0) store();
}

void OwedReports::keepOnly(const std::function<bool(const Uuid&)>& known) {
  const auto gone = [&known](const Uuid& id) { return !known(id); };
  if (std::erase_if(owed_, gone) + std::erase_if(notWanted_, gone) > 0) store();
}

void OwedReports::store() {
  // When this fails the reports are still owed in this run, and the next one holds them anew.
  (void)defaults_.change(
      {{std::string(owedKey), written(owed_)}, {std::string(notWantedKey), written(notWanted_)}});
}

}  // namespace brindle
