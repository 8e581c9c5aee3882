#include <gtest/gtest.h>

#include "platform/contract/keychain_contract.h"
#include "platform/contract/login_item_contract.h"
#include "platform/linux/keychain_file.h"
#include "platform/linux/keyring_choice.h"
#include "platform/linux/login_item_linux.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/preferences_memory.h"
#include "testing/recording_log.h"

namespace brindle {
namespace {

constexpr FileError fullDisk{FileError::Kind::noSpace, 28};

struct FileKeychainBackend {
  MemoryFiles files;
  FileKeychain keychain{files, "/data/keyring"};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Files, KeychainContract, FileKeychainBackend);

TEST(FileKeychainTest, AFailureIsNeverAnAbsentItem) {
  using namespace keychain_code;
  FileKeychainBackend backend;
  const KeychainItem item{"guard.pin", "owner"};
  const auto store = KeychainStore::dataProtection;
  ASSERT_EQ(backend.keychain.write(store, item, Bytes{2, 0, 1}), success);
  const std::pair<FileError, int> cases[] = {{{FileError::Kind::denied, 13}, authFailed},
                                             {fullDisk, io},
                                             {{FileError::Kind::other, 5}, io}};
  for (const auto& [error, code] : cases) {
    backend.files.failAll(error);
    EXPECT_EQ(backend.keychain.read(store, item).code, code);
    EXPECT_EQ(backend.keychain.write(store, item, Bytes{3}), code);
    EXPECT_EQ(backend.keychain.remove(store, item), code);
    EXPECT_FALSE(backend.keychain.report().answered);
    backend.files.failNothing();
  }
  backend.files.crash();
  EXPECT_EQ(backend.keychain.read(store, item).data, (Bytes{2, 0, 1}));
}

struct AutostartBackend {
  MemoryFiles files;
  LinuxLoginItem item{files, {"/opt/a \"b\"/100%/$x\\brindle", "/home/o/.config", true}};
  void fail() { files.failAll(fullDisk); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Autostart, LoginItemContract, AutostartBackend);

TEST(LinuxLoginItemTest, TheEntryAndTheUnitNameTheProgramExactly) {
  AutostartBackend backend;
  ASSERT_TRUE(backend.item.enable());
  EXPECT_EQ(
      textOf(backend.files.read(backend.item.entryPath()).value()),
      "[Desktop Entry]\nType=Application\nName=Brindle\n"
      "Exec=\"/opt/a \\\\\"b\\\\\"/100%%/\\\\$x\\\\\\\\brindle\" --at-login\nTerminal=false\n");
  EXPECT_NE(textOf(backend.files.read(backend.item.unitPath()).value())
                .find("ExecStart=\"/opt/a \\\"b\\\"/100%%/$$x\\\\brindle\" guard --at-login\n"),
            std::string::npos);
  const auto hidden = viewOf("[Desktop Entry]\nExec=brindle\nHidden=true\n");
  ASSERT_TRUE(backend.files.writeWhole(backend.item.entryPath(), hidden));
  EXPECT_EQ(backend.item.status(), LoginItem::Status::disabled);
}

TEST(KeyringChoiceTest, FilesOnlyWhereNoServiceWasEverSeenAndTheChoiceIsRemembered) {
  using enum KeyringKind;
  const char* inFiles = "keyring: no Secret Service here, secrets are kept in private files";
  const struct {
    std::vector<bool> seen;
    std::vector<KeyringKind> chosen;
    bool forgetful, items;
    std::vector<const char*> lines;
  } rows[] = {
      {{false, true}, {file, file}, false, false, {inFiles}},
      {{true, false}, {secretService, secretService}, false, false, {}},
      {{false, true},
       {secretService, secretService},
       true,
       false,
       {"keyring: the choice of files could not be remembered, so it is not made",
        "keyring: could not remember that a Secret Service was seen"}},
      {{true}, {file}, false, true, {inFiles}},  // items in files outlive lost preferences
  };
  for (const auto& row : rows) {
    MemoryFiles files;
    MemoryPreferences preferences;
    RecordingLog lines;
    preferences.setFailing(row.forgetful);
    if (row.items) {
      FileKeychain keychain(files, "/data/keyring");
      ASSERT_EQ(keychain.write(KeychainStore::dataProtection, {"guard.pin", "owner"}, Bytes{1}), 0);
    }
    std::vector<KeyringKind> chosen;
    for (const bool seen : row.seen) {
      chosen.push_back(chooseKeyring(preferences, files, "/data/keyring", seen, Log(lines)));
    }
    EXPECT_EQ(chosen, row.chosen);
    EXPECT_EQ(lines.size(), row.lines.size()) << lines.all();
    for (const char* line : row.lines) EXPECT_TRUE(lines.has(line)) << line;
  }
}

}  // namespace
}  // namespace brindle
