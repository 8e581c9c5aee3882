#pragma once

#include <functional>
#include <set>
#include <string_view>

#include "base/uuid.h"
#include "platform/preferences.h"

namespace brindle {

/// What became of reports whose hold is over while their record says that nothing was handed over:
/// still owed, or wanted by nobody. A record alone cannot tell the two from a hold that still runs.
/// A list that was lost costs a second entry in the unlock log, never a report. Main thread only.
class OwedReports {
 public:
  static constexpr std::string_view owedKey = "alerts.owed";
  static constexpr std::string_view notWantedKey = "alerts.notWanted";

  explicit OwedReports(Preferences& defaults);

  const std::set<Uuid>& owed() const { return owed_; }
  bool owed(const Uuid& id) const { return owed_.contains(id); }
  bool notWanted(const Uuid& id) const { return notWanted_.contains(id); }

  void setOwed(const Uuid& id);
  void setNotWanted(const Uuid& id);
  void forget(const Uuid& id);
  /// Forgets all that no record knows any more.
  void keepOnly(const std::function<bool(const Uuid&)>& known);

 private:
  void store();

  Preferences& defaults_;
  std::set<Uuid> owed_, notWanted_;
};

}  // namespace brindle
