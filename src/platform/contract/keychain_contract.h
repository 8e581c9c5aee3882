#pragma once

#include <gtest/gtest.h>

#include "platform/keychain.h"

namespace brindle {

/// A backend offers: `keychain`, empty at first.
template <class Backend>
class KeychainContract : public testing::Test {
 protected:
  KeychainRead read(const KeychainItem& item) {
    return backend.keychain.read(KeychainStore::dataProtection, item);
  }
  int write(const KeychainItem& item, const Bytes& data) {
    return backend.keychain.write(KeychainStore::dataProtection, item, data);
  }
  int remove(const KeychainItem& item) {
    return backend.keychain.remove(KeychainStore::dataProtection, item);
  }

  Backend backend;
  const KeychainItem pin{"guard.pin@unnamed", "owner"};
};
TYPED_TEST_SUITE_P(KeychainContract);

TYPED_TEST_P(KeychainContract, BinaryDataComesBackReplacedWholeAndAbsentIsSaidSo) {
  using namespace keychain_code;
  EXPECT_EQ(this->read(this->pin).code, itemNotFound);
  EXPECT_EQ(this->remove(this->pin), itemNotFound);
  Bytes record(49);
  for (std::size_t i = 0; i < record.size(); ++i) record[i] = static_cast<std::uint8_t>(i * 37);
  for (const Bytes& data : {record, Bytes{0, 0, 255}, Bytes{}, bytesOf("Wie hieß der Hund?")}) {
    ASSERT_EQ(this->write(this->pin, data), success);
    const auto read = this->read(this->pin);
    EXPECT_EQ(read.code, success);
    EXPECT_EQ(read.data, data);
  }
  EXPECT_TRUE(this->backend.keychain.report().answered);
  EXPECT_EQ(this->backend.keychain.read(KeychainStore::legacy, this->pin).code, itemNotFound);
  EXPECT_EQ(this->backend.keychain.remove(KeychainStore::legacy, this->pin), itemNotFound);
  EXPECT_EQ(this->remove(this->pin), success);
  EXPECT_EQ(this->read(this->pin).code, itemNotFound);
  EXPECT_EQ(this->remove(this->pin), itemNotFound);
}

TYPED_TEST_P(KeychainContract, ItemsAreKeptApartByServiceAndAccount) {
  const std::vector<KeychainItem> items{{"guard.pin", "owner"},   {"guard.pin", "owner2"},
                                        {"guard.pin@a", "owner"}, {"guard", "pin,owner"},
                                        {"guard,pin", "owner"},   {"../pin", "ä%2F/x"}};
  for (std::size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(this->write(items[i], {static_cast<std::uint8_t>(i)}), keychain_code::success);
  }
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(this->read(items[i]).data, Bytes{static_cast<std::uint8_t>(i)}) << i;
    EXPECT_EQ(this->remove(items[i]), keychain_code::success) << i;
  }
}

REGISTER_TYPED_TEST_SUITE_P(KeychainContract, BinaryDataComesBackReplacedWholeAndAbsentIsSaidSo,
                            ItemsAreKeptApartByServiceAndAccount);

}  // namespace brindle
