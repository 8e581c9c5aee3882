// The program itself, on real files and with keys made by the OpenSSL command line.
#include <gmock/gmock.h>
#include <pty.h>

#include <filesystem>
#include <fstream>

#include "platform/memory/random_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "testing/child_process.h"
#include "testing/private_mounts.h"
#include "testing/temporary_folder.h"
#include "vault/vault_crypto.h"

namespace brindle {
namespace {

using testing::HasSubstr;

constexpr auto makeKeys = R"(
  openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out own.pem
  openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out other.pem
  openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-384 -out long.pem
  openssl genpkey -quiet -algorithm RSA -out rsa.pem 2>/dev/null
  openssl pkey -in own.pem -aes256 -passout pass:geheim -out locked.pem
  openssl pkey -in own.pem -pubout -out public.pem
  for key in own other; do openssl pkey -in $key.pem -pubout -outform DER | tail -c 65 >$key.pub; done)";

class UnsealTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(bash("cd " + folder.path() + " && {" + makeKeys + "; mkdir blobs out; }"), 0);
    meta.takenAt = WallTime(std::chrono::seconds(1794689792));
    meta.kind = "un\x1b[2Jlock";
  }
  std::string content(const std::string& name) {
    std::ifstream file(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void seal(const std::string& name, const std::string& plain, const std::string& key) {
    MemoryRandom random;
    const std::vector<Bytes> recipients{bytesOf(content(key + ".pub"))};
    const auto sealed = VaultCrypto(crypto, random)
                            .seal(viewOf(plain), meta, Uuid{{0xab}}, Uuid{{0xcd}}, recipients);
    ASSERT_TRUE(sealed);
    const ByteView blob = sealed->blob;
    std::ofstream(folder / name, std::ios::binary) << textOf(blob);
  }
  /// The exit code; what it says is in `said` and `complained`.
  int unseal(const std::string& arguments) {
    const int code = bash("(cd " + folder.path() + " && " BRINDLE_UNSEAL " " + arguments +
                          " >said 2>complained)");
    said = content("said"), complained = content("complained");
    return code;
  }

  TemporaryFolder folder;
  OpensslCrypto crypto;
  VaultMeta meta;
  const std::string event = Uuid{{0xcd}}.lower(), photo = Uuid{{0xab}}.lower();
  std::string said, complained;
};

TEST_F(UnsealTest, ABadItemStopsNoOtherAndNothingIsOverwritten) {
  seal("blobs/a photo", "jpeg", "own");
  meta.index = 1, meta.mime = "video/mp4";
  seal("blobs/clip", "film", "own");
  seal("blobs/foreign", "jpeg", "other");
  seal("blobs/spoiled", "jpeg", "own");
  std::filesystem::resize_file(folder / "blobs/spoiled",
                               std::filesystem::file_size(folder / "blobs/spoiled") - 1);
  std::filesystem::create_symlink("nowhere", folder / "blobs/gone");
  std::ofstream(folder / "blobs/text") << "no blob";

  EXPECT_EQ(unseal("--key own.pem --out out/new blobs"), 1);
  const std::string stem = "out/new/" + event;
  EXPECT_EQ(content(stem + "-0.jpg") + content(stem + "-1.mp4"), "jpegfilm");
  EXPECT_EQ(content(stem + "-1.json"), metaJson(meta));
  EXPECT_THAT(said, HasSubstr(folder / stem + "-0.jpg\n" + folder / stem + "-0.json\n"));
  EXPECT_EQ(complained,
            "brindle-unseal: blobs/foreign: is not sealed for this key\n"
            "brindle-unseal: blobs/gone: No such file or directory\n"
            "brindle-unseal: blobs/spoiled: is damaged or was changed: it does not open\n"
            "brindle-unseal: blobs/text: is no sealed item, or its beginning is damaged\n");
  EXPECT_EQ(bash("test -z \"$(find " + folder / "out/new" + " -type f ! -perm 0600)\""), 0);

  std::ofstream(folder / stem + "-0.jpg") << "mine";
  std::filesystem::remove(folder / stem + "-0.json");
  EXPECT_EQ(unseal("--key own.pem --out out/new 'blobs/a photo'"), 1);
  EXPECT_THAT(complained, HasSubstr("-0.jpg: File exists"));
  EXPECT_EQ(content(stem + "-0.jpg"), "mine");
  EXPECT_EQ(bash("test $(ls -A " + folder / "out/new" + " | wc -l) = 3"), 0) << "half of a pair";
}

TEST_F(UnsealTest, OnlyAPrivateKeyOnTheCurveIsTaken) {
  seal("blob", "jpeg", "own");
  const std::tuple<std::string, int, std::string> rows[] = {
      {"--key own.pem blob", 0, ""},
      {"--key rsa.pem blob", 2, "rsa.pem: is a private key of another kind"},
      {"--key long.pem blob", 2, "this needs one on the curve P-256"},
      {"--key public.pem blob", 2, "no private key in PEM form"},
      {"--key none.pem blob", 2, "none.pem: No such file"},
      {"--key locked.pem --list blob <<<geheim", 0, "Passphrase of locked.pem: "},
      {"--key locked.pem blob <<<falsch", 2, "the passphrase is wrong"},
      {"--key locked.pem blob </dev/null", 2, "no passphrase was given"},
      {"blob", 2, "--key is missing"},
      {"--key own.pem", 2, "no sealed item is given"},
      {"--key own.pem $'-\x1b.blob'", 2, "no such option: -?.blob"},
      {"--help", 0, ""}};
  for (const auto& [arguments, code, complaint] : rows) {
    EXPECT_EQ(unseal(arguments), code) << arguments << complained;
    EXPECT_THAT(complained, HasSubstr(complaint));
  }
}

TEST_F(UnsealTest, AListTellsWhatTheKeyFinds) {
  seal("blob", "jpeg", "own");
  EXPECT_EQ(unseal("--list blob"), 0);
  const std::string forAll = "blob\n  event      " + event + "\n  photo      " + photo;
  EXPECT_THAT(said, testing::MatchesRegex(forAll + "\n  sealed for [-_A-Za-z0-9]{16}\n"));
  const std::string all = said;
  EXPECT_EQ(unseal("--list --key own.pem blob"), 0);
  EXPECT_EQ(said, all +
                      "  this key   opens it\n  taken      2026-11-14T20:56:32Z\n"
                      "  kind       un?[2Jlock\n  size       4 bytes\n");
  EXPECT_EQ(unseal("--list --key other.pem blob"), 1);
  EXPECT_EQ(said, all + "  this key   is not sealed for this key\n");
}

TEST_F(UnsealTest, APassphraseIsNotShownOnTheTerminal) {
  seal("blob", "jpeg", "own");
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    execl(BRINDLE_UNSEAL, BRINDLE_UNSEAL, "--list", "--key", (folder / "locked.pem").c_str(),
          (folder / "blob").c_str(), nullptr);
    _exit(99);
  }
  std::string shown;
  char next = 0;
  bool typed = false;
  while (read(terminal, &next, 1) == 1) {
    shown += next;
    if (typed || !shown.ends_with("locked.pem: ")) continue;
    typed = write(terminal, "geheim\n", 7) == 7;
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(shown, testing::AllOf(HasSubstr("opens it"), testing::Not(HasSubstr("geheim"))));
  close(terminal);
}

TEST_F(UnsealTest, AFullDiskLeavesNoHalfOfAPhoto) {
  PrivateMounts disks;
  if (disks.missing()) GTEST_SKIP() << disks.missing();
  ASSERT_TRUE(disks.add(folder / "out"));
  seal("blob", std::string(2 << 20, 'j'), "own");
  EXPECT_EQ(unseal("--key own.pem --out out blob"), 1);
  EXPECT_THAT(complained, HasSubstr("-0.jpg: No space left on device"));
  EXPECT_TRUE(std::filesystem::is_empty(folder / "out"));
}

}  // namespace
}  // namespace brindle
