#include "platform/linux/running_apps_linux.h"

#include <sys/socket.h>

#include <filesystem>
#include <fstream>

#include "platform/contract/running_apps_contract.h"
#include "platform/memory/running_apps_memory.h"
#include "testing/linux_loop.h"
#include "testing/private_display.h"
#include "testing/virtual_scheduler.h"

// Last: its macros (None, Bool) get in the way of other headers.
#include "platform/linux/x11_display.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using What = RunningApps::What;

struct MemoryApps {
  MemoryApps() {
    apps.installed["/usr/bin/notes"] = {"org.example.Notes", "Notes"};
    apps.installed["/usr/bin/draw"] = {"org.example.Draw", "Draw"};
  }
  VirtualScheduler scheduler;
  MemoryRunningApps apps{scheduler};
  std::string program = "/usr/bin/notes";
  void start(const std::string& id) {
    apps.launch(id);
    apps.activate(id);
  }
  bool until(const std::function<bool()>& done) {
    scheduler.advance(Duration(0));
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, RunningAppsContract, MemoryApps);

/// A loop whose repeating timers run on virtual time.
struct SteppedLoop : LinuxScheduler {
  VirtualScheduler clock;
  Timer every(Duration interval, Task task) override {
    return clock.every(interval, std::move(task));
  }
};

/// Installed applications, and processes and units as the kernel would show them.
struct Desktop {
  Desktop() {
    for (const char* place : {"own", "all/kde", "units/app-old.slice", "bin"}) {
      fs::create_directories(folder / place);
    }
    for (const char* name : {"notes", "shared", "paint", "script.py", "python3.11"}) {
      write("bin/" + std::string(name), "");
    }
    install("all/org.example.Notes", "Name=Notes\nName[de]=Notizen\nExec=" + program + " %U\n");
    install("all/org.example.Draw",
            "Name=Draw\nExec=env A=1 sandbox run org.example.Draw\n"
            "StartupWMClass=draw-window\n");
    install("all/kde/paint", "Exec=\"" + folder / "bin/paint" + "\" --new %f\n[Other]\nName=no\n");
    install("all/scripted", "Name=A\\sScript\nExec=" + folder / "bin/script.py" + "\n");
    install("all/gone", "Name=Gone\nExec=" + folder / "bin/shared" + "\n");
    install("own/gone", "Name=Gone\nHidden=true\n");
    process("71", "notes", "");
  }
  void write(const std::string& name, const std::string& text) {
    std::ofstream(folder / name) << text;
  }
  void install(const std::string& name, const std::string& keys) {
    write(name + ".desktop", "# a comment\n[Desktop Entry]\nType=Application\n" + keys);
  }
  void process(const std::string& pid, const std::string& executable, const std::string& unit,
               const std::string& arguments = "") {
    fs::create_directories(folder / ("processes/" + pid));
    write("processes/" + pid + "/cgroup", "1:cpu:/\n0::/user.slice/" + unit + "\n");
    write("processes/" + pid + "/cmdline", arguments);
    fs::create_symlink(folder / ("bin/" + executable), folder / ("processes/" + pid + "/exe"));
  }
  RunningAppsPlaces places() {
    return {{folder / "own", folder / "all"}, folder / "units", folder / "processes"};
  }

  TemporaryFolder folder;
  std::string program = folder / "bin/notes";
  SteppedLoop loop;
};

/// A program with one window, for as long as it lives.
std::unique_ptr<ChildProcess> windowOf(const char* instance, const char* windowClass, long pid) {
  return std::make_unique<ChildProcess>([=] {
    Display* const display = XOpenDisplay(nullptr);
    if (!display) return 1;
    const Window window =
        XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 50, 50, 0, 0, 0);
    XClassHint hint{const_cast<char*>(instance), const_cast<char*>(windowClass)};
    XSetClassHint(display, window, &hint);
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&pid), 1);
    XMapWindow(display, window);
    for (XEvent event;;) XNextEvent(display, &event);
  });
}

/// With an X server, and a window manager that has begun to work: while it starts it may lose
/// windows.
struct X11Desktop : Desktop {
  X11Desktop() {
    fs::remove_all(folder / "units");
    const std::string at = folder.path();
    const std::string line = "env HOME=" + at + " XDG_CONFIG_HOME=" + at + " XDG_CACHE_HOME=" + at +
                             " openbox --sm-disable --startup 'bash -c \"echo up >" + at +
                             "/ready\"'";
    manager_ = readyProgram(folder.path(), line).first;
  }
  void start(const std::string& id) {
    programs.push_back(id == "org.example.Notes" ? windowOf("x", "y", 71)
                                                 : windowOf("draw-window", "y", 0));
  }
  bool until(const std::function<bool()>& done) { return runUntil(loop, done); }

  PrivateDisplay display;
  std::unique_ptr<ChildProcess> manager_;
  std::vector<std::unique_ptr<ChildProcess>> programs;
  LinuxRunningApps apps{loop, places()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(X11, RunningAppsContract, X11Desktop);

TEST(LinuxRunningAppsTest, WindowsLeadToApplicationsByClassUnitAndProgram) {
  X11Desktop desktop;
  desktop.process("81", "shared", "app-gnome-org.example.Draw-81.scope");
  desktop.process("82", "python3.11", "",
                  std::string("python3\0-E\0", 11) + desktop.folder / "bin/script.py");
  fs::create_directories(desktop.folder / "bin/lib");
  desktop.write("bin/lib/paint", "");
  desktop.process("83", "lib/paint", "");
  desktop.process("84", "shared", "app-gone-84.scope");
  std::string last;
  const auto subscription = desktop.apps.observe([&](const std::string& id, What what) {
    if (what == What::activated) last = id;
  });
  struct Case {
    const char *instance, *windowClass;
    long pid;
    const char* id;
  };
  const Case cases[] = {{"x", "Draw-Window", 0, "org.example.Draw"},
                        {"KDE-paint", "x", 0, "kde-paint"},
                        {"x", "x", 81, "org.example.Draw"},
                        {"x", "x", 82, "scripted"},
                        {"x", "x", 83, "kde-paint"},
                        {"x", "x", 84, "shared"},
                        {"x", "draw-window", getpid(), "brindle"},
                        {"x", "x", 71, "org.example.Notes"}};
  for (const Case& one : cases) {
    desktop.programs.push_back(windowOf(one.instance, one.windowClass, one.pid));
    EXPECT_TRUE(desktop.until([&] { return last == one.id; })) << one.id << ", not " << last;
  }
  EXPECT_EQ(bash("xdotool search --class Draw-Window windowactivate"), 0);
  EXPECT_TRUE(desktop.until([&] { return last == "org.example.Draw"; }));

  for (int i = 0; i < 20; ++i) windowOf("x", "short", 71);
  desktop.programs.clear();
  EXPECT_TRUE(desktop.until([&] { return !desktop.apps.frontmost(); }));
  desktop.start("org.example.Notes");
  EXPECT_TRUE(desktop.until([&] { return last == "org.example.Notes"; })) << "a number used again";
  EXPECT_EQ(desktop.loop.clock.pending(), 0u) << "looks at processes beside the windows";
  desktop.display.kill();
  EXPECT_TRUE(desktop.until([&] { return desktop.loop.clock.pending() == 1; }));
}

TEST(LinuxRunningAppsTest, TheEndOfADisplayThatOnlyReadingShowsIsNoticed) {
  X11Desktop desktop;
  const auto subscription = desktop.apps.observe([](const std::string&, What) {});
  for (int each = 3; each < 100; ++each) shutdown(each, SHUT_RD);  // the only socket here
  EXPECT_TRUE(desktop.until([&] { return desktop.loop.clock.pending() == 1; }));
}

TEST(LinuxRunningAppsTest, WithoutADisplayUnitsOrElseProcessesTellOfStarts) {
  Desktop desktop;
  for (const bool units : {true, false}) {
    if (!units) fs::remove_all(desktop.folder / "units");
    LinuxRunningApps apps(desktop.loop, desktop.places());
    std::vector<std::string> told;
    auto subscription = apps.observe([&](const std::string& id, What) { told.push_back(id); });
    EXPECT_TRUE(apps.report().answered);
    EXPECT_EQ(desktop.loop.clock.pending(), 1u) << "a look at what is in no unit";
    EXPECT_FALSE(apps.frontmost());
    if (units) {
      for (const char* unit :
           {"units/dbus.service", "units/app-gnome-kde\\x2dpaint-12.scope",
            "units/app-old.slice/app-org.example.Notes@ab.service", "units/app-gone-13.scope",
            "units/app-new.slice/app-kde-scripted-14.scope"}) {
        fs::create_directories(desktop.folder / unit);
      }
      EXPECT_TRUE(runUntil(desktop.loop, [&] { return told.size() == 3; }));
      EXPECT_EQ(told, (std::vector<std::string>{"kde-paint", "org.example.Notes", "scripted"}));
      fs::remove_all(desktop.folder / "units");
      fs::create_directories(desktop.folder /
                             "units/app-dbus.slice/dbus-:1.2-org.example.Draw@0.service");
      EXPECT_TRUE(runUntil(desktop.loop, [&] { return told.size() == 4; }))
          << "the folder made anew";
      EXPECT_EQ(told.back(), "org.example.Draw");
    } else {
      desktop.process("91", "paint", "");
      desktop.process("92", "shared", "");
      desktop.loop.clock.advance(ProcessLook::interval);
      desktop.process("93", "paint", "");
      desktop.install("all/late", "Exec=" + desktop.folder / "bin/shared" + "\n");
      desktop.loop.clock.advance(ProcessLook::interval);
      EXPECT_EQ(told, std::vector<std::string>{"kde-paint"}) << "once for all its processes";
    }
    subscription.end();
    EXPECT_TRUE(runUntil(desktop.loop, [&] { return desktop.loop.clock.pending() == 0; }));
  }
}

TEST(LinuxRunningAppsTest, ApplicationsAreThoseThatTheUserHas) {
  Desktop desktop;
  LinuxRunningApps apps(desktop.loop, desktop.places());
  const AppIdentity script{"scripted", "A Script"};
  EXPECT_EQ(apps.identify("scripted.desktop"), script);
  EXPECT_EQ(apps.identify(desktop.folder / "all/scripted.desktop"), script);
  EXPECT_EQ(apps.identify("/somewhere/Desktop/scripted.desktop"), script);
  EXPECT_EQ(apps.identify(desktop.folder / "bin/paint"), (AppIdentity{"kde-paint", "kde-paint"}));
  EXPECT_FALSE(apps.identify("gone")) << "hidden by the user's own entry";
  EXPECT_FALSE(apps.identify(desktop.folder / "bin/shared"));
  desktop.install("own/new", "Name=New\n");
  EXPECT_EQ(apps.identify("new"), (AppIdentity{"new", "New"})) << "installed meanwhile";
}

TEST(LinuxRunningAppsTest, ThisProcessIsFoundInTheRealFolder) {
  const auto own = programOf("/proc", std::to_string(getpid()));
  EXPECT_EQ(own.value_or(RunningProgram{}).executable, fs::canonical("/proc/self/exe").string());
}

}  // namespace
}  // namespace brindle
