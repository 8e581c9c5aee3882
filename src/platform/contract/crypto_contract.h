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

REGISTER_TYPED_TEST_SUITE_P(CryptoContract,
                            HashesPiecesLikeTheirWholeAndDerivesTheSameFromTheSameOnly);

}  // namespace brindle
