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
  PhotoVault vaultOn(MemoryFiles& disk) {
    return {disk, root, [] { return std::string("20261031-081500"); }, Log(lines)};
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
  PhotoVault vault = vaultOn(files);
};

TEST_F(PhotoVaultTest, AFirstLaunchIsSilentAndOnlyThatStartsWithoutALine) {
  files.failNext(FileOp::list, {FileError::Kind::denied, 13});
  expectNoHistory(Load::unreadable);  // not believed without a look at the folder
  lines.clear();
  expectNoHistory(Load::gone);
  EXPECT_EQ(lines.size(), 0u) << lines.all();
  EXPECT_TRUE(*files.exists(root + "/photos"));
  EXPECT_EQ(vault.save({}), Save::saved);
  expectSaved();
  EXPECT_THAT(copies(), IsEmpty());
  const std::tuple<std::string, Load, std::string> rows[] = {
      {goodDocument, Load::read, "state.json read: 0 events, on"},
      {R"({"events":[]})", Load::read, "state.json read: 0 events, off"},
      {R"({"events":[7,8]})", Load::partial,
       "state.json read in part: 2 events skipped, unreadable fields: none; the file is kept until "
       "something changes"},
      {partDocument, Load::partial, "state.json armedBy: Unknown arm source noon"},
      {"[]", Load::unreadable,
       "state.json is not a state: renamed beside it, Brindle starts off with no history: "
       "state.unreadable-20261031-081500-3.json"},
      {"", Load::missing,
       "state.json missing, with 3 copies kept aside beside it: not a first launch, Brindle starts "
       "off with no history"}};
  put("state.unreadable-20261031-081500.json", "first");
  put("state.unreadable-20261031-081500-2.json", "second");
  put("state.partial-20250101-000000.txt", "no copy");
  for (const auto& [document, how, line] : rows) {
    lines.clear();
    if (!document.empty()) put("state.json", document);
    EXPECT_EQ(load().how, how) << document;
    EXPECT_EQ(lines.line(document == partDocument ? 1 : 0), line);
  }
  EXPECT_EQ(text("state.unreadable-20261031-081500-3.json"), "[]");
  EXPECT_EQ(vault.save({}), Save::saved);
  EXPECT_EQ(copies().size(), 4u);
}

TEST_F(PhotoVaultTest, WhatIsKeptAsItIsMovesAsideBeforeTheFirstSave) {
  const std::tuple<FileOp, std::string, const char*> rows[] = {
      {FileOp::renameNew, "{",
       "state.json is not JSON, and couldn't be renamed: kept as it is, Brindle starts off with no "
       "history"},
      {FileOp::read, goodDocument,
       "state.json could not be read (5): kept as it is, Brindle starts off with no history"},
  };
  for (const auto& [failing, document, line] : rows) {
    put("state.json", document);
    lines.clear();
    files.failNext(failing, {FileError::Kind::other, 5});
    expectNoHistory(Load::unreadable);
    EXPECT_EQ(lines.line(0), line);
    files.failAll(full);
    EXPECT_EQ(vault.save({}), Save::failed);
    files.failNothing();
    EXPECT_EQ(lines.line(1),
              "state.json not saved: the file that didn't read whole couldn't be kept aside");
    EXPECT_EQ(text("state.json"), document);
    EXPECT_EQ(vault.save({}), Save::saved);
    EXPECT_TRUE(lines.has("state.json kept aside before the first change: %{private}s"));
    EXPECT_EQ(text(copies().front()), document);
    expectSaved();
    ASSERT_TRUE(files.remove(joinPath(root, copies().front())));
  }
}

/// The first save after a partial read fails from each of its steps on, with and without links.
TEST(PhotoVaultFailureTest, NoFailureOfTheFirstSaveLosesThePartialDocument) {
  const std::string notSaved =
      "state.json not saved: the write failed, the file that didn't read whole ";
  std::size_t inPlaceSaid = 0, asideSaid = 0;
  for (const bool links : {true, false}) {
    for (std::size_t step = 0; step <= 9; ++step) {
      SCOPED_TRACE(testing::Message() << "links " << links << ", step " << step);
      MemoryFiles disk;
      RecordingLog said;
      PhotoVault keeper(
          disk, root, [] { return std::string("now"); }, Log(said));
      ASSERT_TRUE(disk.makeFolder(root));
      ASSERT_TRUE(disk.writeWhole(root + "/state.json", viewOf(partDocument)));
      keeper.load();
      if (!links) disk.failNext(FileOp::link, {FileError::Kind::unsupported, 1});
      if (step == 9) disk.failNext(FileOp::write, full);  // and only that
      if (step < 9) disk.failAfter(step, full);
      const Save first = keeper.save({});
      disk.failNothing();
      const auto holds = [&](const std::string& name) {
        const auto bytes = disk.read(joinPath(root, name));
        return bytes && textOf(*bytes) == partDocument;
      };
      const bool inPlace = said.has(notSaved + "is as it was");
      const bool aside = said.has(notSaved + "is still aside");
      const bool neither =
          said.has("state.json not saved: the file that didn't read whole couldn't be kept aside");
      EXPECT_TRUE(holds("state.json") || (!inPlace && holds("state.partial-now.json")))
          << said.all();
      EXPECT_TRUE(!aside || holds("state.partial-now.json")) << said.all();
      EXPECT_TRUE(first != Save::failed || inPlace || aside || neither) << said.all();
      inPlaceSaid += inPlace;
      asideSaid += aside;
      EXPECT_EQ(keeper.save({}), Save::saved);
      EXPECT_TRUE(holds("state.partial-now.json")) << said.all();
    }
  }
  EXPECT_TRUE(inPlaceSaid > 0 && asideSaid > 0) << inPlaceSaid << ", " << asideSaid;
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
  using namespace std::string_view_literals;
  for (const auto name :
       {""sv, "."sv, ".."sv, "../state.json"sv, "a/b"sv, "/etc"sv, "a..jpg"sv, "a\0.jpg"sv}) {
    EXPECT_FALSE(vault.savePhoto(FileName(name), jpeg)) << name;
    EXPECT_FALSE(vault.readPhoto(FileName(name))) << name;
  }
  EXPECT_EQ(vault.removePhotos({"../state.json", "a/b", "gone.jpg"}), 0u);
  EXPECT_TRUE(vault.savePhoto("a.jpg", jpeg));
  EXPECT_EQ(vault.readPhoto("a.jpg"), jpeg);
  MemoryFiles fresh;
  PhotoVault early = vaultOn(fresh);
  EXPECT_EQ(early.save({}), Save::saved) << "no folder yet";
  EXPECT_TRUE(early.savePhoto("b.jpg", jpeg)) << "no folder yet";
  EXPECT_THAT(early.photoNames(), ElementsAre("b.jpg"));
  files.failAll(full);
  EXPECT_FALSE(vault.savePhoto("c.jpg", jpeg));
}

TEST(PhotoNameTest, NumbersGoOnAfterThoseTheEventHasInEitherCase) {
  UnlockEvent event;
  event.id.bytes[0] = 0xab;
  event.photoFiles = {event.id.lower() + "-7.jpg", "foreign-9.jpg", photoFileName(Uuid{}, 12)};
  EXPECT_EQ(nextPhotoIndex(event), 8u);
  event.openingPhotos = {photoFileName(event.id, 9)};
  EXPECT_EQ(nextPhotoIndex(event), 10u);
}

TEST_F(PhotoVaultTest, AHandedOutPhotoIsRemovedWhenItIsBack) {
  load();
  vault.savePhoto("a.jpg", {});
  for (int i = 0; i < 2; ++i) vault.handOut("a.jpg");
  EXPECT_EQ(vault.removePhotos({"a.jpg"}), 0u);
  vault.giveBack("a.jpg");
  EXPECT_THAT(vault.photoNames(), ElementsAre("a.jpg"));
  vault.giveBack("a.jpg");
  EXPECT_THAT(vault.photoNames(), IsEmpty());
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
