#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "owner/fingerprint_check.h"
#include "owner/keychain_items.h"
#include "owner/keychain_marks.h"
#include "owner/owner_gate.h"
#include "owner/secret_store.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {

/// The guard store as the gate sees it, written down.
struct RecordingSink final : ProofSink {
  void proved(const OwnerProof& proof) override {
    proofs.push_back(proof);
    if (onProved) onProved();
  }
  bool ownerProved() const override { return kept; }
  std::uint64_t sitting() const override { return locks; }
  void wrongTry(WrongTry which) override { wrong.push_back(which); }
  void whenRecorded(std::function<void()> done) override {
    if (diskWorks) done();
  }
  void ownerCheckOpened() override { ++open; }
  void ownerCheckClosed() override { --open; }
  void ownerCheckUsed() override { ++used; }

  std::vector<OwnerProof> proofs;
  std::vector<WrongTry> wrong;
  std::function<void()> onProved;
  bool kept = false;
  std::uint64_t locks = 0;
  bool diskWorks = true;
  int open = 0;
  int used = 0;
};

/// The owner's secrets and their gate over memory backends, on virtual time.
class OwnerFixture : public testing::Test {
 protected:
  static constexpr auto here = KeychainStore::dataProtection;
  static constexpr auto legacy = KeychainStore::legacy;

  VirtualScheduler time;
  RecordingLog lines;
  MemoryBootClock clock{time, [this] { return time.slept(); }};
  MemoryPreferences preferences;
  MemoryKeychain keychain;
  MemoryCrypto crypto;
  MemoryRandom random;
  KeychainMarks marks{preferences, time};
  KeychainItems items{keychain, marks, Log(lines), "com.corvane.brindle"};
  VirtualWorkerQueue worker{time};
  SecretStore secrets{services()};
  RecordingSink sink;
  NoFingerprintCheck noFingerprint;
  OwnerGate gate{secrets, sink, noFingerprint, time};

  SecretStore::Services services(std::string locale = "en_GB") {
    return {items, crypto, random, preferences, clock, time, worker, Log(lines), std::move(locale)};
  }
  static KeychainItem item(std::string_view name) { return {std::string(name), "owner"}; }
  Bytes stored(std::string_view name, KeychainStore where = here) {
    return keychain.read(where, item(name)).data;
  }
  void put(std::string_view name, const Bytes& data, KeychainStore where = here) {
    ASSERT_EQ(keychain.write(where, item(name), data), keychain_code::success);
  }

  /// What `call` tells the function it is given by the time all is done; `otherwise` if nothing.
  template <class T>
  T told(T otherwise, const std::function<void(std::function<void(T)>)>& call) {
    call([&otherwise](T result) { otherwise = std::move(result); });
    time.run();
    return otherwise;
  }
  SecretCheck check(SecretKind which, std::string_view entered) {
    return checkIn(secrets, which, entered);
  }
  SecretCheck checkIn(SecretStore& store, SecretKind which, std::string_view entered) {
    return told<SecretCheck>({}, [&](auto done) { store.check(which, SecretText(entered), done); });
  }
  CheckOutcome pin(std::string_view entered) { return check(SecretKind::pin, entered).outcome; }
  CheckOutcome answer(std::string_view entered) {
    return check(SecretKind::answer, entered).outcome;
  }

  PinSaved savePin(std::string_view text, std::string_view repeat,
                   const OwnerProof* proof = nullptr) {
    return told<PinSaved>(PinSaved::failed, [&](auto done) {
      secrets.savePin(SecretText(text), SecretText(repeat), proof, done);
    });
  }
  AnswerSaved saveAnswer(std::string question, std::string_view text, std::string_view repeat,
                         const OwnerProof* proof = nullptr) {
    return told<AnswerSaved>(AnswerSaved::failed, [&](auto done) {
      secrets.saveAnswer(std::move(question), SecretText(text), SecretText(repeat), proof, done);
    });
  }
  OwnerSecrets::States refreshed() {
    return told<OwnerSecrets::States>({}, [&](auto done) { secrets.refresh(done); });
  }
};

}  // namespace brindle
