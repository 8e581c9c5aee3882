#pragma once

#include <string>
#include <vector>

#include "base/log.h"
#include "platform/files.h"
#include "service/alert_watch_outbox.h"

namespace brindle {

/// The one-time move of the outbox of an earlier build, which kept its bodies in the temporary
/// folder: the system may clear that at any time. Main thread only.
class OutboxMove {
 public:
  OutboxMove(Files& files, AlertWatchOutbox& outbox, AlertWatchBodies& bodies, std::string from,
             Log log)
      : files_(files), outbox_(outbox), bodies_(bodies), from_(std::move(from)), log_(log) {}

  /// Before anything is sent.
  void copy();
  /// Once it is known what is on its way; `labels` as `AlertWatchLabel` has them.
  void clear(const std::vector<std::string>& labels);

 private:
  enum class Copied { yes, no, nothingToCopy };
  Copied leave(const std::string& file);
  Copied copyBody(AlertWatchOutbox::Entry& entry);
  bool done() const { return from_.empty() || outbox_.flag("watch.outboxMoved"); }

  Files& files_;
  AlertWatchOutbox& outbox_;
  AlertWatchBodies& bodies_;
  std::string from_;
  Log log_;
  bool complete_ = false;
};

}  // namespace brindle
