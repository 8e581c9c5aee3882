#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/log.h"
#include "core/alert_watching.h"
#include "platform/files.h"
#include "service/alert_watch_op.h"

namespace brindle {

/// This machine as the bodies name it.
struct WatchedMachine {
  std::string deviceId;
  std::string name;
  std::string timeZone;
};

struct CheckInState {
  bool on = false;
  bool sleeping = false;
  std::optional<std::string> reason;  ///< why the guard is not on, if known
};

// The bodies as they are sent.
Bytes checkInBody(const WatchedMachine& machine, const CheckInState& state, std::int64_t seq,
                  const std::optional<AlertWatchReset>& reset);
Bytes pendingBody(const WatchedMachine& machine, const WatchedUnlock& unlock, bool emailAlerts);
Bytes eventBody(const Uuid& event);

/// The outbox folder: one file for each body that is owed.
class AlertWatchBodies {
 public:
  AlertWatchBodies(Files& files, std::string folder, Log log)
      : files_(files), folder_(std::move(folder)), log_(log) {}

  /// Puts the operation's body into its file, unless it lies there already. On failure that is
  /// tried again before the next sending. The body stays in the operation as well: that is stored
  /// in any case, so that the file need not be flushed while the wire waits.
  void keep(AlertWatchOp& op);
  /// The file is there with what the operation's body says, if it says anything.
  bool isWhole(const AlertWatchOp& op);
  /// Where the body lies; empty when it does not.
  std::string path(const AlertWatchOp& op) const {
    return op.file.empty() ? std::string() : pathOf(op.file);
  }
  /// This file lies in another folder until a later run.
  void liesElsewhere(const std::string& file, const std::string& path) { elsewhere_[file] = path; }
  void remove(const std::string& file);
  /// Removes what no operation needs: left by a run that ended between two steps.
  template <class Needed>
  void sweep(Needed needed) {
    for (const std::string& name : found()) {
      if (!needed(name)) remove(name);
    }
  }

  static std::string fileName(const AlertWatchOp& op);
  const std::string& folder() const { return folder_; }

 private:
  std::string pathOf(const std::string& file) const;
  std::vector<std::string> found();

  Files& files_;
  std::string folder_;
  Log log_;
  std::map<std::string, std::string> elsewhere_;
};

/// Writes a body file that must last, making its folder when it is missing. Any thread.
bool writeBodyFile(Files& files, const std::string& folder, const std::string& name,
                   ByteView content);

}  // namespace brindle
