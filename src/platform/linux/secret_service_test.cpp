#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>

#include "platform/contract/keychain_contract.h"
#include "platform/linux/keychain_secret_service.h"
#include "testing/child_process.h"

// Against a real keyring daemon of its own (tests/peers/keyring).
namespace brindle {
namespace {

using namespace keychain_code;

struct SecretServiceBackend {
  SecretServiceKeychain keychain;
  SecretServiceBackend() {
    // One daemon serves all tests; each finds it empty.
    keychain.remove(KeychainStore::dataProtection, {"guard.pin@unnamed", "owner"});
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(SecretService, KeychainContract, SecretServiceBackend);

void expectAll(SecretServiceKeychain& keychain, int code) {
  const KeychainItem item{"guard.pin", "owner"};
  const auto store = KeychainStore::dataProtection;
  EXPECT_EQ(keychain.read(store, item).code, code);
  EXPECT_EQ(keychain.read(store, {"never written", "owner"}).code, code) << "not called absent";
  EXPECT_EQ(keychain.write(store, item, Bytes{3}), code);
  EXPECT_EQ(keychain.remove(store, item), code);
}

// Last in the file: it ends the daemon, and then the bus, that all others use.
TEST(SecretServiceTest, LockedAndGoneAreNeverAbsent) {
  SecretServiceKeychain keychain;
  ASSERT_EQ(keychain.write(KeychainStore::dataProtection, {"guard.pin", "owner"}, Bytes{2}),
            success);
  ASSERT_EQ(bash("lock_keyring"), 0);
  expectAll(keychain, interactionNotAllowed);
  EXPECT_EQ(keychain.report().detail, "the default keyring is locked: secrets cannot be read");
  kill(std::atoi(std::getenv("KEYRING_PID")), SIGKILL);
  ASSERT_EQ(bash("for _ in $(seq 200); do gdbus call --session -d org.freedesktop.DBus -o / -m "
                 "org.freedesktop.DBus.NameHasOwner org.freedesktop.secrets | grep -q false && "
                 "exit 0; done; exit 1"),
            0);
  expectAll(keychain, notAvailable);
  EXPECT_FALSE(keychain.report().answered);
  kill(std::atoi(std::getenv("BUS_PID")), SIGKILL);
  expectAll(keychain, notAvailable);
}

}  // namespace
}  // namespace brindle
