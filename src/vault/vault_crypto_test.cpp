#include "vault/vault_crypto.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <clocale>
#include <limits>
#include <set>

#include "platform/memory/crypto_memory.h"
#include "platform/memory/random_memory.h"
#include "vault/vault_opener.h"

// That the bytes are right is seen by those who open them, and by the published vectors.

namespace brindle {
namespace {

using Error = VaultCrypto::Error;
using F = OpeningFailure;

template <std::size_t size>
std::array<std::uint8_t, size> filled(int byte) {
  std::array<std::uint8_t, size> out;
  out.fill(static_cast<std::uint8_t>(byte));
  return out;
}

struct KeyOf : SecretKey {
  explicit KeyOf(int byte) { bytes = filled<32>(byte); }
};

/// Gives what it was told to first, then what no two draws share; fails once told to.
struct ScriptedRandom final : Random {
  bool fill(std::span<std::uint8_t> bytes) override {
    if (draws++ >= failing) return false;
    if (next.empty() || bytes.size() != next.front().size()) return rest.fill(bytes);
    std::ranges::copy(next.front(), bytes.begin());
    next.erase(next.begin());
    return true;
  }
  ServiceReport report() const override { return rest.report(); }

  std::vector<std::array<std::uint8_t, 32>> next;
  int draws = 0, failing = std::numeric_limits<int>::max();
  MemoryRandom rest;
};

struct VaultCryptoTest : testing::Test {
  VaultCryptoTest() {
    meta.takenAt = WallTime(std::chrono::seconds(1794689792));
    meta.index = 2, meta.wrongPINs = 1;
    meta.kind = "unlock", meta.device = "desk", meta.timeZone = "Europe/Berlin";
    for (const int byte : {0x51, 0x52, 0x53}) {
      P256Public point;
      EXPECT_TRUE(crypto.p256Public(KeyOf(byte), point));
      recipients.emplace_back(point.begin(), point.end());
    }
  }
  auto seal(const std::vector<Bytes>& keys, const VaultCrypto::Fixed& fixed = {}) {
    return vault.seal(photo, meta, photoId, eventId, keys, fixed);
  }

  const Uuid photoId = *Uuid::parse("0123abcd-4567-89ef-0123-456789abcdef");
  const Uuid eventId = *Uuid::parse("fedcba98-7654-3210-fedc-ba987654321f");
  Bytes photo = bytesOf("the photo");
  MemoryCrypto crypto;
  ScriptedRandom random;
  VaultCrypto vault{crypto, random};
  VaultMeta meta;
  std::vector<Bytes> recipients;
};

TEST_F(VaultCryptoTest, WhatIsNotGivenIsFreshForEachRecipientAndSealing) {
  const VaultCrypto::Fixed all{filled<32>(0xc0),
                               filled<12>(0xa1),
                               filled<12>(0xa2),
                               {filled<32>(0xe1), filled<32>(0xe2)},
                               {filled<12>(0xb1), filled<12>(0xb2)}};
  const std::vector<Bytes> two{recipients[0], recipients[1]};
  const auto sealed = seal({two[0], two[0], two[1], two[0]}, all);
  EXPECT_EQ(random.draws, 0);
  EXPECT_EQ(sealed->keyIDs, (std::vector<std::string>{"pAETEPfBcVvBjtH6", "AWBTFkWYHlBEXDfz"}));
  EXPECT_EQ(vault.organisationIdentifier(*vault.parsePublicKey(two[0])), "Pys45EhPYTKh3268PPRM0_");
  EXPECT_EQ(sealed->blob, seal(two, all)->blob) << "each key is one recipient";

  VaultCrypto::Fixed some = all;
  some.contentKey.reset();
  some.ephemeral.pop_back();
  const std::string& given = sealed->headerJSON;
  const std::string one = seal(two, some)->headerJSON, other = seal(two, some)->headerJSON;
  const std::size_t kept = given.find("\"epk\"");
  EXPECT_EQ(one.substr(kept, 90), given.substr(kept, 90));
  for (const char* name : {"\"epk\"", "\"ct\""}) {
    const std::size_t at = given.rfind(name);
    EXPECT_EQ((std::set{given.substr(at, 60), one.substr(at, 60), other.substr(at, 60)}).size(), 3u)
        << name;
  }
}

TEST_F(VaultCryptoTest, OneBadKeyAmongGoodOnesAndNoKeyAtAllSealNothing) {
  const Bytes& good = recipients[0];
  const auto changed = [&](std::size_t at, int byte) {
    Bytes key = good;
    key[at] = static_cast<std::uint8_t>(byte);
    return key;
  };
  Bytes longer = good;
  longer.push_back(0);
  for (const Bytes& bad : {Bytes(), Bytes{4}, Bytes(65, 0), Bytes(good.begin(), good.end() - 1),
                           longer, Bytes(good.begin(), good.begin() + 33), changed(0, 2),
                           changed(0, 6 | (good[64] & 1)), changed(64, good[64] ^ 1)}) {
    EXPECT_EQ(vault.parsePublicKey(bad).error(), VaultCrypto::Failure::badKey);
    EXPECT_EQ(seal({good, bad, recipients[1]}).error(), Error{VaultCrypto::Failure::badKey});
  }
  EXPECT_EQ(seal({}).error(), Error{VaultCrypto::Failure::noRecipients});
  EXPECT_EQ(random.draws, 0);
}

TEST_F(VaultCryptoTest, NothingIsSealedWhenADrawOrACallFails) {
  recipients.pop_back();
  for (random.failing = 0; random.failing < 7; ++random.failing) {
    random.draws = 0;
    EXPECT_EQ(seal(recipients).error(), Error{}) << random.failing;
  }
  random.draws = 0;
  EXPECT_TRUE(seal(recipients)) << "seven draws";
  random.failing = std::numeric_limits<int>::max();
  for (unsigned calls = 0; calls < 14; ++calls) {
    crypto.failAfter(calls);
    const Error expected = calls < 2 ? Error{VaultCrypto::Failure::badKey} : Error{};
    EXPECT_EQ(seal(recipients).error(), expected) << calls;
  }
  crypto.failAfter(14);
  EXPECT_TRUE(seal(recipients)) << "two keys read, two texts sealed, five calls each";
}

TEST_F(VaultCryptoTest, ANumberThatIsNoPrivateKeyIsDrawnAgainAndAGivenOneRefused) {
  std::array<std::uint8_t, 32> order;
  std::ranges::copy(*fromBase64url("_____wAAAAD__________7zm-q2nF56E87nKwvxjJVE"), order.begin());
  auto largest = order, beyond = order;
  --largest[31], ++beyond[31];
  VaultCrypto::Fixed some{
      filled<32>(0xc0), filled<12>(1), filled<12>(2), {largest}, {filled<12>(3)}};
  const std::string expected = seal({recipients[0]}, some)->headerJSON;
  for (const auto& none : {filled<32>(0), order, beyond, filled<32>(0xff)}) {
    some.ephemeral.clear();
    random.next = {none, none, largest};
    EXPECT_EQ(seal({recipients[0]}, some)->headerJSON, expected);
    random.next.assign(8, none);  // no generator does that by chance
    EXPECT_EQ(seal({recipients[0]}, some).error(), Error{});
    some.ephemeral = {none};
    EXPECT_EQ(seal({recipients[0]}, some).error(), Error{});
  }
}

TEST_F(VaultCryptoTest, TheMetadataIsWrittenLikeThis) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  const double infinite = -std::numeric_limits<double>::infinity();
  const std::string begin =
      R"({"takenAt":"2026-11-14T20:56:32Z","index":2,"kind":"unlock","wrongPINs":1,"device":"desk",)"
      R"("timeZone":"Europe/Berlin")";
  const std::string old =
      R"({"takenAt":"1969-12-31T23:59:59Z","index":-3,"kind":"\"\\/","wrongPINs":0,"device":"",)"
      R"("timeZone":"")";
  using Change = std::function<void(VaultMeta&)>;
  const Change late = [](auto& m) { m.takenAt += std::chrono::microseconds(999'999); };
  const Change before1970 = [](auto& m) {
    m = VaultMeta();
    m.takenAt -= std::chrono::microseconds(1), m.index = -3, m.kind = "\"\\/";
  };
  const Change empty = [](auto& m) { m.deviceName = m.mime = m.place = m.target = ""; };
  const auto at = [](std::optional<double> lat, std::optional<double> lon) -> Change {
    return [=](auto& m) { m.lat = lat, m.lon = lon; };
  };
  const Change all = [](auto& m) {
    m.lat = 1, m.lon = 2, m.deviceName = "a\b\f\n\r\tb", m.mime = "video/mp4";
    m.place = "\x01\x1f\x7f Zürich", m.target = "\xff.txt";
  };
  const std::string allText =
      R"(,"deviceName":"a\b\f\n\r\tb","mime":"video/mp4","lat":1.00000,"lon":2.00000,)"
      "\"place\":\"\\u0001\\u001f\x7f Zürich\",\"target\":\"\uFFFD.txt\"";
  std::setlocale(LC_ALL, "de_DE.UTF-8");  // a comma, where it is installed
  for (const auto& [change, json] : std::vector<std::pair<Change, std::string>>{
           {late, begin},
           {before1970, old},
           {empty, begin},
           {at(1, {}), begin},
           {at({}, 1), begin},
           {at(1, none), begin},
           {at(infinite, 1), begin},
           {at(-0.000001, 13.0000251), begin + R"(,"lat":-0.00000,"lon":13.00003)"},
           {at(0.5 / 65536, 1e20), begin + R"(,"lat":0.00001,"lon":100000000000000000000.00000)"},
           {all, begin + allText}}) {
    VaultMeta changed = meta;
    change(changed);
    EXPECT_EQ(metaJson(changed), json + "}");
  }
  std::setlocale(LC_ALL, "C");
}

/// A photo of 4 KiB sealed for three, of whom the one in the middle opens it.
struct VaultOpenerTest : VaultCryptoTest {
  VaultOpenerTest() {
    photo.resize(4096, 'x');
    meta.place = "Zo\xc3\xab's \"place\"\n";
    meta.lat = 1.5, meta.lon = -2.25;
    const auto sealed = seal(recipients);
    blob.assign(sealed->blob.begin(), sealed->blob.end());
    header = sealed->headerJSON, kids = sealed->keyIDs;
  }
  /// Nothing when it opened as what was sealed.
  std::optional<F> failure(Bytes changed) {
    const auto item = opener.open(changed);
    if (!item) return item.error();
    EXPECT_TRUE(std::ranges::equal(item->photo, photo));
    EXPECT_EQ(item->meta, meta);
    EXPECT_EQ(item->header.photoId, photoId);
    return std::nullopt;
  }
  /// The blob with another header.
  Bytes with(const std::string& text) {
    Bytes out(4);
    for (unsigned i = 0; i < 4; ++i)
      out[i] = static_cast<std::uint8_t>(text.size() >> (24 - 8 * i));
    out.insert(out.end(), text.begin(), text.end());
    out.insert(out.end(), blob.begin() + 4 + static_cast<long>(header.size()), blob.end());
    return out;
  }

  VaultOpener opener{crypto, KeyOf(0x52)};
  Bytes blob;
  std::string header;
  std::vector<std::string> kids;
};

TEST_F(VaultOpenerTest, NoBitButTheEventsAndTheOtherRecipientsMayChangeAndNoByteBeMissing) {
  std::vector<std::pair<std::size_t, std::size_t>> unbound;  // what nothing authenticates
  const auto add = [&](const std::string& from, const std::string& to) {
    unbound.emplace_back(4 + header.find(from), 4 + header.find(to));
  };
  add(eventId.lower(), "\",\"iv\"");
  add(kids[0], "},{\"kid\":\"" + kids[1]);
  add(kids[2], "}]}");
  ASSERT_FALSE(failure(blob));
  std::vector<int> opened(unbound.size());
  for (std::size_t bit = 0; bit < blob.size() * 8; ++bit) {
    const auto in = std::ranges::find_if(unbound, [&](const auto& range) {
      return bit / 8 >= range.first && bit / 8 < range.second;
    });
    blob[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    const bool opens = !failure(blob);
    blob[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    if (in != unbound.end()) {
      opened[static_cast<std::size_t>(in - unbound.begin())] += opens ? 1 : 0;
    } else {
      ASSERT_FALSE(opens) << "bit " << bit;
    }
  }
  EXPECT_THAT(opened, testing::Each(testing::Gt(50)));
  for (std::size_t size = 0; size < blob.size(); ++size) {
    ASSERT_TRUE(failure(Bytes(blob.begin(), blob.begin() + static_cast<long>(size)))) << size;
  }
  blob.push_back(0);
  EXPECT_EQ(failure(blob), F::damaged);
}

TEST_F(VaultOpenerTest, AHeaderHasOneSpellingOnly) {
  const std::string own = "{\"kid\":\"" + kids[1], event = eventId.lower();
  const std::size_t epk = header.find("\"epk\":\"", header.find(own)) + 7;
  std::string lastBits = header.substr(epk, 87);  // 65 bytes leave two bits of this over
  lastBits.back() = static_cast<char>(lastBits.back() + 1);
  struct Row {
    std::string from, to;
    F expected = F::notSealed;
  };
  const Row rows[] = {{"{\"v\":1,", "{"},
                      {"{\"v\":1,", "{\"v\":2,", F::otherVersion},
                      {"{\"v\":1,", "{\"v\":1.0,"},
                      {"{\"v\":1,", "{\"v\":1,\"v\":1,"},
                      {"{\"v\":1,", "{\"x\":1,\"v\":1,"},
                      {"{\"v\":1,", "{ \"v\":1,"},
                      {header, "[" + header + "]"},
                      {header, std::string(3 << 20, ' ')},
                      {photoId.lower(), photoId.upper()},
                      {event, event.substr(0, 35) + "\\u0066"},
                      {"\"meta\":{", "\"meta\":{\"x\":1,"},
                      {"\"iv\":\"", "\"iv\":\"AAAA"},
                      {own, "{\"x\":\"\",\"kid\":\"" + kids[1]},
                      {kids[1], kids[0], F::notForThisKey},
                      {header.substr(epk, 87), lastBits},
                      {header.substr(epk, 87), header.substr(epk, 86)},
                      {header.substr(epk, 87), ""}};
  for (const Row& row : rows) {
    std::string text = header;
    text.replace(text.find(row.from), row.from.size(), row.to);
    EXPECT_EQ(failure(with(text)), row.expected) << row.to.substr(0, 200);
  }
  EXPECT_EQ(failure(photo), F::notSealed);
  EXPECT_FALSE(failure(with(header)));
}

}  // namespace
}  // namespace brindle
