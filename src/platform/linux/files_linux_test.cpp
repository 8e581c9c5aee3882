#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/contract/files_contract.h"
#include "platform/posix/files_posix.h"
#include "testing/private_mounts.h"
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
  std::string text(const std::string& path) {
    const auto content = files.read(path);
    return content ? std::string(textOf(*content)) : "(unreadable)";
  }

  TemporaryFolder folder;
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
                   {}};
};

TEST_F(PosixFilesTest, WhatItMakesIsPrivateAndLinksAndPipesInTheWayDoNoHarm) {
  const mode_t earlier = ::umask(0);
  ASSERT_TRUE(files.makeFolder(folder / "a/b"));
  ASSERT_TRUE(files.writeWhole(folder / "a/b/c", viewOf("x")));
  ::umask(earlier);
  EXPECT_EQ(modeOf(folder / "a"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b"), 0700u);
  EXPECT_EQ(modeOf(folder / "a/b/c"), 0600u);

  const std::string target = folder / "target";
  ASSERT_TRUE(files.writeWhole(target, viewOf("untouched")));
  const std::string planted = joinPath(folder.path(), temporaryName("state"));
  ASSERT_EQ(::symlink(target.c_str(), planted.c_str()), 0);
  ASSERT_EQ(::symlink(target.c_str(), (folder / "state").c_str()), 0);
  ASSERT_TRUE(files.writeWhole(folder / "state", viewOf("mine")));
  EXPECT_EQ(text(target), "untouched");
  EXPECT_EQ(text(folder / "state"), "mine");
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
    EXPECT_EQ(text(path), "old");
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
  EXPECT_EQ(text(folder / "state"), "whole");
}

/// Runs in mounts of its own, so that a disk can be small, full or read-only.
class PosixFilesOnMounts : public PosixFilesTest {
 protected:
  void SetUp() override {
    PosixFilesTest::SetUp();
    if (mounts.missing()) GTEST_SKIP() << mounts.missing();
    for (const std::string& disk : {small, folder / "other"}) {
      ASSERT_TRUE(files.makeFolder(disk) && mounts.add(disk));
    }
    ASSERT_TRUE(files.writeWhole(path, viewOf("old")));
  }
  const std::string small = folder / "small";
  const std::string path = small + "/state.json";
  PrivateMounts mounts;
};

TEST_F(PosixFilesOnMounts, AFullReadOnlyOrOtherDiskIsSaidAndLosesNothing) {
  EXPECT_EQ(files.writeWhole(path, Bytes(2 << 20)).error(), (FileError{Kind::noSpace, ENOSPC}));
  EXPECT_EQ(text(path), "old");
  EXPECT_EQ(files.removeLeftovers(small), 0u);

  const std::string across = folder / "other/state.json";
  for (const auto& result : {files.renameNew(path, across), files.hardLink(path, across)}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (FileError{Kind::unsupported, EXDEV}));
  }
  EXPECT_EQ(text(path), "old");
  EXPECT_TRUE(files.writeWhole(path, viewOf("fits")));

  ASSERT_EQ(::mount("", small.c_str(), "", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  for (const auto& result :
       {files.writeWhole(path, viewOf("new")), files.remove(path), files.hardLink(path, path + "2"),
        files.renameNew(path, path + "2"), files.makeFolder(small + "/new")}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (FileError{Kind::denied, EROFS}));
  }
  EXPECT_TRUE(files.makeFolder(small));
  EXPECT_EQ(text(path), "fits");
  const PosixFiles there(small + "/Brindle");
  EXPECT_FALSE(there.report().answered);
  EXPECT_TRUE(files.report().answered);
}

}  // namespace
}  // namespace brindle
