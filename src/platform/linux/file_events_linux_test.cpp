#include "platform/linux/file_events_linux.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>

#include "platform/contract/file_events_contract.h"
#include "platform/contract/opened_files_contract.h"
#include "platform/linux/file_events_stream.h"
#include "platform/linux/opened_files_linux.h"
#include "platform/memory/file_events_memory.h"
#include "platform/memory/opened_files_memory.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/private_mounts.h"
#include "testing/temporary_folder.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using Way = LinuxFileEvents::Way;

/// A private folder on the real file system, and others at work in it.
struct RealFolder {
  explicit RealFolder(Way way = Way::best) : all(loop, times, way) {
    sh("mkdir -p tree/in tree/out elsewhere; touch file other tree/in/x tree/out/x");
  }
  int sh(const std::string& line) const { return bash("cd " + folder.path() + "; " + line); }
  std::string path(const std::string& name) const { return folder / name; }

  TemporaryFolder folder;
  LinuxScheduler loop;
  OpeningTimes times;
  LinuxFileEvents all;
};

template <Way way>
struct RealEvents : RealFolder {
  RealEvents() : RealFolder(way) {}
  FileEvents& events() { return all; }
  void open(const std::string& path) { sh("cat " + path); }
  bool until(const std::function<bool()>& done) { return runUntil(loop, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Fanotify, FileEventsContract, RealEvents<Way::best>);
INSTANTIATE_TYPED_TEST_SUITE_P(Inotify, FileEventsContract, RealEvents<Way::inotifyOnly>);

struct ToldEvents {
  VirtualScheduler scheduler;
  MemoryFileEvents all{scheduler};
  FileEvents& events() { return all; }
  std::string path(const std::string& name) { return "/" + name; }
  void open(const std::string& path) { all.happened(path, file_event::itemXattrMod); }
  bool until(const std::function<bool()>& done) {
    scheduler.run();
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, FileEventsContract, ToldEvents);

struct RealOpenings : RealFolder {
  DeliveredEvents seen;
  LinuxOpenedFiles opened{times};
  std::unique_ptr<FileEventStream> stream =
      *all.open({{path("file"), path("other")}, {}, {}}, seen.deliver());
  std::unique_ptr<ChildProcess> holder;
  OpenedFiles& files() { return opened; }
  void open(const std::string& file) {
    sh("cat " + file);
    stream->flush();
  }
  std::string hold(const std::string& file) {
    holder = readyProgram(folder.path(), "/usr/bin/python3 -c 'import os, time; held = open(\"" +
                                             file + "\"); os.write(3, b\"x\\n\"); time.sleep(99)'")
                 .first;
    stream->flush();
    return std::filesystem::canonical("/usr/bin/python3");
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, OpenedFilesContract, RealOpenings);

struct ToldOpenings {
  MemoryOpenedFiles all;
  OpenedFiles& files() { return all; }
  std::string path(const std::string& name) { return "/" + name; }
  void open(const std::string& path) { all.dates[path] += std::chrono::seconds(1); }
  std::string hold(const std::string& path) {
    open(path);
    return all.programs[path] = "/usr/bin/reader";
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, OpenedFilesContract, ToldOpenings);

constexpr std::uint32_t opened = file_event::itemXattrMod, renamed = file_event::itemRenamed,
                        removed = file_event::itemRemoved, root = file_event::rootChanged,
                        any = ~0U;

/// `done`, and once that was told `then`, while "file", "missing/file" and the folder "tree" are
/// observed, tell of `flags` on `path`, and nothing of `notFlags` on `notPath`.
struct Deed {
  std::string done, then;
  std::string path;
  std::uint32_t flags;
  std::string notPath;
  std::uint32_t notFlags;
};
const std::vector<Deed> deeds{
    {"cat file other", "", "file", opened, "other", any},
    {"cat elsewhere/link", "", "file", opened, "elsewhere/link", any},
    {"python3 -c 'import mmap; f = open(\"file\"); mmap.mmap(f.fileno(), 0, prot=1)'", "", "file",
     opened, "tree", any},
    {"ls -lR . >/dev/null; stat file", "", "", 0, "file", any},
    {"ls -lR . >/dev/null; stat tree/in/x", "", "", 0, "tree/in/x", any},
    {"mv file elsewhere/new", "", "file", renamed, "file", opened},
    {"mv file new; cat new", "", "file", opened, "new", any},
    {"mv file new", "", "file", root, "tree", any},
    {"echo new >.save; mv .save file; cat file", "", "file", opened, "file", root},
    {"cat file; rm file", "", "file", opened, "tree", any},
    {"rm file", "", "file", removed, "file", opened},
    {"rm file", "echo again >file; cat file", "file", opened, "tree", any},
    {"mkdir -p tree/new/deep; echo x >tree/new/deep/x", "", "tree/new/deep/x", opened, "file", any},
    {"mkdir tree/new", "echo x >tree/new/x", "tree/new/x", opened, "tree", any},
    {"mv tree/in tree/out/moved", "cat tree/out/moved/x", "tree/out/moved/x", opened, "tree/in/x",
     any},
    {"mv tree/in elsewhere", "cat elsewhere/in/x", "", 0, "tree/in/x", any},
    {"cp -r tree elsewhere", "", "tree/out/x", opened, "tree", root},
    {"rm -r tree", "", "tree", root, "tree/in/x", opened},
    {"mv tree gone; cat gone/in/x", "", "tree", root, "file", any},
    {"mkdir missing", "", "missing/file", root, "file", any},
    {"mkdir elsewhere/far; touch -d 2100-01-01 elsewhere/far/x; mv elsewhere/far tree", "",
     "tree/far/x", file_event::itemCreated, "tree/far/x", opened},
};

class FileEventsLinuxTest : public testing::TestWithParam<Way> {};

TEST_P(FileEventsLinuxTest, TellsWhatOthersDo) {
  for (const Deed& deed : deeds) {
    SCOPED_TRACE(deed.done);
    RealFolder real(GetParam());
    real.sh("echo x >file; ln file elsewhere/link");
    DeliveredEvents seen;
    auto stream = real.all.open(
        {{real.path("file"), real.path("missing/file")}, {real.path("tree")}, {}}, seen.deliver());
    ASSERT_TRUE(stream);
    for (const std::string& each : {deed.done, deed.then}) {
      EXPECT_EQ(real.sh(each), 0);
      (*stream)->flush();
    }
    EXPECT_TRUE(deed.path.empty() || seen.has(real.path(deed.path), deed.flags));
    EXPECT_FALSE(seen.has(real.path(deed.notPath), deed.notFlags));
  }
}

TEST_P(FileEventsLinuxTest, ManyStreamsLeaveNoDescriptorAndNoThread) {
  RealFolder real(GetParam());
  const auto entries = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  };
  const auto descriptors = entries("/proc/self/fd"), threads = entries("/proc/self/task");
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(real.all.open({{real.path("file")}, {real.path("tree")}, {}}, [](auto) {}));
  }
  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(entries("/proc/self/task"), threads);
}

/// The reader is held up while more happens than the kernel keeps.
TEST_P(FileEventsLinuxTest, LostEventsAreOneScanAndTheObservationGoesOn) {
  RealFolder real(GetParam());
  real.sh("mkdir tree/gone; touch tree/gone/x");
  DeliveredEvents seen;
  std::promise<void> burstOver;
  const auto over = burstOver.get_future().share();
  auto stream = real.all.open({{}, {real.path("tree")}, {}}, [&, inner = seen.deliver()](auto all) {
    over.wait();
    inner(std::move(all));
  });
  ASSERT_TRUE(stream);
  real.sh(
      "cat tree/in/x; seq -f tree/in/%g 20000 | xargs touch; mkdir tree/late; mv tree/gone .; "
      "touch tree/late/x; touch -a -d '1 hour ago' tree/out/x; cat tree/out/x");
  burstOver.set_value();
  (*stream)->flush();
  EXPECT_TRUE(seen.has("/", file_event::mustScanSubDirs));
  EXPECT_TRUE(LinuxOpenedFiles(real.times).lastUsed(real.path("tree/out/x")))
      << "the time of access stands in for what was lost";
  const auto before = seen.count();
  real.sh("cat gone/x tree/late/x");
  (*stream)->flush();
  EXPECT_TRUE(seen.has(real.path("tree/late/x"), opened));
  EXPECT_LE(seen.count(), before + 2);
  EXPECT_FALSE(seen.has(real.path("tree/gone/x"), any)) << "moved away meanwhile";
}
/// Root may read everything, but not as somebody in a user namespace of its own.
TEST_P(FileEventsLinuxTest, WhatMayNotBeReadIsNamedAndObservedOnceItMay) {
  RealFolder real(GetParam());
  real.sh("chmod 0 tree/in other");
  ChildProcess child([&real] {
    if (geteuid() == 0 && unshare(CLONE_NEWUSER) != 0) return 77;
    DeliveredEvents seen;
    const auto stream =
        real.all.open({{real.path("other")}, {real.path("tree")}, {}}, seen.deliver());
    const std::vector<UnobservedPath> unread{
        {real.path("other"), "by other names of the file: permission denied", true, false},
        {real.path("tree/in"), "permission denied", false, false}};
    if (!stream || (*stream)->unobserved() != unread) return 1;
    real.sh("chmod 700 tree/in; cat tree/in/x; chmod 600 other; mv other new; mv new other");
    (*stream)->flush();
    if (!(*stream)->unobserved().empty()) return 2;
    real.sh("echo y >tree/in/y");
    (*stream)->flush();
    return seen.has(real.path("tree/in/y"), opened) ? 0 : 3;
  });
  const int status = child.wait();
  if (status == 77) GTEST_SKIP() << "no user namespace can be made here";
  EXPECT_EQ(status, 0);
}
INSTANTIATE_TEST_SUITE_P(Ways, FileEventsLinuxTest, testing::Values(Way::best, Way::inotifyOnly));

TEST(FileEventsLinux, ThisProcessIsLeftOutAndMountsAreSeen) {
  PrivateMounts mounts;
  RealFolder real;
  if (real.all.report().backend != "fanotify") GTEST_SKIP() << real.all.report().detail;
  DeliveredEvents seen;
  auto stream = real.all.open({{real.path("file")}, {real.path("tree")}, {}}, seen.deliver());
  for (const char* each : {"file", "tree/in/x"}) std::ifstream(real.path(each)).get();
  (*stream)->flush();
  EXPECT_EQ(seen.count(), 0U);
  if (mounts.missing()) GTEST_SKIP() << mounts.missing();
  ASSERT_TRUE(mounts.add(real.path("tree/in")));
  EXPECT_TRUE(runUntil(real.loop, [&] { return seen.has(real.path("tree"), root); }));
  EXPECT_FALSE(seen.has(real.path("file"), root));
}

/// A kernel that does not get on with the file system.
struct Refusal final : KernelWatch {
  Result<FileKey, int> watch(int, Part) override { return Failure(EXDEV); }
  void forget(const FileKey&) override {}
  bool read(std::vector<KernelChange>&) override { return false; }
  int descriptor() const override { return -1; }
  std::string limit() const override { return {}; }
};

TEST(FileEventsLinux, WhatOneKernelRefusesIsLeftToTheNextOrNamed) {
  RealFolder real;
  const ObservedPaths paths{{real.path("file")}, {real.path("tree")}, {}};
  for (const bool another : {true, false}) {
    DeliveredEvents seen;
    LinuxFileEventStream stream(real.times, seen.deliver(), paths);
    stream.observe(std::make_unique<Refusal>());
    ASSERT_TRUE(stream.wantsMore());
    if (another) stream.observe(*openInotify());
    ASSERT_TRUE(stream.start());
    real.sh("cat file tree/in/x");
    stream.flush();
    EXPECT_EQ(seen.has(real.path("file"), opened), another);
    EXPECT_EQ(seen.has(real.path("tree/in/x"), opened), another);
    EXPECT_EQ(stream.unobserved().size(), another ? 0U : 2U);
  }
}

/// In a user namespace of its own, whose share of the system's marks is small.
TEST(FileEventsLinux, AReachedLimitIsNamedAndTheRestStaysObserved) {
  const RealFolder real;
  real.sh("mkdir tree/{a,b,c,d,e,f,g,h,i,j,k}; chmod a+rX -R .");
  ChildProcess child([&real] {
    if (unshare(CLONE_NEWUSER) != 0) return 77;
    if (!(std::ofstream("/proc/sys/user/max_fanotify_marks") << 9 << std::flush)) return 77;
    DeliveredEvents seen;
    OpeningTimes times;
    LinuxScheduler loop;
    LinuxFileEvents events(loop, times);
    const auto stream = events.open({{real.path("file")}, {real.path("tree")}, {}}, seen.deliver());
    if (!stream || (*stream)->unobserved().empty()) return 1;
    const UnobservedPath first = (*stream)->unobserved()[0];
    if (!first.limit || !first.why.contains("fs.fanotify.max_user_marks")) return 2;
    real.sh("cat file; mkdir tree/late");
    (*stream)->flush();
    if (!seen.has(real.path("file"), opened)) return 3;
    if (!seen.has(real.path("tree/late"), file_event::itemCreated)) return 4;
    std::ofstream("/proc/sys/user/max_fanotify_groups") << 3;
    std::ofstream("/proc/sys/user/max_inotify_instances") << 0;
    const auto second = events.open({{real.path("file")}, {real.path("tree")}, {}}, [](auto) {});
    return second && (*second)->unobserved().back().limit ? 0 : 5;
  });
  const int status = child.wait();
  if (status == 77) GTEST_SKIP() << "no user namespace can be made here";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace brindle
