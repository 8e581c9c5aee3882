#pragma once

#include <set>
#include <string>

#include "platform/contract/contract_test.h"
#include "platform/crypto.h"

namespace brindle {

inline std::string hexOf(const Sha256& hash) {
  std::string text;
  for (const unsigned byte : hash) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

template <std::size_t size>
std::array<std::uint8_t, size> fromHex(const char (&text)[2 * size + 1]) {
  std::array<std::uint8_t, size> bytes;
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(std::stoul(std::string(text + 2 * i, 2), nullptr, 16));
  }
  return bytes;
}

template <class Backend>
using CryptoContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(CryptoContract);

// FIPS 180-4 example values, as published with the standard.
TYPED_TEST_P(CryptoContract, HashesPiecesLikeTheirWholeAndDerivesTheSameFromTheSameOnly) {
  Sha256 hash;
  ASSERT_TRUE(this->backend.sha256({}, hash));
  EXPECT_EQ(hexOf(hash), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  const std::array<ByteView, 3> pieces{viewOf("a"), ByteView(), viewOf("bc")};
  ASSERT_TRUE(this->backend.sha256(pieces, hash));
  EXPECT_EQ(hexOf(hash), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  std::set<Sha256> derived;
  for (const auto& [secret, salt, iterations] : {std::tuple{"1234", "salt", 2u},
                                                 {"1235", "salt", 2u},
                                                 {"1234", "sal", 2u},
                                                 {"1234", "salt", 3u},
                                                 {"123", "4salt", 2u}}) {
    Sha256 once{};
    Sha256 again{};
    ASSERT_TRUE(this->backend.pbkdf2HmacSha256(viewOf(secret), viewOf(salt), iterations, once));
    ASSERT_TRUE(this->backend.pbkdf2HmacSha256(viewOf(secret), viewOf(salt), iterations, again));
    EXPECT_EQ(once, again);
    derived.insert(once);
  }
  EXPECT_EQ(derived.size(), 5u);
}

// RFC 5903, 8.1, and the generator of SP 800-186, 3.2.1.3, whose negative belongs to the order less
// one.
TYPED_TEST_P(CryptoContract, AgreesOnP256AndTakesNothingElseForAKey) {
  const std::array<std::array<std::uint8_t, 32>, 4> numbers{
      fromHex<32>("c88f01f510d9ac3f70a292daa2316de544e9aab8afe84049c62a9c57862d1433"),
      fromHex<32>("c6ef9c5d78ae012a011164acb397ce2088685d8f06bf9be0b283ab46476bee53"),
      fromHex<32>("0000000000000000000000000000000000000000000000000000000000000001"),
      fromHex<32>("ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632550")};
  const std::array<P256Public, 4> points{
      fromHex<65>("04dad0b65394221cf9b051e1feca5787d098dfe637fc90b9ef945d0c37725811805271a0461cdb82"
                  "52d61f1c456fa3e59ab1f45b33accf5f58389e0577b8990bb3"),
      fromHex<65>("04d12dfb5289c8d4f81208b70270398c342296970a0bccb74c736fc7554494bf6356fbf3ca366cc2"
                  "3e8157854c13c58d6aac23f046ada30f8353e74f33039872ab"),
      fromHex<65>("046b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c2964fe342e2fe1a7f"
                  "9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5"),
      fromHex<65>("046b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296b01cbd1c01e580"
                  "65711814b583f061e9d431cca994cea1313449bf97c840ae0a")};
  SecretKey key, shared;
  P256Public point;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    key.bytes = numbers[i];
    ASSERT_TRUE(this->backend.p256Public(key, point));
    EXPECT_EQ(point, points[i]) << i;
    EXPECT_TRUE(this->backend.isP256Public(point));
    if (i > 1) continue;
    ASSERT_TRUE(this->backend.p256Agree(key, points[1 - i], shared));
    EXPECT_EQ(hexOf(shared.bytes),
              "d6840f6b42f6edafd13116e0e12565202fef8e9ece7dce03812464d04b9442de");
  }
  for (const auto& [at, with] :
       {std::pair{0, 0}, {0, 2}, {0, 3}, {0, 6}, {0, 7}, {1, 0}, {64, 0}}) {
    point = points[0];
    point[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(with);
    EXPECT_FALSE(this->backend.isP256Public(point)) << at << " " << with;
    EXPECT_FALSE(this->backend.p256Agree(key, point, shared)) << at << " " << with;
  }
  for (const int beyond : {0, 1, 2}) {  // zero, the order, and what follows it
    key.bytes = beyond == 0 ? std::array<std::uint8_t, 32>{} : numbers[3];
    key.bytes[31] = static_cast<std::uint8_t>(key.bytes[31] + beyond);
    EXPECT_FALSE(this->backend.p256Public(key, point)) << beyond;
    EXPECT_FALSE(this->backend.p256Agree(key, points[0], shared)) << beyond;
  }
}

// No vector of RFC 5869 begins with 32 bytes. Those of RFC 8448, 3, do: "derive secret for
// handshake" and the one after it, which is salted with the former.
TYPED_TEST_P(CryptoContract, DerivesKeysFromKeys) {
  std::string info("\0\x20\x0dtls13 derived\x20", 17);
  Sha256 hash;
  ASSERT_TRUE(this->backend.sha256({}, hash));
  info += textOf(hash);
  SecretKey secret, first, second;
  ASSERT_TRUE(this->backend.hkdfSha256(secret, {}, info, first));
  EXPECT_EQ(hexOf(first.bytes), "6f2615a108c702c5678f54fc9dbab69716c076189c48250cebeac3576c3611ba");
  secret.bytes = fromHex<32>("8bd4054fb55b9d63fdfbacf9f04b9f0d35e6d63f537563efd46272900f89492d");
  ASSERT_TRUE(this->backend.hkdfSha256(secret, first.bytes, info, second));
  EXPECT_EQ(hexOf(second.bytes),
            "43de77e0c77713859a944db9db2590b53190a65b3ee2e4f12dd7a0bb7ce254b4");
}

// Cases 13 and 16 of the mode's submission to NIST, which SP 800-38D names.
TYPED_TEST_P(CryptoContract, EncryptsAndRefusesEveryChangedBit) {
  SecretKey key;
  GcmTag tag;
  ASSERT_TRUE(this->backend.sealAes256Gcm(key, GcmNonce{}, "", {}, {}, tag));
  EXPECT_EQ(tag, fromHex<16>("530f8afbc74536b9a963b4f1c4cb738b"));
  EXPECT_TRUE(this->backend.openAes256Gcm(key, GcmNonce{}, "", {}, tag, {}));
  key.bytes = fromHex<32>("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
  GcmNonce nonce = fromHex<12>("cafebabefacedbaddecaf888");
  auto authenticated = fromHex<20>("feedfacedeadbeeffeedfacedeadbeefabaddad2");
  const auto plain = fromHex<60>(
      "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c95956809532fcf"
      "0e2449a6b525b16aedf5aa0de657ba637b39");
  auto text = plain;  // in its own place
  ASSERT_TRUE(this->backend.sealAes256Gcm(key, nonce, textOf(authenticated), text, text, tag));
  EXPECT_EQ(text, fromHex<60>("522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb0"
                              "8e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"));
  EXPECT_EQ(tag, fromHex<16>("76fc6ece0f4e1768cddf8853bb2d551b"));
  std::array<std::uint8_t, 60> opened;
  const auto opens = [&] {
    return this->backend.openAes256Gcm(key, nonce, textOf(authenticated), text, tag, opened);
  };
  ASSERT_TRUE(opens());
  EXPECT_EQ(opened, plain);
  for (const std::span<std::uint8_t> part :
       {std::span<std::uint8_t>(text), {tag}, {nonce}, {authenticated}, {key.bytes}}) {
    for (std::size_t bit = 0; bit < part.size() * 8; ++bit) {
      const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
      opened.fill(0xee);
      part[bit / 8] ^= mask;
      EXPECT_FALSE(opens()) << part.size() << " " << bit;
      part[bit / 8] ^= mask;
      EXPECT_EQ(opened, decltype(opened){}) << "wiped";
    }
  }
  EXPECT_TRUE(opens());
  EXPECT_FALSE(this->backend.sealAes256Gcm(key, nonce, "", text, std::span(opened).first(59), tag));
}

REGISTER_TYPED_TEST_SUITE_P(CryptoContract,
                            HashesPiecesLikeTheirWholeAndDerivesTheSameFromTheSameOnly,
                            AgreesOnP256AndTakesNothingElseForAKey, DerivesKeysFromKeys,
                            EncryptsAndRefusesEveryChangedBit);

}  // namespace brindle
