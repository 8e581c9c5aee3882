#include "platform/linux/calendar_linux.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "platform/contract/calendar_contract.h"
#include "testing/linux_loop.h"
#include "testing/private_mounts.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

void setZoneFile(const std::string& folder, const std::string& zone) {
  std::filesystem::create_symlink("/usr/share/zoneinfo/" + zone, folder + "/localtime.new");
  std::filesystem::rename(folder + "/localtime.new", folder + "/localtime");
}

struct SystemZone {
  ~SystemZone() { unsetenv("TZ"); }
  void enter(const char* zone, int, WallTime, int) { setenv("TZ", zone, 1); }
  void tell() { setZoneFile(folder.path(), "Asia/Kathmandu"); }
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }

  TemporaryFolder folder;
  LinuxScheduler scheduler;
  LinuxCalendar calendar{scheduler, folder / "localtime"};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, CalendarContract, SystemZone);

TEST(LinuxCalendarTest, AnotherSystemZoneIsToldAndReckonedWith) {
  PrivateMounts mounts;
  if (mounts.missing()) GTEST_SKIP() << mounts.missing();
  ASSERT_TRUE(mounts.add("/etc"));
  unsetenv("TZ");
  setZoneFile("/etc", "Asia/Kathmandu");
  LinuxScheduler scheduler;
  LinuxCalendar calendar(scheduler);
  EXPECT_EQ(calendar.local(utc(1, 5, 3, 15)).hour, 9);
  bool told = false;
  const auto changes = calendar.onChange([&] { told = true; });
  setZoneFile("/etc", "America/Mexico_City");
  ASSERT_TRUE(runUntil(scheduler, [&] { return told; }));
  EXPECT_EQ(calendar.local(utc(1, 5, 15)).hour, 9);
}

}  // namespace
}  // namespace brindle
