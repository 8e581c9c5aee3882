#pragma once

#include <functional>
#include <set>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "core/camera_capturing.h"
#include "core/guard_collaborators.h"
#include "core/owed_reports.h"
#include "core/report_retry.h"
#include "core/state_saving.h"
#include "platform/random.h"

namespace brindle {

/// Notices that the camera, allowed before, may not be used any more, and sees to it that somebody
/// is told. No system announces that, and looking again and again would cost power, so it looks
/// whenever something else happens: signals, occurrences, owner checks, starts. Main thread only.
class CameraOffAlerts {
 public:
  /// Whether the camera could be used at the last look, for the next run.
  static constexpr std::string_view allowedKey = "alerts.cameraAllowed";
  /// What the document keeps of those that ended.
  static constexpr std::size_t most = 100;

  struct Parts {
    Scheduler& scheduler;
    Preferences& defaults;
    Random& random;
    const CameraCapturing& camera;
    StateSaving& saving;
    OwedReports& owed;
    Log log;
    const GuardCollaborators& collaborators;
    std::function<void()> changed;
  };
  explicit CameraOffAlerts(Parts parts);

  /// Before anything else; what is still owed goes on with `resume`.
  void load(std::vector<CameraOffAlert> all) { cameraOff_ = std::move(all); }
  void resume();
  const std::vector<CameraOffAlert>& all() const { return cameraOff_; }
  bool has(const Uuid& id) const;

  /// From now on a change counts.
  void turnedOn();
  /// Only while on.
  void look();
  void ended(const Uuid& id, AlertState how);
  void hurry() { retry_.hurry(); }
  bool underWay() const { return !underWay_.empty(); }

 private:
  void remember(bool allowed);
  void report(const Uuid& id);
  void reported(const Uuid& id, HandOver how);
  CameraOffAlert* find(const Uuid& id);
  void makeRoom();

  Parts parts_;
  ReportRetry retry_;
  std::vector<CameraOffAlert> cameraOff_;
  std::set<Uuid> underWay_;  ///< being handed over
  bool allowed_;
  Lifetime lifetime_;
};

}  // namespace brindle
