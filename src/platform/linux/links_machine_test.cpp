#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/contract/apple_sign_in_contract.h"
#include "platform/contract/machine_contract.h"
#include "platform/contract/opened_links_contract.h"
#include "platform/linux/apple_sign_in_linux.h"
#include "platform/linux/machine_linux.h"
#include "platform/linux/opened_links_linux.h"
#include "platform/linux/process_activity_linux.h"
#include "platform/memory/files_memory.h"
#include "platform/posix/files_posix.h"
#include "testing/linux_loop.h"
#include "testing/temporary_folder.h"

namespace brindle {
namespace {

struct LinksBackend {
  MemoryFiles files;
  LinuxScheduler scheduler;
  LinkHandler handler{files, {"/opt/b 1/brindle", "/home/o/.config", "/home/o/.data", {"gnome"}}};
  LinuxOpenedLinks all{scheduler, handler};
  OpenedLinks& links() { return all; }
  void install(const std::string& scheme) { ASSERT_TRUE(handler.install({scheme})); }
  void open(const std::string& link) { all.deliver(link); }
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
  std::string text(const std::string& path) { return std::string(textOf(*files.read(path))); }
  void write(const std::string& path, const std::string& text) {
    ASSERT_TRUE(files.makeFolder("/home/o/.config"));
    ASSERT_TRUE(files.writeWhole(path, viewOf(text)));
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(DesktopEntry, OpenedLinksContract, LinksBackend);

TEST(LinkHandlerTest, ThePersonsOtherChoicesStayAndComeBack) {
  LinksBackend desktop;
  const std::string before =
      "# mine\n[Added Associations]\ntext/html=a.desktop;\n\n[Default Applications]\n"
      "x-scheme-handler/com.corvane.a=other.desktop;\ntext/html=a.desktop;\n[Removed]\nb=c\n";
  desktop.write(desktop.handler.listPath(), before);
  ASSERT_TRUE(desktop.handler.install({"Com.Corvane.A", "com.corvane.b"}));
  const std::string ours = "com.corvane.brindle.links.desktop;";
  EXPECT_EQ(desktop.text(desktop.handler.listPath()),
            "# mine\n[Added Associations]\ntext/html=a.desktop;\n\n[Default Applications]\n"
            "x-scheme-handler/com.corvane.b=" +
                ours + "\nx-scheme-handler/com.corvane.a=" + ours +
                "other.desktop;\ntext/html=a.desktop;\n[Removed]\nb=c\n");
  EXPECT_EQ(desktop.text(desktop.handler.entryPath()),
            "[Desktop Entry]\nType=Application\nName=Brindle\nNoDisplay=true\nTerminal=false\n"
            "Exec=\"/opt/b 1/brindle\" open %u\n"
            "MimeType=x-scheme-handler/com.corvane.a;x-scheme-handler/com.corvane.b;\n");
  EXPECT_TRUE(desktop.all.registered("com.corvane.A"));
  ASSERT_TRUE(desktop.handler.remove());
  EXPECT_EQ(desktop.text(desktop.handler.listPath()), before);
  EXPECT_FALSE(desktop.handler.install({"bad\nscheme"}));
}

struct NoAppleBackend {
  LinuxScheduler scheduler;
  LinuxAppleSignIn none{scheduler};
  AppleSignIn& appleSignIn() { return none; }
  void fail() {}
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, AppleSignInContract, NoAppleBackend);

void put(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << text;
}

struct LinuxMachineBackend {
  TemporaryFolder sys;
  PosixFiles files{"/"};
  LinuxMachine here{files, "/etc", sys.path()};
  LinuxMachineBackend() { put(sys / "class/dmi/id/product_name", "ThinkPad X1\n"); }
  LinuxProcessActivity none;
  Machine& machine() { return here; }
  ProcessActivity& activity() { return none; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, MachineContract, LinuxMachineBackend);

TEST(LinuxMachineTest, NameModelAndZoneComeFromWhereverTheyAreSet) {
  TemporaryFolder etc;
  PosixFiles files("/");
  const LinuxMachine machine(files, etc.path(), etc.path());
  EXPECT_EQ(machine.model(), "");
  put(etc / "firmware/devicetree/base/model", {"A Board\0", 8});
  EXPECT_EQ(machine.model(), "A Board");
  const std::string host = machine.name();
  EXPECT_FALSE(host.empty());
  const std::pair<const char*, std::string> names[] = {
      {"ICON_NAME=x\nPRETTY_HOSTNAME=\"Jo's \\\"big\\\" one\"\n", "Jo's \"big\" one"},
      {"PRETTY_HOSTNAME=plain\n", "plain"},
      {"OLD_PRETTY_HOSTNAME=no\n", host}};
  for (const auto& [text, name] : names) {
    put(etc / "machine-info", text);
    EXPECT_EQ(machine.name(), name) << text;
  }
  std::filesystem::create_symlink("../usr/share/zoneinfo/Europe/Prague", etc / "localtime");
  const std::pair<const char*, const char*> zones[] = {
      {":Europe/Berlin", "Europe/Berlin"},
      {"/usr/share/zoneinfo/posix/Asia/Tokyo", "Asia/Tokyo"},
      {"CET-1CEST", "Europe/Prague"},
      {"../../etc/passwd", "Europe/Prague"}};
  for (const auto& [variable, zone] : zones) {
    setenv("TZ", variable, 1);
    EXPECT_EQ(machine.timeZone(), zone) << variable;
  }
  unsetenv("TZ");
  EXPECT_EQ(machine.timeZone(), "Europe/Prague");
}

}  // namespace
}  // namespace brindle
