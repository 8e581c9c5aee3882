// Batches of file events: each hit is a recent opening of something that is watched, none is found
// twice, and single items and decoys are never left out.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>

#include "platform/memory/opened_files_memory.h"
#include "watch/opening_judge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  using Mode = OpenDetector::Mode;
  using Kind = WatchTarget::Kind;
  const auto require = [](bool holds) {
    if (!holds) std::abort();
  };
  const std::string paths[] = {"/w/dir/a", "/w/dir/b/c", "/w/file", "/w/bait", "/w/dirt", "", "/"};
  std::vector<OpenDetector::Watched> watched;
  const auto add = [&watched](Kind kind, const char* path, Mode mode) {
    WatchTarget target;
    target.id.bytes[0] = static_cast<std::uint8_t>(watched.size());
    target.kind = kind;
    watched.push_back({std::make_shared<const WatchTarget>(target), path, mode});
  };
  add(Kind::folder, "/w/dir", Mode::folder);
  add(Kind::file, "/w/file", Mode::file);
  add(Kind::tripwire, "/w/bait", Mode::decoy);
  WallTime now{std::chrono::seconds(1'772'442'000)};
  MemoryOpenedFiles opened;
  OpenDetector detector({[&](const std::string& path) { return opened.lastUsed(path); },
                         [&](auto&&, auto&&, const auto& each) { each(paths[0]), each(paths[1]); },
                         [&] { return now; }});
  OpeningJudge judge(opened);
  detector.watch(watched, {}, {});
  std::set<std::pair<std::string, WallTime>> found;
  for (; size >= 4; data += 4, size -= 4) {
    now += std::chrono::seconds(data[0] / 4);
    const std::string& path = paths[data[1] % std::size(paths)];
    opened.dates[path] = now + std::chrono::seconds(static_cast<std::int8_t>(data[2]) / 2);
    if (data[1] >= 0xF0) detector.watch(watched, {}, {});
    if (data[1] % 16 == 0) opened.programs[path] = "/usr/bin/baloo_file";
    const FileEvent batch[] = {{path, data[3] * 0x101U},
                               {paths[data[3] % std::size(paths)], 0x8000}};
    auto [hits, gone, changed, scanned] = detector.process(batch);
    for (const WatchHit& hit : hits) {
      require(hit.path.starts_with(watched[hit.target->id.bytes[0]].path));
      require(std::chrono::abs(hit.at - now) <= OpenDetector::window);
      require(found.emplace(hit.path, hit.at).second);
    }
    for (const DecoyGone& each : gone) require(each.fileName == "bait" && each.folder == "/w");
    require(changed == ((batch[0].flags & file_event::rootChanged) != 0));
    const auto single = [](const WatchHit& hit) { return hit.target->kind != Kind::folder; };
    const auto before = std::ranges::count_if(hits, single);
    judge.judge(hits);
    require(std::ranges::count_if(hits, single) == before);
  }
  return 0;
}
