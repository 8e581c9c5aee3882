#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/log.h"
#include "platform/files.h"
#include "watch/watch_target.h"

namespace brindle {

/// The document "watch-list.json". What it holds and could not be read is never written over: it is
/// kept beside it under another name first. Blocking; one thread at a time.
class WatchListFile {
 public:
  WatchListFile(Files& files, std::string fileURL, std::function<std::string()> localStamp,
                Log log);

  std::vector<WatchTarget> load();
  /// As `load`, for who only looks: a document that is no list stays where it is.
  std::vector<WatchTarget> read();
  /// Why no list could be read, for the owner; empty when one could, or there never was one.
  const std::string& problem() const { return problem_; }
  /// Whole and atomic; false leaves the document as it was.
  [[nodiscard]] bool save(std::span<const WatchTarget> targets);

 private:
  /// What has to be done before the document may be written over.
  enum class Aside { nothing, copyPartial, moveUnreadable, moveNoList };
  bool keepAside();
  std::vector<WatchTarget> nothingRead(Aside aside);
  std::vector<WatchTarget> readMissing();
  bool moveAside();
  FileResult<void> copyAside(const std::string& to);
  template <class Give>
  FileResult<void> giveAsideName(std::string_view kind, Give give);

  Files& files_;
  const std::string fileURL_;
  const std::string folder_;
  const std::function<std::string()> localStamp_;
  Log log_;
  std::string problem_;
  /// Before anything was read, whatever lies there is worth keeping.
  Aside aside_ = Aside::copyPartial;
};

}  // namespace brindle
