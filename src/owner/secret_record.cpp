#include "owner/secret_record.h"

#include <algorithm>

#include "base/secret_text.h"

namespace brindle {
namespace {

constexpr std::uint8_t currentVersion = 2;
constexpr std::size_t saltSize = 16;
constexpr std::size_t hashSize = 32;
constexpr std::size_t currentSize = 1 + saltSize + hashSize;
constexpr std::size_t olderSize = saltSize + hashSize;
constexpr unsigned iterations = 210'000;
static_assert(currentSize == 49 && olderSize == 48 && sizeof(Sha256) == hashSize);

/// A derived key, gone from memory when it is no longer needed.
struct DerivedKey {
  Sha256 bytes{};
  ~DerivedKey() { wipe(bytes.data(), bytes.size()); }
};

}  // namespace

std::optional<Bytes> buildRecord(Crypto& crypto, Random& random, std::string_view secret) {
  Bytes record(currentSize);
  record[0] = currentVersion;
  const auto salt = std::span(record).subspan(1, saltSize);
  DerivedKey key;
  if (!random.fill(salt)) return std::nullopt;
  if (!crypto.pbkdf2HmacSha256(viewOf(secret), salt, iterations, key.bytes)) return std::nullopt;
  std::ranges::copy(key.bytes, record.begin() + 1 + saltSize);
  return record;
}

RecordMatch matchRecord(Crypto& crypto, ByteView record, std::string_view secret) {
  const bool current = record.size() == currentSize && record[0] == currentVersion;
  if (!current && record.size() != olderSize) return RecordMatch::no;
  const ByteView salt = record.subspan(current ? 1 : 0, saltSize);
  DerivedKey key;
  const std::array<ByteView, 2> saltAndSecret{salt, viewOf(secret)};
  const bool derived = current
                           ? crypto.pbkdf2HmacSha256(viewOf(secret), salt, iterations, key.bytes)
                           : crypto.sha256(saltAndSecret, key.bytes);
  if (!derived) return RecordMatch::unknown;
  if (!equalInConstantTime(key.bytes, record.last(hashSize))) return RecordMatch::no;
  return current ? RecordMatch::current : RecordMatch::older;
}

}  // namespace brindle
