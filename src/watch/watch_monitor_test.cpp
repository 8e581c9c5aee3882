#include "watch/watch_monitor.h"

#include <gmock/gmock.h>

#include <random>

#include "platform/memory/bookmarks_memory.h"
#include "platform/memory/file_events_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/opened_files_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/running_apps_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"
#include "watch/watch_list_json.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using namespace file_event;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Kind = WatchTarget::Kind;

class WatchMonitorTest : public ::testing::Test {
 protected:
  WatchMonitorTest() {
    (void)files.makeFolder("/home/u/Desktop");
    std::vector<WatchTarget> targets(4);
    const Kind kinds[] = {Kind::file, Kind::folder, Kind::tripwire, Kind::app};
    const char* names[] = {"Letter", "Home", "Bait", "Notes"};
    const char* places[] = {"/data/letter", "/home/u", "/home/u/Desktop/Bait.rtf", ""};
    for (std::size_t i = 0; i < targets.size(); ++i) {
      targets[i].id = random.newUuid();
      targets[i].kind = kinds[i];
      targets[i].displayName = names[i];
      targets[i].bookmark = bytesOf(*places[i] ? std::string("memory:") + places[i] : "");
    }
    targets[2].decoyFileName = "Bait.rtf";
    targets[3].bundleID = "org.example.Notes";
    ids = {targets[0].id, targets[1].id, targets[2].id};
    (void)files.writeWhole("/app.json", viewOf(writeWatchList({watchListVersion, targets})));
    list.load();
    monitor.onTrigger = [this](const WatchHit& hit) {
      const Trigger trigger = triggerFor(*hit.target);
      triggers.push_back(trigger.kind + " " + trigger.name);
    };
    monitor.onOwnerNotice = [this](const LocalNotification& n) { told.push_back(n.body); };
    notices = list.onOwnerNotice([this](const LocalNotification& n) { told.push_back(n.title); });
  }
  void TearDown() override {
    monitor.stop();
    EXPECT_EQ(clock.pending(), 0);
    EXPECT_EQ(events.running(), 0);
    EXPECT_EQ(bookmarks.accessing, 0);
    EXPECT_FALSE(apps.observed());
  }
  void on() {
    monitor.start();
    clock.run();
    triggers.clear();
  }
  void open(const std::string& path, std::uint32_t flags = itemXattrMod) {
    opened.dates[path] = clock.wallTime();
    events.happened(path, flags);
  }
  void editList() {
    apps.installed["/apps/x"] = {"x", "X"};
    const Uuid last = list.targets().back().id;
    list.targets().size() == 4 ? list.addApp("/apps/x", [](auto) {})
                               : list.remove(last, [](auto) {});
  }
  std::vector<std::string> seen() {
    clock.run();
    return std::exchange(triggers, {});
  }

  VirtualScheduler clock;
  VirtualWorkerQueue worker{clock};
  MemoryFiles files;
  MemoryRandom random;
  MemoryBookmarks bookmarks;
  MemoryFileEvents events{clock};
  MemoryOpenedFiles opened;
  MemoryRunningApps apps{clock};
  RecordingLog lines;
  WatchList list{
      {files, worker, clock, random, bookmarks, events, apps, [] { return "stamp"; }, Log(lines)},
      "/app.json"};
  bool allowed = true;
  Listeners<> allowance;
  WatchMonitor monitor{
      {list, events, opened, apps, clock, [](auto&&...) {}, [this] { return clock.wallTime(); },
       Log(lines)},
      {.busyFolders = {"/home/u/Library"},
       .ownIDs = {"brindle"},
       .knownOpener = isKnownOpener,
       .allows = [this] { return allowed; },
       .allowChanges = [this](auto changed) { return allowance.add(std::move(changed)); }}};
  std::vector<Uuid> ids;
  std::vector<std::string> triggers, told;
  Subscription notices;
};

TEST_F(WatchMonitorTest, ReportsWhatIsOpenedWhileItRunsAndIsAllowed) {
  open("/data/letter");
  EXPECT_THAT(seen(), IsEmpty()) << "off";
  on();
  EXPECT_THAT(events.opened.back().exclusions, ElementsAre("/home/u/Library"));
  EXPECT_TRUE(lines.has("watch: 3 files and folders, 1 apps, 0 missing")) << lines.all();
  clock.advance(1s);
  open("/data/letter");
  open("/home/u/Desktop/Bait.rtf");
  open("/home/u/mail/1");
  open("/home/u/Library/x");
  EXPECT_THAT(seen(), ElementsAre("watched-file Letter", "tripwire Bait", "watched-folder Home"));
  EXPECT_TRUE(lines.has("watch: tripwire opened: Bait"));
  EXPECT_EQ(list.targets()[0].lastSeenUsedDate, clock.wallTime());
  clock.advance(2999ms);
  open("/home/u/mail/2");
  EXPECT_THAT(seen(), IsEmpty()) << "quiet";
  clock.advance(1ms);
  open("/home/u/mail/3");
  EXPECT_THAT(seen(), ElementsAre("watched-folder Home"));
  allowed = false;
  allowance.tell();
  clock.advance(10s);
  EXPECT_EQ(events.running(), 0);
  apps.activate("org.example.Notes");
  EXPECT_THAT(seen(), IsEmpty());
  monitor.stop();
  EXPECT_TRUE(lines.has("watch: stopped, 0 openings by known programs left out"));
}

TEST_F(WatchMonitorTest, AnAppCountsWhenSomebodyGoesToIt) {
  apps.activate("org.example.Notes");
  clock.run();
  on();
  const auto after = [this](Duration time, const char* id, bool launch = false) {
    clock.advance(time);
    launch ? apps.launch(id) : apps.activate(id);
    return seen().size();
  };
  EXPECT_EQ(after(0s, "org.example.Notes"), 0) << "it was in front already";
  EXPECT_EQ(after(0s, "brindle"), 0);
  EXPECT_EQ(after(0s, "org.example.Notes"), 0) << "only our window stood before it";
  EXPECT_EQ(after(0s, "other"), 0);
  EXPECT_EQ(after(0s, "org.example.Notes"), 1);
  EXPECT_EQ(after(9999ms, "org.example.Notes", true), 0) << "quiet";
  EXPECT_EQ(after(1ms, "org.example.Notes", true), 1);
  list.remove(list.targets().back().id, [](auto) {});
  EXPECT_TRUE(apps.observed());
  clock.advance(1s);
  EXPECT_FALSE(apps.observed()) << "nobody is asked while no app is watched";
}

TEST_F(WatchMonitorTest, ARebuildLosesNothingAndLeavesNothingBehind) {
  on();
  for (int i = 0; i < 1000; ++i) {
    clock.advance(3s);
    events.most = i % 4 < 2 ? 1 : 2;
    events.whileOpening = [&] {
      if (i % 3 == 0) open("/data/letter");
    };
    if (i % 3 != 0) open("/data/letter");
    if (i % 2 == 0) {
      events.happened("/home/u", rootChanged);
      clock.run();
    } else {
      editList();
    }
    ASSERT_THAT(seen(), ElementsAre("watched-file Letter")) << i;
    ASSERT_EQ(events.running(), 1);
    ASSERT_EQ(bookmarks.accessing, 3);
    ASSERT_LE(clock.pending(), 2);
  }
  events.most = 2;
  events.whileOpening = nullptr;
  EXPECT_EQ(events.opened.size(), 1001);
  const auto before = events.opened.size();
  for (int i = 0; i < 100; ++i) events.happened("/home/u", rootChanged), clock.advance(10ms);
  EXPECT_LE(events.opened.size() - before, 4) << "no more often than twice a second";
}

TEST_F(WatchMonitorTest, WhatCannotBeWatchedIsSaidAndTriedAgainWhileTheRestIsWatched) {
  bookmarks.removed = {"/data/letter"};
  events.blind = {"/home/u/deep"};
  bookmarks.moved["/home/u"] = "/home/u/deep";
  on();
  EXPECT_TRUE(list.state(ids[0]).missing);
  EXPECT_EQ(list.state(ids[1]).unwatchable, "told to be blind");
  EXPECT_THAT(told, ElementsAre("Brindle can't see openings of 'Home': told to be blind. It tries "
                                "again by itself."));
  EXPECT_TRUE(lines.has("watch: 1 items not observed: told to be blind"));
  open("/home/u/Desktop/Bait.rtf");
  EXPECT_THAT(seen(), ElementsAre("tripwire Bait"));
  clock.advance(1min);
  EXPECT_EQ(told.size(), 1) << "once";
  bookmarks.removed.clear();
  events.blind.clear();
  clock.advance(5min);
  EXPECT_EQ(list.state(ids[1]).unwatchable, "");
  open("/data/letter");
  EXPECT_THAT(seen(), ElementsAre("watched-file Letter"));
  events.locked = {"/home/u/deep/a/b"};
  allowance.tell();
  clock.advance(1s);
  EXPECT_EQ(list.state(ids[1]).unwatchable, "a part of it, 'a/b': permission denied");
  EXPECT_EQ(told.back(),
            "Brindle can't see all openings of 'Home': a part of it, 'a/b': permission denied.");
  const auto streams = events.opened.size();
  clock.advance(10min);
  EXPECT_EQ(events.opened.size(), streams) << "not tried again and again";
  events.problem = "the limit fs.inotify.max_user_instances is reached";
  allowance.tell();
  clock.advance(1s);
  EXPECT_THAT(told.back(), HasSubstr("and 2 more: the limit fs.inotify"));
  events.problem.clear();
  clock.advance(8s);
  EXPECT_EQ(events.running(), 1);
}

TEST_F(WatchMonitorTest, ADecoyThatIsGoneIsLookedAfterHoweverItWent) {
  on();
  const std::string bait = "/home/u/Desktop/Bait.rtf";
  const auto goes = [&](auto how) {
    told.clear();
    (void)files.remove(bait);
    bookmarks.removed = {bait};
    how();
    clock.run();
    bookmarks.removed.clear();
    clock.advance(1s);
    EXPECT_THAT(triggers, IsEmpty());
    EXPECT_THAT(told, ElementsAre(HasSubstr("Tripwire")));
  };
  goes([&] { events.happened(bait, itemRemoved); });
  goes([&] { events.happened("/home/u", rootChanged); });
  goes([&] { events.happened(bait, itemRemoved | rootChanged); });
  goes([&] { events.happened("/", mustScanSubDirs); });
  EXPECT_TRUE(lines.has("watch: events were lost, everything was looked at"));
}

/// Openings in any order and twice, with everything that may happen between.
TEST_F(WatchMonitorTest, SeededRandomStory) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE(seed);
  std::mt19937 dice(seed);
  const auto roll = [&dice](unsigned sides) { return static_cast<unsigned>(dice() % sides); };
  on();
  std::map<std::string, WallTime> last;
  for (int step = 0; step < 3000; ++step) {
    clock.advance(std::chrono::milliseconds(roll(2500)));
    const bool letter = roll(2) == 0;
    const std::string path = letter ? "/data/letter" : "/home/u/" + std::to_string(roll(50));
    const std::string name = letter ? "watched-file Letter" : "watched-folder Home";
    std::vector<std::string> expected;
    if (roll(3) > 0) {
      open(path);
      if (!last.contains(name) || clock.wallTime() - last[name] >= 3s) {
        expected = {name};
        last[name] = clock.wallTime();
      }
    }
    for (unsigned noise = roll(4); noise > 0; --noise) {
      const std::uint32_t flags[] = {itemModified, itemRemoved, rootChanged, mustScanSubDirs};
      events.happened(roll(2) == 0 ? path : "/data/letter", flags[roll(4)]);
    }
    if (roll(20) == 0) editList();
    if (roll(20) == 0) allowance.tell();
    if (roll(50) == 0) list.decoyGone(ids[2], "/home/u/Desktop", "Bait.rtf");
    ASSERT_EQ(seen(), expected) << "step " << step << lines.all();
  }
}

}  // namespace
}  // namespace brindle
