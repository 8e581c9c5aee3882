#include "vault/vault_opener.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "platform/memory/random_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_crypto.h"

namespace brindle {
namespace {

using F = OpeningFailure;

/// A photo of 4 KiB sealed for three, of whom the one in the middle opens it.
class VaultOpenerTest : public testing::Test {
 protected:
  void SetUp() override {
    photo.resize(4096);
    EXPECT_TRUE(random.fill(photo));
    meta.takenAt = WallTime(std::chrono::seconds(1794689792));
    meta.index = 1;
    meta.kind = "watched-app";
    meta.place = "Zo\xc3\xab's \"place\"\n";
    meta.lat = 1.5, meta.lon = -2.25;
    std::vector<Bytes> recipients;
    for (SecretKey& key : keys) {
      P256Public point;
      EXPECT_TRUE(random.fill(key.bytes) && crypto.p256Public(key, point));
      recipients.emplace_back(point.begin(), point.end());
    }
    auto sealed = VaultCrypto(crypto, random).seal(photo, meta, photoId, eventId, recipients);
    ASSERT_TRUE(sealed);
    blob.assign(sealed->blob.begin(), sealed->blob.end());
    header = sealed->headerJSON, kids = sealed->keyIDs;
    opener.emplace(crypto, keys[1]);
  }

  /// Nothing when it opened as what was sealed.
  std::optional<F> failure(Bytes changed) {
    const auto item = opener->open(changed);
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

  OpensslCrypto crypto;
  MemoryRandom random;
  std::array<SecretKey, 3> keys;
  std::optional<VaultOpener> opener;
  Uuid photoId{{0xab, 0xcd}}, eventId{{0x12, 0xef}};
  Bytes photo, blob;
  VaultMeta meta;
  std::string header;
  std::vector<std::string> kids;
};

TEST_F(VaultOpenerTest, NoBitButTheEventsAndTheOtherRecipientsMayChange) {
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
}

TEST_F(VaultOpenerTest, NothingShorterOrLongerOpens) {
  for (std::size_t size = 0; size < blob.size(); ++size) {
    ASSERT_TRUE(failure(Bytes(blob.begin(), blob.begin() + static_cast<long>(size)))) << size;
  }
  Bytes longer = blob;
  longer.push_back(0);
  EXPECT_EQ(failure(longer), F::damaged);
  EXPECT_EQ(failure(photo), F::notSealed);
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
                      {photoId.lower(), photoId.upper()},
                      {event, event.substr(1) + "\\u0061"},
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
    EXPECT_EQ(failure(with(text)), row.expected) << row.to;
  }
  EXPECT_EQ(failure(with(std::string(2 << 20, ' '))), F::notSealed);
  EXPECT_FALSE(failure(with(header)));
}

}  // namespace
}  // namespace brindle
