#include "watch/open_detector.h"

#include <gmock/gmock.h>

#include <fstream>

#include "platform/memory/opened_files_memory.h"
#include "platform/posix/files_below_posix.h"
#include "testing/temporary_folder.h"
#include "watch/opening_judge.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using namespace file_event;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = WatchTarget::Kind;
using Mode = OpenDetector::Mode;

OpenDetector::Watched item(std::uint8_t id, Kind kind, const std::string& path, Mode mode) {
  WatchTarget target;
  target.id = {{id}};
  target.kind = kind;
  target.displayName = path;
  return {std::make_shared<const WatchTarget>(target), path, mode};
}

class OpenDetectorTest : public ::testing::Test {
 protected:
  OpenDetectorTest() {
    opened.dates["/w/old"] = now;
    detector.watch({item(1, Kind::folder, "/w/dir", Mode::folder),
                    item(2, Kind::file, "/w/dir/file", Mode::file),
                    item(3, Kind::tripwire, "/w/bait.rtf", Mode::decoy),
                    item(4, Kind::file, "/w/old", Mode::file)},
                   {"/w/dir/Library"}, {{"/w/old", now}});
  }
  /// What was opened, as "item path".
  std::vector<std::string> tell(std::vector<FileEvent> batch) {
    found = detector.process(batch);
    std::vector<std::string> hits;
    for (const WatchHit& hit : found.hits) hits.push_back(hit.target->displayName + " " + hit.path);
    return hits;
  }
  std::vector<std::string> open(const std::string& path, Duration age = 0s,
                                std::uint32_t flags = itemXattrMod) {
    opened.dates[path] = now - std::chrono::duration_cast<std::chrono::microseconds>(age);
    return tell({{path, flags}});
  }

  WallTime now{std::chrono::seconds(1'772'442'000)};
  MemoryOpenedFiles opened;
  OpenDetector detector{{[this](const std::string& path) { return opened.lastUsed(path); },
                         [](const std::string& folder, auto, const auto& each) {
                           for (const char* name : {"/a", "/file", "/deep/b"}) each(folder + name);
                         },
                         [this] { return now; }}};
  OpenDetector::Found found;
};

TEST_F(OpenDetectorTest, AnOpeningIsANewAndRecentDateOfSomethingWatched) {
  const struct {
    std::string path;
    Duration age;
    std::uint32_t flags;
    bool hit;
  } cases[] = {{"/w/bait.rtf", 0s, itemXattrMod, true},
               {"/w/dir/c", 0s, itemCreated, true},
               {"/w/dir/d", 0s, itemInodeMetaMod, true},
               {"/w/dir/e/f", 0s, itemModified, true},
               {"/w/dir/g", 0s, itemRemoved | itemRenamed | 0x2000, false},
               {"/w/dir/h", 30s, itemXattrMod, true},
               {"/w/dir/i", 30s + 1us, itemXattrMod, false},
               {"/w/dir/j", -30s, itemXattrMod, true},
               {"/w/dir/k", -30s - 1us, itemXattrMod, false},
               {"/w/dir", 0s, itemXattrMod, false},
               {"/w/dirty/a", 0s, itemXattrMod, false},
               {"/w/dir/Library/a", 0s, itemXattrMod, false},
               {"relative", 0s, itemXattrMod, false}};
  for (const auto& each : cases) {
    EXPECT_EQ(open(each.path, each.age, each.flags).size(), each.hit ? 1 : 0) << each.path;
  }
  EXPECT_THAT(tell({{"/w/dir/no-date", itemXattrMod}}), IsEmpty());
  EXPECT_THAT(open("/w/dir/file"), ElementsAre("/w/dir/file /w/dir/file")) << "for the item itself";
}

TEST_F(OpenDetectorTest, OneOpeningIsFoundOnce) {
  EXPECT_THAT(tell({{"/w/old", itemXattrMod}}), IsEmpty()) << "opened before it was watched";
  EXPECT_THAT(open("/w/old", -500us), IsEmpty()) << "the same, by way of floating point";
  EXPECT_EQ(open("/w/old", -501us).size(), 1);
  opened.dates["/w/dir/a"] = now;
  EXPECT_EQ(tell({{"/w/dir/a", itemXattrMod}, {"/w/dir/a", itemModified}}).size(), 1);
  detector.watch({item(1, Kind::folder, "/w/dir", Mode::folder)}, {}, {});
  EXPECT_THAT(tell({{"/w/dir/a", itemXattrMod}}), IsEmpty()) << "after the list changed";
  for (int minute = 0; minute < 5; ++minute) {
    now += 61s;
    EXPECT_EQ(open("/w/dir/a").size(), 1);
  }
  now -= 1h;
  EXPECT_EQ(open("/w/dir/a").size(), 1) << "the clock was set back, which hides nothing";
  EXPECT_THAT(tell({{"/w/dir/a", itemXattrMod}}), IsEmpty());
}

TEST_F(OpenDetectorTest, LostEventsHaveEverythingLookedAtAndAMissingDecoyIsNoOpening) {
  for (const char* path : {"/w/dir/file", "/w/dir/deep/b", "/w/bait.rtf"}) opened.dates[path] = now;
  EXPECT_THAT(
      tell({{"/", mustScanSubDirs}, {"/w/dir/deep/b", itemXattrMod}}),
      ElementsAre("/w/dir /w/dir/deep/b", "/w/dir/file /w/dir/file", "/w/bait.rtf /w/bait.rtf"));
  now += 1s;
  for (const std::uint32_t flags : {itemRemoved, itemRenamed | rootChanged}) {
    EXPECT_THAT(open("/w/bait.rtf", 0s, flags), IsEmpty());
    ASSERT_EQ(found.gone.size(), 1);
    EXPECT_EQ(found.gone[0].folder + "|" + found.gone[0].fileName, "/w|bait.rtf");
    EXPECT_EQ(found.rootsChanged, (flags & rootChanged) != 0);
  }
  EXPECT_THAT(open("/w/dir/file", 0s, rootChanged | itemXattrMod), IsEmpty());
}

TEST_F(OpenDetectorTest, KnownProgramsAreLeftOutAndASweepIsOneOpeningOfItsFolder) {
  OpeningJudge judge(opened);
  const auto left = [&](const std::string& kindOf, int files, const std::string& opener) {
    std::vector<FileEvent> batch;
    opened.programs.clear();
    for (int i = 0; i < files; ++i) {
      batch.push_back({"/w/dir/" + kindOf + std::to_string(i), itemXattrMod});
      opened.dates[batch.back().path] = now;
      // Most files are closed again before anybody looks.
      if (!opener.empty() && i % 5 == 0) opened.programs[batch.back().path] = opener;
    }
    opened.dates["/w/bait.rtf"] = now;
    opened.programs["/w/bait.rtf"] = opener;
    batch.push_back({"/w/bait.rtf", itemXattrMod});
    std::vector<WatchHit> hits = detector.process(batch).hits;
    judge.judge(hits);
    EXPECT_EQ(hits.empty() ? "" : hits.back().path, "/w/bait.rtf") << "never left out";
    now += 2s;
    return static_cast<int>(hits.size()) - 1;
  };
  EXPECT_EQ(left("one", 1, "/usr/libexec/tracker-extract-3"), 0);
  EXPECT_EQ(left("own", 1, "/home/u/tracker-extract-3"), 1) << "anybody's program of that name";
  EXPECT_EQ(left("cat", 1, ""), 1);
  EXPECT_EQ(left("indexed", 200, "/usr/bin/baloo_file_extractor"), 0);
  EXPECT_EQ(left("copied", 200, ""), 20) << "as many as it takes to know a sweep by";
  EXPECT_EQ(left("slow", 3, ""), 3);
  EXPECT_EQ(opened.asked, 6) << "once a batch";
  EXPECT_EQ(judge.leftOut(), 201);
  SweepRule endless;
  int reported = 0;
  for (int i = 0; i < 1000; ++i)
    reported += endless.folds(std::to_string(i), now + i * 40ms) ? 0 : 1;
  EXPECT_EQ(reported, 21) << "told again after half a minute";
}

TEST(FilesBelowTest, GivesTheFilesOfATreeWithoutFollowingLinks) {
  const TemporaryFolder root;
  for (const char* folder : {"/a", "/a/b", "/left"}) {
    std::filesystem::create_directory(root.path() + folder);
    std::ofstream(root.path() + folder + "/file") << "x";
  }
  std::filesystem::create_directory_symlink(root.path(), root / "a/b/loop");
  const std::vector<std::string> left{root / "left"};
  std::vector<std::string> found;
  const auto keep = [&found](const std::string& path) { found.push_back(path); };
  filesBelow(root.path(), left, keep);
  filesBelow(root / "nowhere", left, keep);
  EXPECT_THAT(found, ::testing::UnorderedElementsAre(root / "a/file", root / "a/b/file"));
}

}  // namespace
}  // namespace brindle
