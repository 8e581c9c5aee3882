#include "vault/web_vault.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/crypto_memory.h"
#include "testing/service_world.h"
#include "vault/vault_key_set.h"
#include "vault/vault_opener.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using Ended = VaultUploading::Ended;
using State = UnlockEvent::VaultPhoto::State;
using Why = VaultUploads::Waiting::Why;

const std::string upload = "api/vault/upload", removal = "api/vault/device-delete";
const std::string photos = "/home/Brindle/photos", temporary = "/tmp/brindle";

Uuid idOf(std::size_t number, std::uint8_t kind) {
  return {{kind, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)}};
}

/// The vault's client between a scripted service and a guard store that asks as often as it may.
class VaultWorld : public ServiceWorld {
 public:
  explicit VaultWorld(std::uint64_t seed = 1) : ServiceWorld(seed) {
    transfer.setServer(service.server());
    setOwnerKey(7);
    for (const std::string& folder : {photos, temporary}) (void)files.makeFolder(folder);
    (void)preferences.set("vault.on", true);
    launch();
  }
  ~VaultWorld() { kill(); }

  void setOwnerKey(std::uint8_t number) {
    secret.bytes[31] = number;
    P256Public point;
    EXPECT_TRUE(primitives.p256Public(secret, point));
    service.vault.owner = {crypto.keyIdentifier(point), base64url(point)};
  }
  void launch() {
    worker = std::make_unique<VirtualWorkerQueue>(scheduler);
    keys = std::make_unique<VaultKeySet>(
        VaultKeySet::Parts{scheduler, client, account, preferences, crypto, Log(lines)});
    vault = std::make_unique<WebVault>(
        WebVault::Parts{scheduler, *worker, files, transfer, client, account, preferences, machine,
                        random, crypto, *keys, Log(lines), photos, temporary});
    results = vault->onResult([this](const Uuid& event, const Uuid& photo, Ended how) {
      ended[photo] = how;
      if (!events.contains(event)) return;
      for (auto& each : events[event].vaultPhotos) {
        if (each.id == photo) each.state = how == Ended::saved ? State::saved : State::rejected;
      }
    });
    keys->start();
    vault->start();
    ask();
  }
  /// The process ends without a word.
  void kill() {
    transfer.detach();
    results.end();
    vault.reset(), keys.reset(), worker.reset();
  }
  void relaunch() { kill(), launch(), scheduler.advance(2s); }
  /// What the store does at its start and when something changed.
  void ask() {
    for (auto& [id, event] : events) {
      const auto takenOn = vault->keepCopies(event);
      for (auto& photo : event.vaultPhotos) {
        if (photo.state == State::saved || photo.state == State::rejected) continue;
        const bool its = std::ranges::find(takenOn, photo.id) != takenOn.end();
        photo.state = its ? State::queued : State::waiting;
      }
    }
  }
  /// An unconfirmed unlock with so many photos, handed over.
  UnlockEvent& happen(std::size_t items = 1) {
    UnlockEvent& event = events[idOf(++happened, 0xe0)];
    event.id = idOf(happened, 0xe0);
    for (std::size_t i = 0; i < items; ++i) {
      const FileName file = photoFileName(event.id, i);
      (void)files.writeWhole(joinPath(photos, file), viewOf("jpeg " + file));
      event.vaultPhotos.push_back({file, idOf(happened * 16 + i, 0xf0)});
    }
    ask(), scheduler.run();
    return event;
  }
  /// Whatever went wrong does so no more, and what waits is offered again.
  void mend() {
    files.failNothing(), transfer.setFailing(false), service.usual(upload);
    vault->hurry(), scheduler.run();
  }
  void be(const std::string& email) { account.signIn(email), scheduler.run(); }
  void confirm(Uuid id) { vault->deleteCopies(events.at(id)), events.erase(id); }
  std::size_t arrived(std::string_view path = upload) const { return service.to(path).size(); }
  std::size_t blobs() { return files.list(temporary).value_or(std::vector<std::string>{}).size(); }
  Why why() const { return vault->queue().at(0).why; }
  std::string stored(std::string_view key) const { return preferences.text(key).value_or(""); }

  MemoryBackgroundTransfer transfer{scheduler, files, std::string(WebVault::sessionIdentifier)};
  MemoryCrypto primitives;
  VaultCrypto crypto{primitives, random};
  SecretKey secret;
  std::map<Uuid, UnlockEvent> events;
  std::map<Uuid, Ended> ended;
  std::size_t happened = 0;
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<VaultKeySet> keys;
  std::unique_ptr<WebVault> vault;
  Subscription results;
};

class WebVaultTest : public testing::Test, public VaultWorld {
 protected:
  WebVaultTest() { scheduler.advance(2s); }
  void TearDown() override {
    kill();
    EXPECT_EQ(scheduler.pending(), transfer.underWay()) << "a timer outlived the vault";
  }
};

TEST_F(WebVaultTest, ItemsAreSealedWithTheirFactsAndUploadedFewAtATime) {
  WebVault::Status shown;
  const auto listening = vault->onChange([&] { shown = vault->status(); });
  service.always(upload, {.held = true});
  UnlockEvent event = happen(5);
  event.trigger = Trigger{"watched-file", "Diary"};
  event.location = UnlockLocation{51.5, -0.125, 12, {}, "home"};
  event.wrongPINs = 3;
  event.id = idOf(1, 0xaa);
  using Kind = UnlockEvent::VaultPhoto::Kind;
  event.vaultPhotos = {{"a.jpg", idOf(1, 1), {}, Kind::unlock, State::saved},
                       {"b.mp4", idOf(2, 1), WallTime(1772442000500ms), Kind::unlock},
                       {"../state.json", idOf(3, 1)},
                       {"", idOf(5, 1)},
                       {"c.jpg", idOf(4, 1), {}, Kind::wrongPassword, State::queued}};
  (void)files.writeWhole(photos + "/b.mp4", viewOf("a clip"));
  EXPECT_EQ(vault->keepCopies(event).size(), 3u)
      << "what is saved is done, what has no file a place";
  scheduler.run();
  EXPECT_EQ(shown, (WebVault::Status{true, true, 8, VaultUploads::mostUnderWay, 0, {}}));
  EXPECT_TRUE(arrived() == 3 && blobs() == 3);
  service.usual(upload);
  service.releaseAll();
  scheduler.run();
  EXPECT_EQ(ended.at(idOf(3, 1)), Ended::dropped) << "only plain names in the photo folder";
  EXPECT_EQ(ended.at(idOf(4, 1)), Ended::rejected) << "its photo is gone, but it may be there";
  EXPECT_EQ(shown, (WebVault::Status{true, true, 0, 0, 0, {6, 1, 1}}));
  EXPECT_EQ(blobs(), 0u);
  EXPECT_TRUE(lines.has("vault upload: dropped, not a photo's name"));
  EXPECT_TRUE(lines.has("vault upload: done, HTTP 200 in 0 ms, 4 waiting"));

  const ScriptedRequest& request = *service.to(upload)[0];
  EXPECT_EQ(request.channel, "brindle.vault");
  EXPECT_EQ(request.header("Authorization"), "Bearer token of eva");
  EXPECT_EQ(request.header("Content-Type"), "application/octet-stream");
  Bytes blob = service.vault.kept().at(event.id.lower()).at(idOf(2, 1).lower());
  const auto opened = VaultOpener(primitives, secret).open(blob);
  ASSERT_TRUE(opened);
  EXPECT_EQ(textOf(opened->photo), "a clip");
  EXPECT_EQ(opened->meta, (VaultMeta{WallTime(1772442000s), 1, "watched-file", 3, "Testing Model",
                                     "Europe/Berlin", "Testing Machine", "video/mp4", 51.5, -0.125,
                                     "home", "Diary"}));
  EXPECT_EQ(uploadOf(event, 4, machine).meta.kind, "wrong-password");
}

TEST_F(WebVaultTest, EachAnswerHasItsConsequence) {
  const std::map<std::string, std::vector<int>> rows{
      {"saved", {200, 299}},
      {"rejected", {400, 404, 405, 409, 410, 413, 422}},
      {"not allowed", {401, 402, 403}},
      {"again", {0, 300, 408, 429, 499, 500, 503}}};
  const auto outcome = [this](const Uuid& photo) -> std::string {
    if (ended.contains(photo)) return ended[photo] == Ended::saved ? "saved" : "rejected";
    return why() == Why::notAllowed ? "not allowed" : "again";
  };
  for (const auto& [what, statuses] : rows) {
    for (const int status : statuses) {
      service.once(upload, {.status = status});
      const Uuid photo = happen().vaultPhotos[0].id;
      const std::size_t sent = arrived();
      EXPECT_EQ(outcome(photo), what) << status;
      EXPECT_EQ(blobs(), 0u);
      scheduler.advance(WebVault::offerPause - 1ns);
      EXPECT_EQ(arrived(), sent) << status;
      scheduler.advance(1ns);
      EXPECT_EQ(arrived(), sent + (what == "again" ? 1 : 0)) << status;
      if (what != "not allowed") continue;
      if (status == 402) setOwnerKey(9);
      status == 402 ? keys->refresh() : account.signIn("eva", "another token");
      scheduler.run();
      EXPECT_EQ(outcome(photo), "saved");
    }
  }
  Bytes last = service.to(upload).back()->body;
  EXPECT_TRUE(VaultOpener(primitives, secret).open(last)) << "sealed for the new key";

  service.always(upload, {.status = 503});
  happen(8);
  service.forgetRequests();
  vault->hurry(), scheduler.run();
  EXPECT_LE(arrived(), 5u) << "a service that fails is not asked for each item";
  const auto tried = [](const VaultUploads::Waiting& each) { return each.failures > 0; };
  EXPECT_GT(std::ranges::count_if(vault->queue(), tried), 5) << "nor for the same ones";
  mend();
  EXPECT_TRUE(vault->queue().empty());
}

TEST_F(WebVaultTest, WhateverIsLostOnTheWayIsMadeAgainOrDropped) {
  const auto isMadeAgain = [this](const char* line) {
    scheduler.run();
    EXPECT_TRUE(lines.has(line)) << lines.all();
    EXPECT_TRUE(why() == Why::waitsForRetry && blobs() == 0);
    mend();
    EXPECT_TRUE(vault->queue().empty());
  };
  worker->hold();
  happen();
  EXPECT_EQ(why(), Why::sealing);
  files.failAll({FileError::Kind::noSpace, 28});
  worker->release();
  isMadeAgain("vault upload: not written, kept");
  transfer.setFailing(true);
  happen();
  isMadeAgain("vault upload: not handed over, kept");
  service.once(upload, {.status = 0, .held = true});
  happen();
  (void)files.remove(joinPath(temporary, files.list(temporary).value()[0]));
  service.release();
  isMadeAgain("vault upload: failed, HTTP 0 in 0 ms, 1 waiting");
  EXPECT_EQ(service.vault.kept().size(), 3u);

  service.once(upload, {.status = 0});
  const UnlockEvent::VaultPhoto item = happen().vaultPhotos[0];
  (void)files.remove(joinPath(photos, item.file));
  mend();
  EXPECT_EQ(ended[item.id], Ended::rejected) << "its upload may have arrived";

  const auto isDropped = [this](const char* line) {
    happen();
    EXPECT_TRUE(lines.has(line));
  };
  random.setFailing(true);
  isDropped("vault upload: dropped, not sealed, or its photo is gone");
  random.setFailing(false);
  service.vault.owner.reset();
  keys->refresh();
  isDropped("vault upload: dropped, no keys");
  EXPECT_EQ(vault->status().ended, (VaultUploads::Counts{3, 1, 2}));

  // Nobody has said yet that there are none.
  for (const ScriptedReply& answer : std::vector<ScriptedReply>{
           {.status = 0}, {.status = 403}, {.body = "no key set"}, {.status = 404}}) {
    service.always("api/vault/keys", answer);
    ASSERT_TRUE(preferences.set(VaultKeySet::keysKey, ""));
    relaunch(), happen();
    EXPECT_TRUE(answer.status == 404 ? vault->queue().empty() : why() == Why::awaitsKeys)
        << answer.status << answer.body;
  }
}

TEST_F(WebVaultTest, ALaterRunKnowsWhatEarlierOnesHandedOver) {
  service.always(upload, {.held = true});
  service.once(upload, {.status = 413, .held = true});
  (void)files.writeWhole(temporary + "/" + blobName(idOf(1, 1)), viewOf("of nobody"));
  (void)files.writeWhole(temporary + "/vault-x.blob", viewOf("of somebody else"));
  worker->hold();
  const Uuid event = happen(3).id;
  relaunch();  // before anything was sealed
  EXPECT_TRUE(lines.has("vault uploads: 1 leftover blobs removed"));
  EXPECT_TRUE(arrived() == 3 && blobs() == 4);
  events[event].vaultPhotos[2].id = idOf(9, 9);  // its first name was not on disk yet
  relaunch();                                    // while all are on their way
  EXPECT_TRUE(lines.has("vault uploads: 3 of earlier runs on their way"));
  kill();
  service.release();
  launch(), scheduler.advance(2s);  // after one was answered
  service.release(), scheduler.run();
  EXPECT_EQ(vault->status(), (WebVault::Status{true, true, 1, 1, 0, {1, 1, 0}}));
  EXPECT_EQ(arrived(), 3u) << "nothing twice";
  service.release(), scheduler.run();
  EXPECT_TRUE(arrived() == 4 && vault->status().onTheirWay == 1) << "under the name that is kept";
  kill(), launch();
  confirm(event);  // before it is known what is on its way
  be("eva");
  EXPECT_TRUE(transfer.underWay() == 0 && arrived(removal) == 0);
  scheduler.advance(2s);
  EXPECT_TRUE(arrived(removal) == 1 && service.vault.kept().empty() && blobs() == 1);
  EXPECT_EQ(vault->status().pendingDeletes, 1u) << "what was on its way may arrive yet";
}

TEST_F(WebVaultTest, NothingIsSentWhileItIsOffOrSomebodyElseIsSignedIn) {
  service.always(upload, {.held = true});
  const Uuid evas = happen().id;
  ASSERT_TRUE(vault->setWantsUploads(false));
  EXPECT_TRUE(lines.has("vault: uploads wanted false"));
  EXPECT_TRUE(transfer.underWay() == 0 && why() == Why::off);
  worker->hold();
  ASSERT_TRUE(vault->setWantsUploads(true));
  scheduler.run();
  be("adam");
  worker->release();
  mend();
  EXPECT_TRUE(arrived() == 1 && blobs() == 0 && why() == Why::ofAnotherAccount);
  const Uuid adams = happen().id;
  EXPECT_TRUE(arrived() == 2 && why() == Why::ofAnotherAccount);
  EXPECT_EQ(service.to(upload).back()->header("Authorization"), "Bearer token of adam");
  EXPECT_EQ(stored("vault.otherAccounts"),
            R"([{"email":"adam","events":[")" + adams.upper() + R"("]}])");
  account.signOut();
  relaunch();
  EXPECT_EQ(why(), Why::notSignedIn);
  const Uuid nobodys = happen().id;
  EXPECT_EQ(events.at(nobodys).vaultPhotos[0].state, State::waiting);
  confirm(nobodys);
  confirm(adams);
  be("EVA");
  ask(), scheduler.run();
  EXPECT_TRUE(events.at(evas).vaultPhotos[0].state == State::saved && arrived(removal) == 0);
  confirm(evas);
  be("adam");
  EXPECT_TRUE(service.vault.kept().empty());
  EXPECT_EQ(service.to(removal)[0]->header("Authorization"), "Bearer token of EVA");
  EXPECT_EQ(service.to(removal)[1]->header("Authorization"), "Bearer token of adam");

  service.always(removal, {.status = 500}), service.always(upload, {.held = true});
  confirm(happen().id);
  const Uuid left = happen().id;
  vault->forgetAccount("Adam");
  scheduler.run();
  EXPECT_TRUE(vault->queue().empty() && vault->status().pendingDeletes == 0 && blobs() == 0);
  EXPECT_EQ(events.at(left).vaultPhotos[0].state, State::rejected) << "for no other account";
  EXPECT_EQ(stored("vault.otherAccounts"), "");
}

TEST_F(WebVaultTest, ADeletionIsAskedForUntilItIsConfirmedAndNotAgain) {
  service.always(upload, {.held = true});
  UnlockEvent event = happen(4);
  service.once(removal, {.status = 500});
  service.once(removal, {.status = 410});
  confirm(event.id);
  EXPECT_EQ(stored("vault.pendingDeletes"), "[\"" + event.id.upper() + "\"]");
  EXPECT_TRUE(vault->keepCopies(event).empty() && transfer.underWay() == 0);
  (void)vault->setWantsUploads(false);  // deletions go all the same
  scheduler.run();
  EXPECT_EQ(service.to(removal).at(0)->text(), R"({"eventId":")" + event.id.lower() + R"("})");
  EXPECT_TRUE(lines.has("vault deletion: failed, HTTP 500 in 0 ms, 1 pending"));
  relaunch();
  EXPECT_EQ(arrived(removal), 2u);
  scheduler.advance(24h - WebVault::offerPause);
  EXPECT_EQ(arrived(removal), 2u) << "once a day";
  scheduler.advance(2 * WebVault::offerPause);
  EXPECT_TRUE(arrived(removal) == 3 && service.vault.kept().empty() &&
              vault->status().pendingDeletes == 0);
  EXPECT_EQ(stored("vault.deleted"), "[\"" + event.id.upper() + "\"]");
  vault->deleteCopies(event);
  relaunch();
  EXPECT_TRUE(arrived(removal) == 3 && vault->keepCopies(event).empty());

  service.usual(upload);
  HttpRequest late;
  late.url = "https://service.test/api/vault/upload";
  late.bodyFile = photos + "/" + event.vaultPhotos[0].file;
  const UploadLabel label{{event.id, 0}, event.vaultPhotos[0].id, blobName(event.id)};
  service.once(removal, {.status = 404, .held = true});
  for (int i = 0; i < 2; ++i) {  // after the confirmation, and while it is asked for
    ASSERT_TRUE(transfer.send(late, label.text()));
    scheduler.run();
  }
  EXPECT_EQ(arrived(removal), 4u);
  service.releaseAll();
  scheduler.run();
  EXPECT_EQ(arrived(removal), 5u) << "though it knew nothing of it when the first was asked";
  EXPECT_EQ(lines.count("vault deletion: an upload was answered after it, asked for again"), 2u);

  service.always(upload, {.held = true});
  (void)vault->setWantsUploads(true);
  service.once(removal, {.status = 404});
  confirm(happen().id);
  scheduler.advance(59s);
  EXPECT_TRUE(arrived(removal) == 6 && vault->status().pendingDeletes == 1);
  scheduler.advance(1s);
  EXPECT_TRUE(arrived(removal) == 7 && vault->status().pendingDeletes == 0)
      << "what was given up on its way may have arrived after the first";
}

TEST_F(WebVaultTest, AWholeHistoryIsDeletedWithoutFloodingAnybody) {
  UnlockEvent event;
  event.vaultPhotos = {{"a.jpg", idOf(1, 1), {}, {}, State::saved}};
  const int before = preferences.changes();
  service.always(removal, {.delay = 20ms});
  for (std::size_t i = 0; i < 10'000; ++i) {
    event.id = idOf(i, 5);
    vault->deleteCopies(event);
  }
  scheduler.run();
  EXPECT_LE(preferences.changes() - before, 10);
  EXPECT_EQ(arrived(removal), VaultDeletions::mostAtOnce);
  EXPECT_GE(stored("vault.pendingDeletes").size(), 9'990 * 39u);
  scheduler.advance(2min);
  EXPECT_TRUE(arrived(removal) == 10'000 && vault->status().pendingDeletes == 0);
  EXPECT_EQ(stored("vault.deleted").size(), VaultDeletions::mostDeleted * 39 + 1);
  EXPECT_EQ(stored("vault.pendingDeletes"), "");
  preferences.setFailing(true);
  event.id = idOf(1, 6);
  vault->deleteCopies(event);
  EXPECT_TRUE(lines.has("vault deletion: not stored, 1 pending"));
  scheduler.advance(2s);
}

/// Does anything in any order, and knows what must come of it.
class RandomVault : public VaultWorld {
 public:
  explicit RandomVault(std::uint64_t seed) : VaultWorld(seed), dice_(seed) {
    service.decide = [this](const ScriptedRequest& request) { return reply(request); };
  }
  void step() {
    const auto roll = dice_() % 10;
    if (roll == 0) return relaunch();
    if (roll == 1) return kill(), files.crash(), launch();
    if (roll == 2) return files.failAfter(dice_() % 9, {FileError::Kind::noSpace, 28});
    if (roll == 3) return files.failNothing(), transfer.setFailing(dice_() % 4 == 0);
    if (roll == 4 && dice_() % 3 == 0) return account.signOut();
    if (roll == 4) return account.signIn(dice_() % 2 == 0 ? "eva" : "adam");
    if (roll == 5) return scheduler.sleepFor(dice_() % 900 * 1min), vault->hurry();
    if (roll == 6) return (void)vault->setWantsUploads(dice_() % 4 != 0);
    if (roll == 7 && events.empty()) return;
    if (roll == 7) return confirm((dice_() % 2 == 0 ? events.begin() : --events.end())->first);
    if (roll == 8) return worker->release(), ask(), scheduler.advance(dice_() % 900 * 1s);
    if (dice_() % 2 == 0) worker->hold();  // until the next run
    happen(1 + dice_() % 3);
  }
  void end() {
    mend();
    calm_ = true;
    EXPECT_TRUE(vault->setWantsUploads(true));
    for (const char* each : {"eva", "adam", "eva"}) {
      account.signIn(each);
      relaunch();
      scheduler.advance(25h);
    }
    EXPECT_TRUE(vault->queue().empty() && vault->status().pendingDeletes == 0 && blobs() == 0);
    const auto& kept = service.vault.kept();
    for (const auto& [id, event] : events) {
      for (const auto& photo : event.vaultPhotos) {
        EXPECT_TRUE(photo.state == State::saved || photo.state == State::rejected) << "lost";
        if (photo.state != State::saved) continue;
        Bytes blob = kept.contains(id.lower()) ? kept.at(id.lower()).at(photo.id.lower()) : Bytes();
        EXPECT_TRUE(VaultOpener(primitives, secret).open(blob)) << "the service lacks it";
      }
    }
    for (const auto& each : kept) EXPECT_TRUE(events.contains(*Uuid::parse(each.first)));
  }

 private:
  std::optional<ScriptedReply> reply(const ScriptedRequest& request) {
    if (request.path == "api/vault/keys") {
      return calm_ || dice_() % 3 > 0 ? std::nullopt : std::optional(ScriptedReply{.status = 500});
    }
    const ScriptedReply any[] = {{.status = 500}, {.status = 0}, {.copies = 0},   {},
                                 {.delay = 50s},  {.copies = 2}, {.status = 403}, {.status = 413},
                                 {.delay = 100s}};
    const ScriptedReply chosen = calm_ ? ScriptedReply{} : any[dice_() % 9];
    const std::string_view text = request.text(), key = R"("eventId":")";
    const Uuid id = Uuid::parse(text.substr(text.find(key) + key.size(), 36)).value_or(Uuid());
    const std::string token(request.header("Authorization"));
    EXPECT_EQ(owners_.try_emplace(id, token).first->second, token) << "for somebody else";
    if (request.path == upload) {
      EXPECT_FALSE(gone_.contains(id)) << "sent after its deletion was confirmed";
    } else if (chosen.status == 200 && chosen.copies > 0 && chosen.delay == Duration::zero()) {
      gone_.insert(id);
    }
    return chosen;
  }

  std::mt19937_64 dice_;
  bool calm_ = false;
  std::set<Uuid> gone_;
  std::map<Uuid, std::string> owners_;
};

TEST(VaultRandomTest, WhatWasTakenIsSavedAndWhatWasConfirmedIsGoneWhateverHappens) {
  const char* chosen = std::getenv("BRINDLE_SEED");
  std::uint64_t seed = chosen ? std::strtoull(chosen, nullptr, 10) : std::random_device{}();
  for (int round = 0; round < (chosen ? 1 : 60); ++round, ++seed) {
    SCOPED_TRACE("BRINDLE_SEED=" + std::to_string(seed));
    RandomVault world(seed);
    for (int i = 0; i < 60; ++i) world.step();
    world.end();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace brindle
