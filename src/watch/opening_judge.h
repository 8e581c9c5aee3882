#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/opened_files.h"
#include "watch/known_openers.h"
#include "watch/open_detector.h"
#include "watch/sweep_rule.h"

namespace brindle {

/// Leaves out what known programs open in watched folders, and all but one of the openings of a
/// sweep. Decoys and files that are watched themselves always stay. Any thread, one at a time.
class OpeningJudge {
 public:
  using Known = std::function<bool(std::string_view executable)>;
  explicit OpeningJudge(OpenedFiles& opened, Known known = isKnownOpener)
      : opened_(opened), known_(std::move(known)) {}

  /// One look at the openers for a batch, and none for a batch without openings in folders.
  void judge(std::vector<WatchHit>& hits);
  /// Openings that were left out because their opener was found and is known.
  std::size_t leftOut() const { return leftOut_; }

 private:
  /// What a batch shows of one folder.
  struct Folder {
    std::set<std::size_t> paths;  ///< distinct ones by their hash, no more than make a sweep
    bool known = false, stranger = false;  ///< was found to have a file open
  };
  using Openers = std::map<std::string, std::string>;
  std::map<Uuid, Folder> foldersOf(const std::vector<WatchHit>& hits, const Openers& openers) const;

  OpenedFiles& opened_;
  Known known_;
  std::map<Uuid, SweepRule> sweeps_;
  std::size_t leftOut_ = 0;
};

}  // namespace brindle
