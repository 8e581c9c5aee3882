// The first byte chooses between a blob and metadata. Every tag holds here, so that what lies
// behind them is reached; the key is the one of the first published vector.

#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_opener.h"
#include "vault/vault_opener_json.h"

namespace {

using namespace brindle;

void require(bool holds) {
  if (!holds) std::abort();
}

class BelievesAll final : public OpensslCrypto {
 public:
  [[nodiscard]] bool openAes256Gcm(const SecretKey&, const GcmNonce&, std::string_view,
                                   ByteView cipher, const GcmTag&,
                                   std::span<std::uint8_t> plain) override {
    require(cipher.size() == plain.size());
    return true;
  }
};

const VaultOpener& opener() {
  static BelievesAll crypto;
  static const VaultOpener made = [] {
    SecretKey key;
    std::iota(key.bytes.begin(), key.bytes.end(), std::uint8_t{1});
    return VaultOpener(crypto, key);
  }();
  return made;
}

void blob(Bytes bytes) {
  const auto header = readSealedHeader(bytes);
  const auto item = opener().open(bytes);
  require(header || !item);
  if (!header) return;
  require(header->photoAt <= bytes.size());
  if (!item) return;
  require(item->photo.size() + 16 == bytes.size() - header->photoAt);
  require(std::ranges::any_of(header->recipients, [](const SealedHeader::Recipient& each) {
    return each.kid == opener().keyIdentifier();
  }));
}

void metadata(const Bytes& bytes) {
  const auto read = readVaultMeta(textOf(bytes));
  if (!read) return;
  const std::string written = metaJson(*read);
  const auto again = readVaultMeta(written);
  require(again && metaJson(*again) == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Bytes rest(data + 1, data + size);
  data[0] % 2 == 0 ? blob(rest) : metadata(rest);
  return 0;
}
