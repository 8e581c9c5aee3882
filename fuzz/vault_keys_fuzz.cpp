// Whatever comes as a key set, an organisation's reply or a link: the checks decide without
// crashing, what is read harms no line, and written again it reads back as the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/memory/random_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_crypto.h"
#include "vault/vault_keys.h"
#include "vault/vault_replies_json.h"
#include "vault/vault_setup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  static OpensslCrypto openssl;
  static MemoryRandom random;
  VaultCrypto crypto(openssl, random);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto require = [](bool holds) {
    if (!holds) std::abort();
  };
  if (const auto keys = readKeys(text)) {
    require(readKeys(keysJson(*keys)) == keys);
    const std::size_t named = keys->orgs.size() + (keys->vault ? 1 : 0);
    if (keysFit(crypto, *keys)) require(recipientsOf(*keys).size() == named);
  }
  const auto join = readJoinReply(text);
  if (join) require(std::ranges::none_of(join->name, [](char c) { return c >= 0 && c < ' '; }));
  if (const auto link = readLinkReply(text); link && sameOrigin(link->url, "https://a.test")) {
    require(link->url.starts_with("https://"));
  }
  return 0;
}
