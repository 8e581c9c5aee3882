#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>

#include "platform/contract/files_contract.h"
#include "platform/linux/journal_sink.h"
#include "platform/memory/files_memory.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/terminal_sink.h"
#include "platform/tee_sink.h"
#include "testing/recording_log.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

using Kind = FileError::Kind;
using Names = std::vector<std::string>;

struct PosixBackend {
  TemporaryFolder folder;
  std::string root = folder / "below/Brindle";
  PosixFiles files{root};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Posix, FilesContract, PosixBackend);

mode_t modeOf(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777 : 0;
}

class PosixFilesTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(folder.path().empty()); }
  std::string text(Files& from, const std::string& path) {
    const auto content = from.read(path);
    return content ? std::string(textOf(*content)) : "(unreadable)";
  }

  TemporaryFolder folder;
  std::vector<FileStep> steps;
  bool flushFails = false;
  int flushesUntilFailure = 0;
  PosixFiles files{folder.path(),
                   [this](int fd) {
                     if (flushFails && flushesUntilFailure-- == 0) {
                       errno = EIO;
                       return -1;
                     }
                     return ::fsync(fd);
                   },
                   [this](const FileStep& step) { steps.push_back(step); }};
};

TEST_F(PosixFilesTest, WhatItMakesIsPrivate) {
  const mode_t earlier = ::umask(0);
  ASSERT_TRUE(files.makeFolder(folder / "a/b"));
  ASSERT_TRUE(files.writeWhole(folder / "a/b/c", viewOf("x")));
  ::umask(earlier);
  EXPECT_EQ(modeOf(folder / "a"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b/c"), 0600u);
}

TEST_F(PosixFilesTest, LinksAndPipesInTheWayDoNoHarm) {
  const std::string target = folder / "target";
  ASSERT_TRUE(files.writeWhole(target, viewOf("untouched")));
  const std::string planted = joinPath(folder.path(), temporaryName("state"));
  ASSERT_EQ(::symlink(target.c_str(), planted.c_str()), 0);
  ASSERT_EQ(::symlink(target.c_str(), (folder / "state").c_str()), 0);
  ASSERT_TRUE(files.writeWhole(folder / "state", viewOf("mine")));
  EXPECT_EQ(text(files, target), "untouched");
  EXPECT_EQ(text(files, folder / "state"), "mine");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(files.read(folder / "pipe"));
}

TEST_F(PosixFilesTest, AFailedFlushLeavesTheEarlierFile) {
  const std::string path = folder / "state";
  for (const int flush : {0, 1}) {  // of the file, of the folder
    ASSERT_TRUE(files.writeWhole(path, viewOf("old")));
    flushFails = true;
    flushesUntilFailure = flush;
    EXPECT_EQ(files.writeWhole(path, viewOf("new")).error(), (FileError{Kind::other, EIO}));
    flushesUntilFailure = flush;
    EXPECT_FALSE(files.writeWhole(folder / "fresh", viewOf("new")));
    flushFails = false;
    EXPECT_EQ(text(files, path), "old");
    EXPECT_EQ(files.list(folder.path()), Names{"state"});
    EXPECT_EQ(files.removeLeftovers(folder.path()), 0u);
  }
}

TEST_F(PosixFilesTest, WhatACrashLeftIsHiddenReplacedOrRemoved) {
  const auto leave = [&](const char* name) {
    return files.writeWhole(joinPath(folder.path(), temporaryName(name)), viewOf("half"));
  };
  ASSERT_TRUE(leave("state") && leave("photo"));
  EXPECT_EQ(files.list(folder.path()), Names{});
  ASSERT_TRUE(files.writeWhole(folder / "state", viewOf("whole")));
  EXPECT_EQ(files.removeLeftovers(folder.path()), 1u);
  EXPECT_EQ(text(files, folder / "state"), "whole");
}

/// Runs in mounts of its own, so that a disk can be small, full or read-only.
class PosixFilesOnMounts : public PosixFilesTest {
 protected:
  void SetUp() override {
    PosixFilesTest::SetUp();
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr)) {
      GTEST_SKIP() << "mounts of its own need root";
    }
    for (const char* name : {"small", "other"}) {
      const std::string disk = folder / name;
      ASSERT_TRUE(files.makeFolder(disk));
      ASSERT_EQ(::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=1m"), 0);
      mounted.push_back(disk);
    }
    path = folder / "small/state.json";
    ASSERT_TRUE(files.writeWhole(path, viewOf("old")));
  }
  void TearDown() override {
    for (const std::string& each : mounted) ::umount2(each.c_str(), MNT_DETACH);
  }
  std::vector<std::string> mounted;
  std::string path;
};

TEST_F(PosixFilesOnMounts, AFullDiskIsSaidAndLosesNothing) {
  const Bytes large(2 << 20);
  const auto written = files.writeWhole(path, large);
  ASSERT_FALSE(written);
  EXPECT_EQ(written.error(), (FileError{Kind::noSpace, ENOSPC}));
  EXPECT_EQ(text(files, path), "old");
  EXPECT_EQ(files.removeLeftovers(folder / "small"), 0u);
  EXPECT_TRUE(files.writeWhole(path, viewOf("fits")));
}

TEST_F(PosixFilesOnMounts, AReadOnlyDiskIsSaidAndStaysReadable) {
  ASSERT_EQ(::mount("", mounted[0].c_str(), "", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  for (const auto& result :
       {files.writeWhole(path, viewOf("new")), files.remove(path), files.hardLink(path, path + "2"),
        files.renameNew(path, path + "2"), files.makeFolder(folder / "small/new")}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (FileError{Kind::denied, EROFS}));
  }
  EXPECT_TRUE(files.makeFolder(folder / "small"));
  EXPECT_EQ(text(files, path), "old");
  const PosixFiles there(folder / "small/Brindle");
  EXPECT_FALSE(there.report().answered);
  EXPECT_TRUE(files.report().answered);
}

TEST_F(PosixFilesOnMounts, NamesCannotCrossDisks) {
  const std::string across = folder / "other/state.json";
  for (const auto& result : {files.renameNew(path, across), files.hardLink(path, across)}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (FileError{Kind::unsupported, EXDEV}));
  }
  EXPECT_EQ(text(files, path), "old");
}

TEST_F(PosixFilesOnMounts, TheJournalNeverGetsPrivateText) {
  ASSERT_EQ(::mount("tmpfs", "/run", "tmpfs", 0, "size=1m"), 0);
  mounted.emplace_back("/run");
  EXPECT_FALSE(JournalSink::available());
  ASSERT_TRUE(files.makeFolder("/run/systemd/journal"));
  const Descriptor journal(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
  ASSERT_EQ(::bind(journal.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_TRUE(JournalSink::available());
  JournalSink sink;
  Log(sink).notice("state.json kept aside: %{private}s, %{public}ld events", "secret name", 3);
  char entry[4096];
  const auto size = ::recv(journal.get(), entry, sizeof entry, 0);
  ASSERT_GT(size, 0);
  const std::string_view sent(entry, static_cast<std::size_t>(size));
  EXPECT_NE(sent.find("MESSAGE=state.json kept aside: <private>, 3 events\n"), sent.npos) << sent;
  EXPECT_NE(sent.find("SYSLOG_IDENTIFIER=brindle\n"), sent.npos);
  EXPECT_EQ(sent.find("secret name"), sent.npos);
}

TEST(TerminalSinkTest, RedactsAndKeepsToOneLine) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const Descriptor in(ends[0]);
  const Descriptor out(ends[1]);
  TerminalSink terminal(out.get());
  RecordingLog recorder;
  TeeSink both({&terminal, &recorder});
  Log(both).notice("camera: %{public}s at %{private}s", "\x1b[2J\nforged", "home");
  char line[200];
  const auto size = ::read(in.get(), line, sizeof line);
  ASSERT_GT(size, 0);
  EXPECT_EQ(std::string_view(line, static_cast<std::size_t>(size)),
            "camera: ?[2J?forged at <private>\n");
  EXPECT_TRUE(recorder.has("camera: \x1b[2J\nforged at home"));
}

}  // namespace
}  // namespace brindle
