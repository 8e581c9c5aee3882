#include "platform/linux/bookmarks_linux.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/contract/bookmarks_contract.h"
#include "platform/linux/bookmark_record.h"
#include "platform/memory/bookmarks_memory.h"
#include "testing/child_process.h"
#include "testing/temporary_folder.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using Problem = Bookmarks::Problem;

void write(const std::string& path) { std::ofstream(path) << "text"; }

struct MemoryItems {
  MemoryBookmarks bookmarks;
  std::string path = "/home/anna/tax.txt";
  std::string move() { return bookmarks.moved[path] = "/home/anna/old/tax.txt"; }
  void remove(const std::string& gone) { bookmarks.removed.insert(gone); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, BookmarksContract, MemoryItems);

struct LinuxItems {
  LinuxItems() {
    fs::create_directories(folder / "a/b");
    fs::create_directories(folder / "c/d");
    write(path);
  }
  TemporaryFolder folder;
  VirtualScheduler clock;
  LinuxBookmarks bookmarks{clock, {.entries = 20'000, .milliseconds = 60'000}};
  std::string path = fs::canonical(folder.path()).string() + "/a/b/tax.txt";
  std::string move() {
    const std::string next = fs::canonical(folder / "c/d") / "other.txt";
    fs::rename(path, next);
    clock.run();
    return next;
  }
  void remove(const std::string& gone) { fs::remove(gone); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, BookmarksContract, LinuxItems);

class LinuxBookmarksTest : public testing::Test, protected LinuxItems {
 protected:
  /// Where it leads, with "stale: " before; else the number of the problem.
  std::string resolved(ByteView bookmark) {
    const auto found = bookmarks.resolve(bookmark);
    clock.run();
    if (!found) return std::to_string(static_cast<int>(found.error()));
    return (found->stale ? "stale: " : "") + found->path;
  }
  static std::string number(Problem problem) { return std::to_string(static_cast<int>(problem)); }
};

TEST_F(LinuxBookmarksTest, WhatIsAtThePathNowDecides) {
  const Bytes file = bookmarks.create(path).value();
  fs::rename(path, path + "~");
  write(path);
  EXPECT_EQ(resolved(file), "stale: " + path) << "a safe save leaves the old version beside it";
  fs::remove(path);
  EXPECT_EQ(resolved(file), "stale: " + path + "~");
  fs::create_directory(path);
  fs::rename(path + "~", folder / "kept");
  EXPECT_EQ(resolved(file), "stale: " + fs::canonical(folder / "kept").string());
  fs::remove(folder / "kept");
  EXPECT_EQ(resolved(file), number(Problem::gone)) << "a folder in its place";

  const Bytes inside = bookmarks.create(path).value();
  fs::rename(folder / "a", folder / "e");
  const std::string now = fs::canonical(folder / "e/b/tax.txt");
  EXPECT_EQ(resolved(inside), "stale: " + now) << "folders above it got another name";
  fs::create_symlink(folder / "e", folder / "a");
  EXPECT_EQ(resolved(inside), "stale: " + now) << "never a path with a link in it";
  EXPECT_EQ(problemOf(bookmarks.create("/dev/null")), Problem::other);
}

TEST_F(LinuxBookmarksTest, TheSearchKeepsToItsBoundsWhichMissingItemsShareInTurns) {
  write(folder / "c/letter");
  const Bytes lost = bookmarks.create(path).value();
  const Bytes moved = bookmarks.create(folder / "c/letter").value();
  for (int i = 0; i < 20; ++i) write(folder / ("a/b/" + std::to_string(i)));
  fs::remove(path);
  fs::rename(folder / "c/letter", folder / "c/d/letter");
  LinuxBookmarks late(clock, {.milliseconds = 0}),
      few(clock, {.entries = 20, .milliseconds = 60'000});
  EXPECT_EQ(problemOf(late.resolve(moved)), Problem::gone);
  const auto found = [&] { return few.resolve(lost) || few.resolve(moved); };
  EXPECT_FALSE(found()) << "the first leaves the other nothing";
  clock.run();
  EXPECT_TRUE(found()) << "the other goes first";
}

TEST_F(LinuxBookmarksTest, OtherMountsAreNotSearched) {
  const Bytes file = bookmarks.create(path).value();
  fs::rename(path, folder / "c/other.txt");
  fs::create_directory(folder / "shown");
  const int found = ChildProcess([&] {
                      const std::string from = folder / "c", to = folder / "shown";
                      if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
                          mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
                          mount("none", from.c_str(), "tmpfs", 0, nullptr) != 0) {
                        return 77;
                      }
                      return bookmarks.resolve(file) ? 1 : 0;
                    }).wait();
  if (found == 77) GTEST_SKIP() << "no mounts of our own here";
  EXPECT_EQ(found, 0);
}

TEST_F(LinuxBookmarksTest, AFolderThatMayNotBeLookedIntoIsDenied) {
  const Bytes file = bookmarks.create(path).value();
  const int problem = ChildProcess([&] {
                        if (geteuid() == 0 && setuid(65534) != 0) return -1;
                        chmod(folder.path().c_str(), 0);
                        const auto found = bookmarks.resolve(file);
                        return found ? -1 : static_cast<int>(found.error());
                      }).wait();
  fs::permissions(folder.path(), fs::perms::owner_all);
  EXPECT_EQ(problem, static_cast<int>(Problem::denied));
}

TEST_F(LinuxBookmarksTest, OnlyExactlyWhatWasWrittenIsRead) {
  const Bytes good = bookmarks.create(path).value();
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_EQ(resolved(ByteView(good).first(size)), number(Problem::unreadable)) << size;
  }
  Bytes longer = good;
  longer.push_back('x');
  Bytes otherVersion = good, otherKind = good, relative = good, cut = good;
  otherVersion[4] = 2;
  otherKind[5] = 3;
  relative[relative.size() - path.size()] = 'x';
  cut.back() = 0;
  for (const Bytes& bad : {longer, otherVersion, otherKind, relative, cut}) {
    EXPECT_EQ(resolved(bad), number(Problem::unreadable));
  }
  Bytes otherInode = good;
  otherInode[14] ^= 1;
  EXPECT_EQ(resolved(otherInode), "stale: " + path);
}

}  // namespace
}  // namespace brindle
