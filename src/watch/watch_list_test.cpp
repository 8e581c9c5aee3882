#include "watch/watch_list.h"

#include <gmock/gmock.h>

#include "platform/memory/bookmarks_memory.h"
#include "platform/memory/file_events_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/running_apps_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"
#include "watch/watch_list_json.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Removed = WatchList::Removed;

constexpr const char* listPath = "/app/watch-list.json";
constexpr FileError full{FileError::Kind::noSpace, 28};

class WatchListTest : public ::testing::Test {
 protected:
  WatchListTest() {
    for (const char* folder : {"/app", "/home/u/Plans", "/home/u/Documents"}) {
      (void)files.makeFolder(folder);
    }
    put("/home/u/Plans/a.txt", "a");
    start();
  }
  void start() {
    list.emplace(WatchListServices{files, worker, clock, random, bookmarks, events, apps,
                                   [] { return "20260302-100000"; }, Log(lines)},
                 listPath);
    list->load();
    changes_ = list->onChange([this](WatchList::Change change) {
      if (change == WatchList::Change::targets) ++changes;
    });
    notices_ = list->onOwnerNotice([this](const LocalNotification& n) { told.push_back(n.title); });
    clock.run();
    changes = 0;
  }
  void put(const std::string& path, std::string_view text) {
    ASSERT_TRUE(files.writeWhole(path, viewOf(text)));
  }
  std::string content(const std::string& path) {
    const auto bytes = files.read(path);
    return bytes ? std::string(textOf(*bytes)) : "none";
  }
  /// "added", or "added, not saved", or why not.
  WatchList::Added answer() {
    said = "nothing";
    return [this](Result<WatchList::AddedTarget, std::string> added) {
      said = !added ? added.error() : added->saved ? "added" : "added, not saved";
    };
  }
  std::string ask(const std::function<void(WatchList::Added)>& begin) {
    begin(answer());
    clock.run();
    return said;
  }
  std::string add(const std::string& path) {
    return ask([&](auto done) { list->addFileOrFolder(path, done); });
  }
  std::string addApp(const std::string& path) {
    return ask([&](auto done) { list->addApp(path, done); });
  }
  std::string tripwire(const std::string& name, const std::string& folder = "/home/u/Plans") {
    return ask([&](auto done) { list->createTripwire(name, folder, done); });
  }
  Removed remove(const Uuid& id) {
    list->remove(id, [this](Removed how) { removed = how; });
    clock.run();
    return removed;
  }
  void gone(const std::string& folder, const std::string& name) {
    list->decoyGone(list->targets().front().id, folder, name);
    clock.run();
  }
  std::vector<std::string> kept() {
    auto names = files.list("/app").value_or(std::vector<std::string>{});
    std::erase(names, "watch-list.json");
    return names;
  }

  VirtualScheduler clock;
  VirtualWorkerQueue worker{clock};
  MemoryFiles files;
  MemoryRandom random;
  MemoryBookmarks bookmarks;
  MemoryFileEvents events{clock};
  MemoryRunningApps apps{clock};
  RecordingLog lines;
  std::optional<WatchList> list;
  std::string said;
  Removed removed{};
  std::vector<std::string> told;
  int changes = 0;
  Subscription changes_, notices_;
};

TEST_F(WatchListTest, WhatCannotBeWatchedIsRefusedInWords) {
  const std::string iCloud =
      "' is in iCloud Drive. Brindle can't watch iCloud Drive yet, so choose something kept on "
      "this Mac.";
  const std::string cloud =
      "' is in a cloud storage folder. Brindle can't watch those yet, so choose something kept on "
      "this Mac.";
  bookmarks.removed = {"/home/u/none"};
  bookmarks.denied = {"/locked/x"};
  bookmarks.moved["/home/u/link"] = "/home/u/Library/CloudStorage/Drop/b";
  ASSERT_EQ(add("/home/u/Plans/a.txt"), "added");
  for (const auto& [path, message] : std::vector<std::pair<std::string, std::string>>{
           {"/home/u/Library/Mobile Documents/com~apple/x.txt", "'x.txt" + iCloud},
           {"/home/u/Library/Mobile Documents", "'Mobile Documents" + iCloud},
           {"/home/u/Library/CloudStorage/Drop/", "'Drop" + cloud},
           {"/home/u/link", "'link" + cloud},
           {"/home/u/none", "'none' isn't there."},
           {"/locked/x", "Brindle isn't allowed to look at 'x'."},
           {"/home/u/Plans/a.txt", "'a.txt' is already watched."}}) {
    EXPECT_EQ(add(path), message);
  }
  apps.installed = {{"/a/Notes.app", {"com.example.notes", "Notes"}},
                    {"/a/Brindle.app", {"com.corvane.brindle", "Brindle"}},
                    {"/b/brindle.desktop", {"brindle", "Brindle"}},
                    {"/a/Finder.app", {"com.apple.finder", "Finder"}},
                    {"/a/None.app", {"", "None"}}};
  for (const auto& [path, message] : std::vector<std::pair<std::string, std::string>>{
           {"/home/u/Plans/a.txt", "That isn't an app Brindle can watch."},
           {"/a/None.app", "That isn't an app Brindle can watch."},
           {"/a/Brindle.app", "Brindle can't watch itself."},
           {"/b/brindle.desktop", "Brindle can't watch itself."},
           {"/a/Finder.app", "Finder can't be watched: it comes to the front all the time."},
           {"com.example.notes", "added"},
           {"/a/Notes.app", "'Notes' is already watched."}}) {
    EXPECT_EQ(addApp(path), message);
  }
  EXPECT_EQ(list->targets().size(), 2u);
  EXPECT_TRUE(lines.has("watch list: not added: 'Notes' is already watched."));
}

TEST_F(WatchListTest, WhatIsAddedIsWrittenAndThereAgain) {
  apps.installed = {{"/a/Notes.app", {"com.example.notes", "Notes"}}};
  add("/home/u/Plans");
  events.blind = {"/home/u/Plans/a.txt"};
  list->addFileOrFolder("/home/u/Plans/a.txt", answer());
  list->addFileOrFolder("/home/u/Plans/a.txt", answer());
  clock.run();
  EXPECT_EQ(list->targets().size(), 2u) << "both were under way at once";
  addApp("/a/Notes.app");
  const WatchTarget file = list->targets()[1];
  EXPECT_FALSE(list->state(file.id).unwatchable.empty());
  list->noteUsed(file.id, clock.wallTime() + 500ms);
  clock.run();
  const auto ids = list->targets();
  EXPECT_EQ(
      content(listPath),
      R"({"targets":[{"addedAt":794134800,"bookmark":"bWVtb3J5Oi9ob21lL3UvUGxhbnM=",)"
      R"("displayName":"Plans","id":")" +
          ids[0].id.upper() +
          R"(","kind":"folder","placeName":"u"},{"addedAt":794134800,)"
          R"("bookmark":"bWVtb3J5Oi9ob21lL3UvUGxhbnMvYS50eHQ=","displayName":"a.txt","id":")" +
          ids[1].id.upper() +
          R"(","kind":"file","lastSeenUsedDate":794134800.5,"placeName":"Plans"},)"
          R"({"addedAt":794134800,"bundleID":"com.example.notes","displayName":"Notes","id":")" +
          ids[2].id.upper() + R"(","kind":"app","placeName":"a"}],"version":1})");
  start();
  EXPECT_EQ(list->targets(), ids);
  EXPECT_THAT(kept(), IsEmpty());
  EXPECT_TRUE(lines.has("watch list: app added, 3 items")) << lines.all();
  list->lookAgain();
  clock.run();
  const std::string unseen = list->state(file.id).unwatchable;
  EXPECT_FALSE(unseen.empty());
  list->noteUnwatchable(file.id, "a limit is met");
  EXPECT_EQ(list->state(file.id).unwatchable, "a limit is met");
  list->noteUnwatchable(file.id, "");
  EXPECT_EQ(list->state(file.id).unwatchable, unseen);
}

TEST_F(WatchListTest, DecoyNamesAreCheckedInOrder) {
  const auto repeated = [](std::string_view text, int times) {
    std::string all;
    while (times-- > 0) all += text;
    return all;
  };
  const std::string family = "👩‍👩‍👧‍👦";
  put("/home/u/Plans/Taken.rtf", "mine");
  for (const auto& [name, message] : std::vector<std::pair<std::string, std::string>>{
           {" \t\xc2\xa0 ", "Give your decoy a name."},
           {"./a:" + repeated("x", 80), "A name can't include a slash or a colon."},
           {"a/b", "A name can't include a slash or a colon."},
           {"." + repeated("x", 80), "A name can't start with a full stop."},
           {repeated("x", 60), "Keep the name under 60 characters."},
           {repeated(family, 60), "Keep the name under 60 characters."},
           {" " + repeated("x", 59) + " ", "added"},
           {repeated(family, 59), "added"},
           {" Taken ",
            "There's already a file called 'Taken.rtf' there. Choose another name or another "
            "place."},
           {std::string("a\0b", 3), "The tripwire couldn't be put there. Choose another place."},
           {"Passwords.RTF", "added"}}) {
    EXPECT_EQ(tripwire(name), message) << name;
  }
  files.failNext(FileOp::write, full);
  EXPECT_THAT(tripwire("Taken"), HasSubstr("already a file")) << "wherever nothing can be written";
  files.failNothing();
  EXPECT_EQ(content("/home/u/Plans/Passwords.RTF"), decoyContent());
  EXPECT_EQ(content("/home/u/Plans/Taken.rtf"), "mine");
  EXPECT_EQ(tripwire("a", "/home/u/Nowhere"),
            "The tripwire couldn't be put there. Choose another place.");
  EXPECT_THAT(tripwire("a", "/home/u/Library/CloudStorage"), HasSubstr("cloud storage folder"));
  bookmarks.denied = {"/home/u/Documents/b.rtf"};
  EXPECT_EQ(tripwire("b", "/home/u/Documents"),
            "The tripwire couldn't be put there. Choose another place.");
  EXPECT_THAT(*files.list("/home/u/Documents"), IsEmpty());
}

TEST_F(WatchListTest, OneBadEntryCostsOnlyItselfAndIsKeptAside) {
  const std::string good =
      R"({"addedAt":"2026-03-02T09:00:00Z","bookmark":"YQ==","displayName":"a","kind":"file",)"
      R"("id":"00000000-0000-4000-8000-000000000001","lastSeenUsedDate":true})";
  const std::string old =
      R"({"version":1,"targets":[)" + good + "," + good +
      R"(,{"addedAt":1,"displayName":"b","kind":"printer","id":"00000000-0000-4000-8000-000000000002"},)"
      R"({"addedAt":1,"bookmark":"YQ==","decoyFileName":"../c","displayName":"c","kind":"tripwire",)"
      R"("id":"00000000-0000-4000-8000-000000000003"},7,)"
      R"({"addedAt":1,"bundleID":"d","displayName":"d","kind":"app","placeName":"D",)"
      R"("id":"00000000-0000-4000-8000-000000000004"}]})";
  put(listPath, old);
  put("/app/watch-list.partial-20260302-100000.json", "older");
  start();
  ASSERT_EQ(list->targets().size(), 2u);
  EXPECT_EQ(list->targets()[0].addedAt, clock.wallTime());
  EXPECT_FALSE(list->targets()[0].lastSeenUsedDate);
  EXPECT_EQ(list->targets()[1].placeName, "D");
  EXPECT_EQ(content(listPath), old);
  EXPECT_TRUE(lines.has("watch list read: 2 items, 4 entries dropped"));
  files.failNext(FileOp::link, {FileError::Kind::unsupported, 1});
  EXPECT_EQ(add("/home/u/Plans/a.txt"), "added");
  EXPECT_EQ(add("/home/u/Plans"), "added");
  EXPECT_THAT(kept(), ElementsAre("watch-list.partial-20260302-100000-2.json",
                                  "watch-list.partial-20260302-100000.json"));
  EXPECT_EQ(content("/app/watch-list.partial-20260302-100000-2.json"), old);
  EXPECT_EQ(list->targets().size(), 4u);
}

TEST_F(WatchListTest, WhatIsNoListIsNeverWrittenOver) {
  const std::string aside = "/app/watch-list.unreadable-20260302-100000.json";
  for (const char* text : {"{\"targets\":[", "[]", "{\"version\":1,\"targets\":{}}", "\xff"}) {
    put(listPath, text);
    files.failNext(FileOp::renameNew, full);
    start();
    EXPECT_EQ(content(listPath), text);
    files.failNext(FileOp::renameNew, full);
    EXPECT_EQ(add("/home/u/Plans"), "added, not saved");
    EXPECT_EQ(content(listPath), text);
    clock.advance(2s);
    EXPECT_TRUE(list->saved());
    EXPECT_EQ(content(aside), text);
    EXPECT_EQ(list->problem(), "") << "there is a new one";
    ASSERT_TRUE(files.remove(listPath));
    start();
    EXPECT_EQ(list->problem(),
              "The list of watched items can't be read, so nothing is watched besides unlocks. It "
              "was kept as 'watch-list.unreadable-20260302-100000.json'.");
    EXPECT_EQ(add("/home/u/Plans"), "added");
    ASSERT_TRUE(files.remove(aside));
  }
  EXPECT_TRUE(lines.has("watch list is none: nothing is watched"));
  EXPECT_TRUE(lines.has("watch list kept aside: watch-list.unreadable-20260302-100000.json"));
  EXPECT_TRUE(
      lines.has("watch list not saved: the file that didn't read whole couldn't be kept aside"));
  files.failNext(FileOp::read, {FileError::Kind::other, 5});
  start();
  EXPECT_THAT(list->targets(), IsEmpty());
  EXPECT_TRUE(lines.has("watch list could not be read (5): kept as it is, nothing is watched"));
  EXPECT_EQ(add("/home/u/Plans/a.txt"), "added");
  EXPECT_THAT(content(aside), HasSubstr("\"Plans\""));
}

TEST_F(WatchListTest, WhicheverStepFailsNothingIsLost) {
  const std::string damaged = R"({"targets":[{"kind":"printer"}],"version":1})";
  bool failed = true;
  for (std::size_t steps = 0; failed; ++steps) {
    put(listPath, damaged);
    for (const std::string& name : kept()) (void)files.remove("/app/" + name);
    start();
    list->addFileOrFolder("/home/u/Plans/a.txt", answer());
    worker.hold();
    clock.run();
    worker.release();
    files.failAfter(steps, full);
    clock.run();
    failed = said != "added";
    files.failNothing();
    clock.advance(2s);
    EXPECT_TRUE(list->saved()) << steps;
    ASSERT_THAT(kept(), Not(IsEmpty())) << steps;
    for (const std::string& name : kept()) EXPECT_EQ(content("/app/" + name), damaged) << steps;
    start();
    EXPECT_EQ(list->targets().size(), 1u) << steps;
  }
  EXPECT_TRUE(lines.has("watch list not saved: 28"));
}

TEST_F(WatchListTest, ADecoyThatIsGoneIsPutBackAndToldOf) {
  ASSERT_EQ(tripwire("Bank"), "added");
  const Uuid id = list->targets().front().id;
  const std::string decoy = "/home/u/Plans/Bank.rtf";
  gone("/home/u/Plans", "Bank.rtf");
  EXPECT_THAT(told, IsEmpty()) << "it is there";
  ASSERT_TRUE(files.remove(decoy));
  changes = 0;
  gone("/home/u/Plans", "Bank.rtf");
  EXPECT_EQ(content(decoy), decoyContent());
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(list->state(id).missing);
  files.failNext(FileOp::write, full);
  ASSERT_TRUE(files.remove(decoy));
  gone("/home/u/Plans", "Bank.rtf");
  EXPECT_TRUE(list->state(id).missing);
  gone("/home/u/Plans/moved", "Bank.rtf");
  EXPECT_FALSE(list->state(id).missing) << "its bookmark leads there, whatever folder is gone";
  bookmarks.removed = {decoy};
  gone("/home/u/Plans/moved", "Bank.rtf");
  EXPECT_TRUE(list->state(id).missing);
  ASSERT_TRUE(files.makeFolder(decoy));
  bookmarks.removed.clear();
  gone("/home/u/Plans", "Bank.rtf");
  EXPECT_THAT(told, ElementsAre("Tripwire put back", "Tripwire missing", "Tripwire missing"))
      << "once until it is back";
  EXPECT_TRUE(lines.has("tripwire gone: put back"));
  EXPECT_EQ(lines.count("tripwire gone: could not be put back"), 2u);
  EXPECT_EQ(list->targets().size(), 1u) << "missing, and kept";
}

TEST_F(WatchListTest, ADecoyThatWentWhileNobodyWatchedIsPutBackAtTheNextStart) {
  ASSERT_EQ(tripwire("Bank"), "added");
  const std::string decoy = "/home/u/Plans/Bank.rtf";
  for (const bool moved : {false, true}) {
    start();
    list->lookAfterDecoys();
    clock.run();
    EXPECT_THAT(told, IsEmpty()) << "nothing happened";
    ASSERT_TRUE(files.remove(decoy));
    moved ? (void)(bookmarks.moved[decoy] = "/home/u/b.rtf")
          : (void)bookmarks.removed.insert(decoy);
    start();
    list->lookAfterDecoys();
    worker.hold();
    clock.run();
    bookmarks.removed.clear();
    bookmarks.moved.clear();
    worker.release();
    clock.run();
    EXPECT_EQ(content(decoy), decoyContent());
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("Tripwire put back"));
  }
}

TEST_F(WatchListTest, RemovingDeletesTheDecoyAndNeverAnotherFile) {
  ASSERT_EQ(add("/home/u/Plans/a.txt"), "added");
  for (const char* name : {"One", "Two"}) ASSERT_EQ(tripwire(name), "added");
  const auto all = list->targets();
  EXPECT_EQ(remove(all[0].id), Removed::done);
  EXPECT_EQ(content("/home/u/Plans/a.txt"), "a");
  files.failNext(FileOp::flush, full);
  EXPECT_EQ(remove(all[1].id), Removed::notSaved);
  EXPECT_EQ(content("/home/u/Plans/One.rtf"), decoyContent()) << "a restart would list it";
  clock.advance(2s);
  EXPECT_EQ(removed, Removed::done) << "told once it is so";
  EXPECT_EQ(content("/home/u/Plans/One.rtf"), "none");
  put("/home/u/Plans/Two.rtf", "somebody's own words");
  EXPECT_EQ(remove(all[2].id), Removed::decoyLeft);
  EXPECT_EQ(content("/home/u/Plans/Two.rtf"), "somebody's own words");
  EXPECT_TRUE(lines.has("tripwire removed: what lies in its place was left alone"));
  EXPECT_TRUE(lines.has("watch list: tripwire removed, 0 items"));
  EXPECT_EQ(remove(all[2].id), Removed::notListed);
  ASSERT_EQ(tripwire("Three"), "added");
  ASSERT_TRUE(files.remove("/home/u/Plans/Three.rtf"));
  EXPECT_EQ(remove(list->targets().front().id), Removed::decoyNotFound);
  put(listPath, R"({"targets":[{"kind":"printer"}],"version":1})");
  start();
  files.failNext(FileOp::link, full);
  EXPECT_EQ(tripwire("Four"), "added, not saved");
  list->takeBack(list->targets().front().id, [] {});
  clock.run();
  EXPECT_EQ(content("/home/u/Plans/Four.rtf"), "none");
  EXPECT_TRUE(list->saved() && list->targets().empty());
}

TEST_F(WatchListTest, MissingTargetsStayAndStaleBookmarksAreRenewed) {
  ASSERT_EQ(add("/home/u/Plans/a.txt"), "added");
  const Uuid id = list->targets().front().id;
  bookmarks.removed = {"/home/u/Plans/a.txt"};
  EXPECT_EQ(list->resolve(id).error(), Bookmarks::Problem::gone);
  EXPECT_TRUE(list->state(id).missing);
  bookmarks.moved["/home/u/Plans/a.txt"] = "/home/u/b.txt";
  const auto place = list->resolve(id);
  ASSERT_TRUE(place);
  EXPECT_EQ(place->path, "/home/u/b.txt");
  EXPECT_EQ(bookmarks.accessing, 1);
  EXPECT_FALSE(list->state(id).missing);
  EXPECT_TRUE(lines.has("watch list: file missing"));
  EXPECT_TRUE(lines.has("watch list: bookmark of file renewed"));
  clock.run();
  EXPECT_EQ(readWatchList(content(listPath))->readable().front().bookmark,
            bytesOf("memory:/home/u/b.txt"));
}

TEST(WatchTargetTest, OpeningsAreToldInOneSentence) {
  EXPECT_EQ(openingText({"watched-app", "Mail"}), "Someone opened 'Mail' on your Mac.");
  EXPECT_EQ(openingText({"tripwire", "Bank"}), "Someone opened a tripwire file on your Mac.");
}

}  // namespace
}  // namespace brindle
