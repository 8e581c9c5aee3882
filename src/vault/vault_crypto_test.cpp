#include "vault/vault_crypto.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <set>

#include "platform/memory/crypto_memory.h"
#include "platform/memory/random_memory.h"

namespace brindle {
namespace {

using Failure = VaultCrypto::Failure;
using Error = VaultCrypto::Error;
using std::chrono::seconds;

template <std::size_t size>
std::array<std::uint8_t, size> filled(int byte) {
  std::array<std::uint8_t, size> out;
  out.fill(static_cast<std::uint8_t>(byte));
  return out;
}

/// Gives what it was told to first, then what no two draws share; fails once told to.
struct ScriptedRandom final : Random {
  bool fill(std::span<std::uint8_t> bytes) override {
    if (draws++ >= failing) return false;
    if (!next.empty() && bytes.size() == next.front().size()) {
      std::ranges::copy(next.front(), bytes.begin());
      next.erase(next.begin());
      return true;
    }
    return rest.fill(bytes);
  }
  ServiceReport report() const override { return rest.report(); }

  std::vector<std::array<std::uint8_t, 32>> next;
  int draws = 0, failing = std::numeric_limits<int>::max();
  MemoryRandom rest;
};

struct VaultCryptoTest : testing::Test {
  Bytes recipient(int byte) {
    SecretKey key;
    key.bytes = filled<32>(byte);
    P256Public point;
    EXPECT_TRUE(crypto.p256Public(key, point));
    return {point.begin(), point.end()};
  }
  auto seal(const std::vector<Bytes>& recipients, const VaultCrypto::Fixed& fixed = {}) {
    return vault.seal(viewOf("the photo"), meta, photoId, eventId, recipients, fixed);
  }

  const Uuid photoId{
      {1, 0x23, 0xab, 0xcd, 0x45, 0x67, 0x89, 0xef, 1, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef}};
  const Uuid eventId{{0xfe, 0xdc, 0xba, 0x98, 0x76, 0x54, 0x32, 0x10, 0xfe, 0xdc, 0xba, 0x98, 0x76,
                      0x54, 0x32, 0x10}};
  MemoryCrypto crypto;
  ScriptedRandom random;
  VaultCrypto vault{crypto, random};
  const VaultMeta meta{WallTime(seconds(1794689792)),
                       2,
                       "unlock",
                       1,
                       "desk",
                       "Europe/Berlin",
                       {},
                       {},
                       {},
                       {},
                       {},
                       {}};
  const std::vector<Bytes> two{recipient(0x51), recipient(0x52)};
  const VaultCrypto::Fixed allFixed{filled<32>(0xc0),
                                    filled<12>(0xa1),
                                    filled<12>(0xa2),
                                    {filled<32>(0xe1), filled<32>(0xe2)},
                                    {filled<12>(0xb1), filled<12>(0xb2)}};
};

// The digest of what another library made of the same, in another language.
TEST_F(VaultCryptoTest, TheSameInputsGiveTheseBytes) {
  const auto sealed = seal({two[0], two[0], two[1], two[0]}, allFixed);
  ASSERT_TRUE(sealed);
  EXPECT_TRUE(sealed->headerJSON.starts_with(
      R"({"v":1,"photoId":"0123abcd-4567-89ef-0123-456789abcdef","eventId":"fedcba98-7654-3210-)"
      R"(fedc-ba9876543210","iv":"oaGhoaGhoaGhoaGh","meta":{"iv":"oqKioqKioqKioqKi","ct":"_v5fFEj)"));
  EXPECT_EQ(sealed->keyIDs, (std::vector<std::string>{"pAETEPfBcVvBjtH6", "AWBTFkWYHlBEXDfz"}));
  EXPECT_EQ(textOf(sealed->blob).substr(4, 801), sealed->headerJSON);
  const std::array<ByteView, 1> blob{sealed->blob};
  Sha256 digest;
  ASSERT_TRUE(crypto.sha256(blob, digest));
  EXPECT_EQ(base64url(digest), "XeEsWS9YKgjFsohLfgSzlOM5_2ATc1LvOjpFcxgI8_0");
  EXPECT_EQ(random.draws, 0);
  EXPECT_EQ(vault.organisationIdentifier(*vault.parsePublicKey(two[0])), "Pys45EhPYTKh3268PPRM0_");
}

TEST_F(VaultCryptoTest, WhatIsNotGivenIsFreshForEachRecipientAndSealing) {
  VaultCrypto::Fixed some = allFixed;
  some.contentKey.reset();
  some.ephemeral.pop_back();
  const std::string golden = seal(two, allFixed)->headerJSON;
  const std::string one = seal(two, some)->headerJSON, other = seal(two, some)->headerJSON;
  const std::size_t kept = golden.find("\"epk\"");
  EXPECT_EQ(one.substr(kept, 90), golden.substr(kept, 90));
  for (const char* name : {"\"epk\"", "\"ct\""}) {
    const std::size_t at = golden.rfind(name);
    const std::set<std::string> all{golden.substr(at, 60), one.substr(at, 60),
                                    other.substr(at, 60)};
    EXPECT_EQ(all.size(), 3u) << name;
  }
}

TEST_F(VaultCryptoTest, OneBadKeyAmongGoodOnesAndNoKeyAtAllSealNothing) {
  const auto changed = [&](std::size_t at, int byte) {
    Bytes key = two[0];
    key[at] = static_cast<std::uint8_t>(byte);
    return key;
  };
  Bytes beyondTheField(65, 0xff);
  beyondTheField[0] = 4;
  const Bytes shorter(two[0].begin(), two[0].end() - 1),
      compressed(two[0].begin(), two[0].begin() + 33);
  Bytes longer = two[0];
  longer.push_back(0);
  for (const Bytes& bad :
       {Bytes(), Bytes{4}, Bytes{0}, Bytes(65, 0), shorter, longer, compressed, changed(0, 2),
        changed(0, 3), changed(0, 5), changed(0, 6 | (two[0][64] & 1)), changed(64, two[0][64] ^ 1),
        changed(1, two[0][1] ^ 128), beyondTheField}) {
    EXPECT_EQ(vault.parsePublicKey(bad).error(), Failure::badKey);
    EXPECT_EQ(seal({two[0], bad, two[1]}).error(), Error{Failure::badKey});
  }
  EXPECT_EQ(seal({}).error(), Error{Failure::noRecipients});
  EXPECT_EQ(random.draws, 0);
}

TEST_F(VaultCryptoTest, NothingIsSealedWhenADrawOrACallFails) {
  for (random.failing = 0; random.failing < 7; ++random.failing) {
    random.draws = 0;
    EXPECT_EQ(seal(two).error(), Error{}) << random.failing;
  }
  random.draws = 0;
  EXPECT_TRUE(seal(two)) << "seven draws";
  random.failing = std::numeric_limits<int>::max();
  for (unsigned calls = 0; calls < 14; ++calls) {
    crypto.failAfter(calls);
    const Error expected = calls < 2 ? Error{Failure::badKey} : Error{};
    EXPECT_EQ(seal(two).error(), expected) << calls;
  }
  crypto.failAfter(14);
  EXPECT_TRUE(seal(two)) << "two keys read, two texts sealed, five calls each";
}

TEST_F(VaultCryptoTest, ANumberThatIsNoPrivateKeyIsDrawnAgainAndAGivenOneRefused) {
  constexpr std::array<std::uint8_t, 32> order{0xff, 0xff, 0xff, 0xff, 0,    0,    0,    0,
                                               0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                                               0xbc, 0xe6, 0xfa, 0xad, 0xa7, 0x17, 0x9e, 0x84,
                                               0xf3, 0xb9, 0xca, 0xc2, 0xfc, 0x63, 0x25, 0x51};
  auto largest = order, beyond = order;
  --largest[31], ++beyond[31];
  VaultCrypto::Fixed some = allFixed;
  some.ephemeral = {largest};
  const std::string expected = seal({two[0]}, some)->headerJSON;
  for (const auto& none : {filled<32>(0), order, beyond, filled<32>(0xff)}) {
    some.ephemeral.clear();
    random.next = {none, none, largest};
    EXPECT_EQ(seal({two[0]}, some)->headerJSON, expected);
    random.next.assign(8, none);  // no generator does that by chance
    EXPECT_EQ(seal({two[0]}, some).error(), Error{});
    some.ephemeral = {none};
    EXPECT_EQ(seal({two[0]}, some).error(), Error{});
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

}  // namespace
}  // namespace brindle
