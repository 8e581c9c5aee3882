#include "core/photo_vault.h"

#include <gmock/gmock.h>

#include "platform/memory/files_memory.h"
#include "testing/recording_log.h"

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Load = PhotoVault::StateLoad;
using Save = PhotoVault::Save;

const std::string root = "/home/Brindle";
const std::string goodDocument = R"({"armedAt":"2026-10-31T08:15:00Z","events":[]})";
const std::string partDocument = R"({"events":[{"alert":7}],"armedAt":5,"armedBy":{"by":"noon"}})";
const FileError full{FileError::Kind::noSpace, 28};

struct PhotoVaultTest : testing::Test {
  void put(const std::string& name, std::string_view text) {
    ASSERT_TRUE(files.makeFolder(root + "/photos"));
    ASSERT_TRUE(files.writeWhole(joinPath(root, name), viewOf(text)));
  }
  std::string text(const std::string& name) {
    const auto bytes = files.read(joinPath(root, name));
    return bytes ? std::string(textOf(*bytes)) : "(none)";
  }
  std::vector<std::string> copies() {
    auto names = files.list(root).value_or(std::vector<std::string>{});
    std::erase_if(names,
                  [](const std::string& name) { return name == "state.json" || name == "photos"; });
    return names;
  }
  PhotoVault::Loaded load() {
    auto loaded = vault.load();
    EXPECT_EQ(vault.loaded(), loaded.how);
    return loaded;
  }
  void expectNoHistory(Load how) {
    const auto loaded = load();
    EXPECT_EQ(loaded.how, how);
    EXPECT_TRUE(sameContent(loaded.state, {}));
  }
  /// The document as a save wrote it.
  void expectSaved() { EXPECT_EQ(text("state.json"), R"({"events":[]})"); }

  MemoryFiles files;
  RecordingLog lines;
  PhotoVault vault{files, root, [] { return std::string("20261031-081500"); }, Log(lines)};
};

TEST_F(PhotoVaultTest, AFirstLaunchIsSilentAndMakesTheFolders) {
  expectNoHistory(Load::gone);
  EXPECT_EQ(lines.size(), 0u) << lines.all();
  EXPECT_TRUE(*files.exists(root + "/photos"));
  EXPECT_EQ(vault.save({}), Save::saved);
  expectSaved();
  EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(PhotoVaultTest, SaysWhatItReadAndWhetherTheGuardIsOn) {
  put("state.json", goodDocument);
  EXPECT_EQ(load().how, Load::read);
  EXPECT_EQ(lines.line(0), "state.json read: 0 events, on");
  EXPECT_EQ(vault.save({}), Save::saved);
  load();
  EXPECT_EQ(lines.line(1), "state.json read: 0 events, off");
  EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(PhotoVaultTest, CopiesWithoutADocumentAreNoFirstLaunch) {
  put("state.unreadable-20250101-000000.json", "x");
  put("state.partial-20250101-000000.txt", "no copy");
  expectNoHistory(Load::missing);
  EXPECT_EQ(
      lines.line(0),
      "state.json missing, with 1 copies kept aside beside it: not a first launch, Brindle starts "
      "off with no history");
}

TEST_F(PhotoVaultTest, NoFirstLaunchIsBelievedWithoutALookAtTheFolder) {
  files.failNext(FileOp::list, {FileError::Kind::denied, 13});
  expectNoHistory(Load::unreadable);
}

TEST_F(PhotoVaultTest, WhatIsNoStateIsRenamedUnderAFreeName) {
  put("state.unreadable-20261031-081500.json", "first");
  put("state.unreadable-20261031-081500-2.json", "second");
  put("state.json", "[]");
  expectNoHistory(Load::unreadable);
  EXPECT_EQ(lines.line(0),
            "state.json is not a state: renamed beside it, Brindle starts off with no history: "
            "state.unreadable-20261031-081500-3.json");
  EXPECT_EQ(text("state.unreadable-20261031-081500-3.json"), "[]");
  EXPECT_EQ(vault.save({}), Save::saved);
  EXPECT_EQ(copies().size(), 3u);
}

TEST_F(PhotoVaultTest, WhatIsKeptAsItIsMovesAsideBeforeTheFirstSave) {
  struct Row {
    FileOp failing;
    const char* document;
    const char* line;
  };
  const Row rows[] = {
      {FileOp::renameNew, "{",
       "state.json is not JSON, and couldn't be renamed: kept as it is, Brindle starts off with no "
       "history"},
      {FileOp::read, goodDocument.c_str(),
       "state.json could not be read (5): kept as it is, Brindle starts off with no history"},
  };
  for (const Row& row : rows) {
    put("state.json", row.document);
    lines.clear();
    files.failNext(row.failing, {FileError::Kind::other, 5});
    expectNoHistory(Load::unreadable);
    EXPECT_EQ(lines.line(0), row.line);
    EXPECT_EQ(text("state.json"), row.document);
    files.failAll(full);
    EXPECT_EQ(vault.save({}), Save::failed);
    files.failNothing();
    EXPECT_EQ(lines.line(1),
              "state.json not saved: the file that didn't read whole couldn't be kept aside");
    EXPECT_EQ(text("state.json"), row.document);
    EXPECT_EQ(vault.save({}), Save::saved);
    EXPECT_TRUE(lines.has("state.json kept aside before the first change: %{private}s"));
    EXPECT_EQ(text(copies().front()), row.document);
    expectSaved();
    ASSERT_TRUE(files.remove(joinPath(root, copies().front())));
  }
}

TEST_F(PhotoVaultTest, APartialDocumentIsKeptAsideOnceBeforeTheFirstChange) {
  put("state.json", partDocument);
  EXPECT_EQ(load().how, Load::partial);
  EXPECT_EQ(
      lines.line(0),
      "state.json read in part: 1 events skipped, unreadable fields: armedAt, armedBy; the file is "
      "kept until something changes");
  EXPECT_EQ(lines.line(1), "state.json armedBy: Unknown arm source noon");
  EXPECT_THAT(copies(), IsEmpty());
  EXPECT_EQ(vault.save({}), Save::saved);
  EXPECT_EQ(lines.line(2),
            "state.json kept aside before the first change: state.partial-20261031-081500.json");
  EXPECT_EQ(text("state.partial-20261031-081500.json"), partDocument);
  expectSaved();
  EXPECT_EQ(vault.save({}), Save::saved);
  EXPECT_EQ(lines.size(), 3u);
  EXPECT_EQ(copies().size(), 1u);
}

TEST_F(PhotoVaultTest, OnlySkippedEventsNameNoFields) {
  put("state.json", R"({"events":[7,8]})");
  load();
  EXPECT_EQ(
      lines.line(0),
      "state.json read in part: 2 events skipped, unreadable fields: none; the file is kept until "
      "something changes");
}

/// Each step of the first save after a partial read fails in turn, with and without links.
TEST_F(PhotoVaultTest, NoFailureOfTheFirstSaveLosesThePartialDocument) {
  for (const bool links : {true, false}) {
    for (std::size_t step = 0; step < 9; ++step) {
      SCOPED_TRACE(testing::Message() << "links " << links << ", step " << step);
      MemoryFiles disk;
      RecordingLog said;
      PhotoVault keeper(
          disk, root, [] { return std::string("now"); }, Log(said));
      ASSERT_TRUE(disk.makeFolder(root));
      ASSERT_TRUE(disk.writeWhole(root + "/state.json", viewOf(partDocument)));
      keeper.load();
      if (!links) disk.failNext(FileOp::link, {FileError::Kind::unsupported, 1});
      disk.failAfter(step, full);
      const Save first = keeper.save({});
      disk.failNothing();
      const auto holds = [&](const std::string& name) {
        const auto bytes = disk.read(joinPath(root, name));
        return bytes && textOf(*bytes) == partDocument;
      };
      const bool inPlace = holds("state.json");
      EXPECT_TRUE(inPlace || holds("state.partial-now.json")) << said.all();
      const std::string failed =
          "state.json not saved: the write failed, the file that didn't read whole ";
      EXPECT_FALSE(said.has(failed + "is as it was") && !inPlace) << said.all();
      EXPECT_FALSE(said.has(failed + "is still aside") && !holds("state.partial-now.json"))
          << said.all();
      if (first == Save::failed) {
        EXPECT_TRUE(
            said.has(failed + "is as it was") || said.has(failed + "is still aside") ||
            said.has(
                "state.json not saved: the file that didn't read whole couldn't be kept aside"))
            << said.all();
      }
      EXPECT_EQ(keeper.save({}), Save::saved);
      EXPECT_TRUE(holds("state.partial-now.json")) << said.all();
    }
  }
}

TEST_F(PhotoVaultTest, TellsWhetherThePartialDocumentIsBackInPlace) {
  put("state.json", partDocument);
  load();
  files.failNext(FileOp::write, full);
  vault.save({});
  EXPECT_TRUE(lines.has(
      "state.json not saved: the write failed, the file that didn't read whole is as it was"));
  ASSERT_TRUE(files.remove(root + "/state.partial-20261031-081500.json"));

  lines.clear();
  load();
  files.failNext(FileOp::link, {FileError::Kind::unsupported, 1});
  files.failAfter(2, full);  // the new name and its flush come through, nothing after them
  vault.save({});
  EXPECT_TRUE(lines.has(
      "state.json not saved: the write failed, the file that didn't read whole is still aside"))
      << lines.all();
}

TEST_F(PhotoVaultTest, AnOrdinaryWriteThatFailsKeepsTheLastDocument) {
  load();
  ASSERT_EQ(vault.save({}), Save::saved);
  SavedState on;
  on.armedAt = WallTime{};
  for (const FileOp op : {FileOp::write, FileOp::flush, FileOp::rename, FileOp::flushFolder}) {
    lines.clear();
    files.failNext(op, full);
    EXPECT_EQ(vault.save(on), Save::failed);
    EXPECT_TRUE(lines.has("state.json not saved: the write failed"));
    expectSaved();
  }
}

TEST_F(PhotoVaultTest, PhotosStayInTheirFolderAndSurviveItsRemoval) {
  load();
  const Bytes jpeg = bytesOf("jpeg");
  EXPECT_FALSE(vault.savePhoto("../state.json", jpeg));
  EXPECT_FALSE(vault.readPhoto("../state.json"));
  EXPECT_EQ(vault.removePhotos({"../state.json", "a/b", "gone.jpg"}), 0u);
  EXPECT_TRUE(vault.savePhoto("a.jpg", jpeg));
  EXPECT_EQ(vault.readPhoto("a.jpg"), jpeg);
  MemoryFiles fresh;
  PhotoVault early(
      fresh, root, [] { return std::string("now"); }, Log(lines));
  EXPECT_EQ(early.save({}), PhotoVault::Save::saved) << "no folder yet";
  EXPECT_TRUE(early.savePhoto("b.jpg", jpeg)) << "no folder yet";
  EXPECT_THAT(early.photoNames(), ElementsAre("b.jpg"));
  files.failAll(full);
  EXPECT_FALSE(vault.savePhoto("c.jpg", jpeg));
}

TEST_F(PhotoVaultTest, AHandedOutPhotoIsRemovedWhenItIsBack) {
  load();
  for (const char* name : {"a.jpg", "b.jpg"}) vault.savePhoto(name, {});
  vault.handOut("a.jpg");
  vault.handOut("a.jpg");
  vault.handOut("b.jpg");
  EXPECT_EQ(vault.removePhotos({"a.jpg"}), 0u);
  vault.giveBack("a.jpg");
  vault.giveBack("b.jpg");
  vault.giveBack("never.jpg");
  EXPECT_THAT(vault.photoNames(), ElementsAre("a.jpg", "b.jpg"));
  vault.giveBack("a.jpg");
  EXPECT_THAT(vault.photoNames(), ElementsAre("b.jpg"));
}

TEST_F(PhotoVaultTest, DeleteAllLeavesOnlyWhatAnEventNames) {
  put("state.json", goodDocument);
  put("state.partial-a.json", "x");
  put("state.unreadable-b.json", "x");
  put("watch-list.json", "x");
  load();
  for (const char* name : {"a.jpg", "b.jpg", "c.mov", "d.jpg"}) vault.savePhoto(name, {});
  UnlockEvent event;
  event.photoFiles = {"a.jpg"};
  event.openingClips = {"c.mov"};
  const EventList events{std::make_shared<UnlockEvent>(event)};
  files.failNext(FileOp::remove, full);
  EXPECT_FALSE(vault.deleteAll(events).complete);
  const auto deleted = vault.deleteAll(events);
  EXPECT_TRUE(deleted.complete);
  EXPECT_EQ(lines.line(1),
            "delete all: 1 files no unlock named and 2 kept copies of state.json removed");
  EXPECT_EQ(deleted.files, 1u);
  EXPECT_EQ(deleted.copies, 0u);
  EXPECT_THAT(vault.photoNames(), ElementsAre("a.jpg", "c.mov"));
  EXPECT_THAT(copies(), ElementsAre("watch-list.json"));
  EXPECT_EQ(text("state.json"), goodDocument);
}

}  // namespace
}  // namespace brindle
