#include "vault/vault_crypto.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>

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
    return vault.seal(viewOf("the photo"), meta, *Uuid::parse(photoId), *Uuid::parse(eventId),
                      recipients, fixed);
  }

  const std::string photoId = "0123ABCD-4567-89EF-0123-456789ABCDEF";
  const std::string eventId = "FEDCBA98-7654-3210-FEDC-BA9876543210";
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

// Computed with another library, in another language.
TEST_F(VaultCryptoTest, TheSameInputsGiveTheseBytes) {
  const std::string header =
      R"({"v":1,"photoId":"0123abcd-4567-89ef-0123-456789abcdef","eventId":"fedcba98-7654-3210-)"
      R"(fedc-ba9876543210","iv":"oaGhoaGhoaGhoaGh","meta":{"iv":"oqKioqKioqKioqKi","ct":"_v5fFE)"
      R"(j_wUHbz28ZxafeTJrpHGfiJb3_z2viOEA-DFvfBAL7I0qDm7rdUoUArsyp9XKNT6IMY_7Z4g7y_rH3gtNOQEP9F)"
      R"(aMEAl5na5pDENbKyugL6dDlBe4y4B9pbvBKQ1OGofrD9VzSYIhfGLL2Y0X7dJbtM0XZIn3sarVS2Cik1Xy6IQ"},)"
      R"("recipients":[{"kid":"pAETEPfBcVvBjtH6","epk":"BP-8Yp2zVf9vj7Tl3GtQ_lgTm1_8CDAAgn4rN7Av)"
      R"(kH1lGZaQW6VK9qCxyC9K7s2SfZgWx62EBkA_LOZQ4GErpTs","iv":"sbGxsbGxsbGxsbGx","ct":"41ebgK43)"
      R"(2Y4jHPZHQ_TJ_hcuSghMg_JwKvdDP3lXXUvO_0QXRyaC9ibfj9WPIgdm"},{"kid":"AWBTFkWYHlBEXDfz","e)"
      R"(pk":"BDdY28Vw16Q8tLSgEQ5S7dX0Qp14xp4UmH9PpkCrZqSQZ__tbhwYkgfi2Il88oxXl8cgRpvTfEJWg5TkbA)"
      R"(8Ijt8","iv":"srKysrKysrKysrKy","ct":"3mjpatV6S7kY4x5USBLvBqREEWhJbmN2Ki2MASONbDNR7scy8N)"
      R"(lXhQAENpcSSHQZ"}]})";
  const auto sealed = seal({two[0], two[0], two[1], two[0]}, allFixed);
  ASSERT_TRUE(sealed);
  EXPECT_EQ(sealed->headerJSON, header);
  EXPECT_EQ(sealed->keyIDs, (std::vector<std::string>{"pAETEPfBcVvBjtH6", "AWBTFkWYHlBEXDfz"}));
  RawBytes blob{0, 0, 801 >> 8, 801 & 255};
  blob.insert(blob.end(), header.begin(), header.end());
  for (const int byte :
       {0x96, 0xeb, 0x3a, 0x73, 0xc6, 0x21, 0x49, 0x30, 0x9e, 0xf6, 0x27, 0xb5, 0x03,
        0xa3, 0x2a, 0x38, 0x5e, 0xc1, 0x7e, 0x49, 0x69, 0xf6, 0x69, 0x81, 0x51}) {
    blob.push_back(static_cast<std::uint8_t>(byte));
  }
  EXPECT_EQ(sealed->blob, blob);
  EXPECT_EQ(random.draws, 0);
  EXPECT_EQ(vault.organisationIdentifier(*vault.parsePublicKey(two[0])), "Pys45EhPYTKh3268PPRM0_");
}

TEST_F(VaultCryptoTest, WhatIsNotGivenIsFreshForEachRecipientAndSealing) {
  VaultCrypto::Fixed some = allFixed;
  some.contentKey.reset();
  some.ephemeral.pop_back();
  const std::string golden = seal(two, allFixed)->headerJSON;
  const auto one = seal(two, some), other = seal(two, some);
  const std::size_t second = golden.rfind("\"epk\""), wrapped = golden.rfind("\"ct\"");
  const auto part = [&](const auto& sealed, std::size_t from) {
    return sealed->headerJSON.substr(from, 60);
  };
  const std::size_t first = golden.find("\"epk\"");
  EXPECT_EQ(part(one, first), golden.substr(first, 60));
  EXPECT_NE(part(one, second), golden.substr(second, 60));
  EXPECT_NE(part(one, second), part(other, second));
  EXPECT_NE(part(one, wrapped), part(other, wrapped));
  EXPECT_NE(one->blob, other->blob);
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
  auto order = filled<32>(0xff);
  const auto text = fromBase64url("_____wAAAAD__________7zm-q2nF56E87nKwvxjJVE");
  std::ranges::copy(*text, order.begin());
  auto largest = order;
  --largest[31];
  auto beyond = order;
  ++beyond[31];
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
  struct Case {
    std::function<void(VaultMeta&)> change;
    std::string json;
  };
  std::setlocale(LC_ALL, "de_DE.UTF-8");  // a comma, where it is installed
  for (
      const auto& [change, json] : std::initializer_list<Case>{
          {[](VaultMeta& m) { m.takenAt += std::chrono::microseconds(999'999); }, begin + "}"},
          {[](VaultMeta& m) {
             m = VaultMeta();
             m.takenAt -= std::chrono::microseconds(1);
             m.index = -3;
             m.kind = "\"\\/";
           },
           old + "}"},
          {[](VaultMeta& m) { m.deviceName = m.mime = m.place = m.target = ""; }, begin + "}"},
          {[](VaultMeta& m) { m.lat = 1; }, begin + "}"},
          {[&](VaultMeta& m) { m.lat = 1, m.lon = none; }, begin + "}"},
          {[&](VaultMeta& m) { m.lat = infinite, m.lon = 1; }, begin + "}"},
          {[](VaultMeta& m) { m.lat = -0.000001, m.lon = 13.0000251; },
           begin + R"(,"lat":-0.00000,"lon":13.00003})"},
          {[](VaultMeta& m) { m.lat = 0.5 / 65536, m.lon = 1e20; },
           begin + R"(,"lat":0.00001,"lon":100000000000000000000.00000})"},
          {[](VaultMeta& m) {
             m.lat = 1, m.lon = 2, m.deviceName = "a\b\f\n\r\tb", m.mime = "video/mp4",
             m.place = "\x01\x1f\x7f Zürich", m.target = "\xff.txt";
           },
           begin +
               R"(,"deviceName":"a\b\f\n\r\tb","mime":"video/mp4","lat":1.00000,"lon":2.00000,"place":"\u0001\u001f)"
               "\x7f Zürich"
               R"(","target":")"
               "\uFFFD"
               R"(.txt"})"}}) {
    VaultMeta changed = meta;
    change(changed);
    EXPECT_EQ(metaJson(changed), json);
  }
  std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace brindle
