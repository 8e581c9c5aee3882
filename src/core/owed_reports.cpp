#include "core/owed_reports.h"

#include <string>

#include "core/stored_ids.h"

namespace brindle {
OwedReports::OwedReports(Preferences& defaults)
    : defaults_(defaults),
      owed_(readStoredIds(defaults, owedKey)),
      notWanted_(readStoredIds(defaults, notWantedKey)) {}

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
  (void)defaults_.change({{std::string(owedKey), storedIds(owed_)},
                          {std::string(notWantedKey), storedIds(notWanted_)}});
}

}  // namespace brindle
