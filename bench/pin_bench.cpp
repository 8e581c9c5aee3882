// pin_bench [ROUNDS]: the check of a right PIN, from the call to the answer on the main loop,
// beside the bare derivation of its key. The two take turns, so that a busy machine slows both;
// each pair gives one ratio, and the median of the ratios is the figure.

#include <fmt/format.h>

#include <cstdlib>
#include <optional>

#include "bench_tools.h"
#include "owner/keychain_items.h"
#include "owner/keychain_marks.h"
#include "owner/secret_store.h"
#include "platform/linux/random_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/worker_queue_thread.h"

namespace brindle {
namespace {

constexpr std::string_view pin = "730164";
constexpr unsigned iterations = 210'000;

struct Owner {
  Silence silence;
  LinuxScheduler scheduler;
  MemoryBootClock clock{scheduler};
  MemoryPreferences preferences;
  MemoryKeychain keychain;
  OpensslCrypto crypto;
  LinuxRandom random;
  KeychainMarks marks{preferences, scheduler};
  KeychainItems items{keychain, marks, Log(silence)};
  ThreadWorkerQueue worker{scheduler, "bench.secret"};
  SecretStore secrets{
      {items, crypto, random, preferences, clock, scheduler, worker, Log(silence), "en_GB"}};

  /// Sleeps in the loop, as the program does, until an answer is there.
  template <class T, class Ask>
  T answer(Ask ask) {
    std::optional<T> given;
    ask([&](T value) {
      given = value;
      scheduler.stop();
    });
    scheduler.run();
    return *given;
  }
  bool savePin() {
    return answer<PinSaved>([&](auto done) {
             secrets.savePin(SecretText(pin), SecretText(pin), nullptr, done);
           }) == PinSaved::saved;
  }
  bool check() {
    return answer<SecretCheck>([&](auto done) {
             secrets.check(SecretKind::pin, SecretText(pin), done);
           }).outcome == CheckOutcome::right;
  }
  bool derive() {
    const Bytes salt(16);
    Sha256 key;
    return crypto.pbkdf2HmacSha256(viewOf(pin), salt, iterations, key);
  }
};

bool run(int rounds) {
  Owner owner;
  if (!owner.savePin()) return false;
  bool good = true;
  std::vector<double> checks, derivations, ratios;
  for (int i = 0; i < rounds; ++i) {
    checks.push_back(milliseconds([&] { good &= owner.check(); }));
    derivations.push_back(milliseconds([&] { good &= owner.derive(); }));
    ratios.push_back(checks.back() / derivations.back());
  }
  fmt::print("check of a PIN {:7.2f} ms, bare derivation {:7.2f} ms, {:.3f} times\n",
             median(checks), median(derivations), median(ratios));
  return good;
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  return brindle::run(argc > 1 ? std::max(1, std::atoi(argv[1])) : 25) ? 0 : 1;
}
