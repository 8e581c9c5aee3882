#include "platform/linux/opened_files_linux.h"

#include <gtest/gtest.h>

#include <fstream>

#include "testing/child_process.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

TEST(LinuxOpenedFilesTest, AProgramInSurroundingsOfItsOwnGoesByNoNameOfOurs) {
  const TemporaryFolder folder;
  const std::vector<std::string> file{folder / "file"};
  std::ofstream(file[0]) << "text";
  const OpeningTimes times;
  const auto holder = [&](const std::string& line) {
    const auto program = readyProgram(
        folder.path(), line + " bash -c 'exec 9<" + file[0] + "; echo x >&3; kill -STOP $$'");
    return LinuxOpenedFiles(times).openers(file)[file[0]];
  };
  EXPECT_EQ(holder("env"), std::filesystem::canonical("/bin/bash"));
  if (bash("unshare --user true") != 0) GTEST_SKIP() << "no name spaces of our own here";
  EXPECT_TRUE(holder("unshare --user").starts_with("/proc/"));
}

TEST(LinuxOpenedFilesTest, ATimeOfAccessThatNoClockCanHoldIsNone) {
  // A file system that keeps any time; others keep to what a disk has room for.
  const std::string file = "/dev/shm/brindle-test-" + std::to_string(getpid());
  OpeningTimes times;
  times.lost({WallTime{}, WallTime{std::chrono::hours(1'000'000)}});
  ASSERT_EQ(bash("touch " + file + "; touch -a -d @9300000000000000 " + file), 0);
  EXPECT_FALSE(LinuxOpenedFiles(times).lastUsed(file));
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace brindle
