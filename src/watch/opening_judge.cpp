#include "watch/opening_judge.h"

namespace brindle {
namespace {

bool inFolder(const WatchHit& hit) { return hit.target->kind == WatchTarget::Kind::folder; }

}  // namespace

void OpeningJudge::judge(std::vector<WatchHit>& hits) {
  std::vector<std::string> paths;
  for (const WatchHit& hit : hits) {
    if (inFolder(hit)) paths.push_back(hit.path);
  }
  if (paths.empty()) return;
  const Openers openers = opened_.openers(paths);
  const auto folders = foldersOf(hits, openers);
  std::erase_if(hits, [&](const WatchHit& hit) {
    if (!inFolder(hit)) return false;
    const Folder& folder = folders.at(hit.target->id);
    const auto opener = openers.find(hit.path);
    // Whoever sweeps a folder has most of its files open too shortly to be found. One that is
    // caught with some of them is the one that opened the others, unless somebody else was caught,
    // too.
    const bool caught = folder.known && !folder.stranger && folder.paths.size() >= SweepRule::many;
    const bool known = opener != openers.end() ? known_(opener->second) : caught;
    if (known) ++leftOut_;
    if (known || opener != openers.end()) return known;
    return sweeps_[hit.target->id].folds(hit.path, hit.at);
  });
}

std::map<Uuid, OpeningJudge::Folder> OpeningJudge::foldersOf(const std::vector<WatchHit>& hits,
                                                             const Openers& openers) const {
  std::map<Uuid, Folder> folders;
  for (const WatchHit& hit : hits) {
    if (!inFolder(hit)) continue;
    Folder& folder = folders[hit.target->id];
    if (folder.paths.size() < SweepRule::many)
      folder.paths.insert(std::hash<std::string>{}(hit.path));
    const auto opener = openers.find(hit.path);
    if (opener != openers.end()) (known_(opener->second) ? folder.known : folder.stranger) = true;
  }
  return folders;
}

}  // namespace brindle
