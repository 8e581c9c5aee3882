#include "platform/linux/opened_files_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "testing/child_process.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

TEST(LinuxOpenedFilesTest, AProgramInSurroundingsOfItsOwnGoesByNoNameOfOurs) {
  const TemporaryFolder folder;
  const std::vector<std::string> file{folder / "file"};
  std::ofstream(file[0]) << "text";
  OpeningTimes times;
  const auto holder = [&](const std::string& line) {
    const auto program = readyProgram(
        folder.path(), line + " bash -c 'exec 9<" + file[0] + "; echo x >&3; kill -STOP $$'");
    return LinuxOpenedFiles(times).openers(file)[file[0]];
  };
  EXPECT_EQ(holder("env"), std::filesystem::canonical("/bin/bash"));
  std::filesystem::copy("/bin/bash", folder / "bash");
  EXPECT_EQ(holder("env PATH=" + folder.path() + ":/bin"), folder / "bash");
  for (const char* apart : {"unshare --user", "unshare --user --mount"}) {
    if (bash(std::string(apart) + " true") != 0) GTEST_SKIP() << "no name spaces of our own here";
    EXPECT_TRUE(holder(apart).starts_with("/proc/")) << holder(apart);
  }
}

TEST(LinuxOpenedFilesTest, ATimeOfAccessThatNoClockCanHoldIsNone) {
  // A file system that keeps any time; others keep to what a disk has room for.
  const std::string file = "/dev/shm/brindle-test-" + std::to_string(getpid());
  std::ofstream(file) << "text";
  OpeningTimes times;
  const auto now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  times.lost({now - std::chrono::seconds(5), now + std::chrono::seconds(5)});
  EXPECT_TRUE(LinuxOpenedFiles(times).lastUsed(file));
  for (const time_t extreme : {time_t{1} << 62, -(time_t{1} << 62)}) {
    const timespec both[]{{extreme, 0}, {0, UTIME_OMIT}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), both, 0), 0);
    EXPECT_FALSE(LinuxOpenedFiles(times).lastUsed(file));
  }
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace brindle
