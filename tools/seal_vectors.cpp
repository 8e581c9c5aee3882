// Prints the test vectors of docs/sealed-blob.md: sealings in which nothing is left to chance.
// With a file as its argument it prints nothing and fails unless that file holds the same text.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "base/base64.h"
#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_blob.h"
#include "vault/vault_crypto.h"
#include "vault/vault_opener.h"

namespace {

using namespace brindle;
using Key = std::array<std::uint8_t, 32>;

/// A sealing that wants a random value finds out that it forgot one here.
class NoRandom final : public Random {
 public:
  [[nodiscard]] bool fill(std::span<std::uint8_t>) override { return false; }
  ServiceReport report() const override { return {"random", "none", false, ""}; }
};

struct Vector {
  std::string_view title;
  std::vector<Key> recipients;
  VaultCrypto::Fixed fixed;
  std::string_view photoId, eventId, photo;
  VaultMeta meta;
};

/// Bytes that count up from `first`.
template <class T>
T counted(unsigned first) {
  T out{};
  for (auto& byte : out) byte = static_cast<std::uint8_t>(first++);
  return out;
}

VaultCrypto::Fixed fixedFor(unsigned base, unsigned recipients) {
  VaultCrypto::Fixed fixed{
      counted<Key>(base), counted<GcmNonce>(base + 0x20), counted<GcmNonce>(base + 0x30), {}, {}};
  for (unsigned i = 0; i < recipients; ++i) {
    fixed.ephemeral.push_back(counted<Key>(base + 0x40 + 0x20 * i));
    fixed.wrapNonces.push_back(counted<GcmNonce>(base + 0x48 + 0x10 * i));
  }
  return fixed;
}

Vector oneRecipient() {
  VaultMeta meta;
  meta.takenAt = WallTime(std::chrono::seconds(1794689792));
  meta.kind = "unlock";
  meta.device = "Laptop";
  meta.timeZone = "Europe/Berlin";
  return {"Vector 1: one recipient, only the metadata that is always there",
          {counted<Key>(0x01)},
          fixedFor(0x20, 1),
          "0f8fad5b-d9cb-469f-a165-70867728950e",
          "7c9e6679-7425-40de-944b-e07fc1f90ae7",
          "a photo",
          meta};
}

Vector threeRecipients() {
  VaultMeta meta;
  meta.takenAt = WallTime(std::chrono::seconds(-1));
  meta.index = 2;
  meta.kind = "watched-file";
  meta.wrongPINs = 3;
  meta.device = "Desktop";
  meta.timeZone = "Pacific/Auckland";
  meta.deviceName = "Zo\xc3\xab's \"desk\"";
  meta.mime = "video/mp4";
  meta.lat = -36.848461;
  meta.lon = 174.763336;
  meta.place = "Auckland\n\x01";
  meta.target = "C:\\plans\t1";
  return {"Vector 2: three recipients, all metadata, a clip",
          {counted<Key>(0x31), counted<Key>(0x51), counted<Key>(0x71)},
          fixedFor(0x60, 3),
          "550e8400-e29b-41d4-a716-446655440000",
          "6ba7b810-9dad-11d1-80b4-00c04fd430c8",
          "a clip, a little longer than two blocks",
          meta};
}

std::string hex(ByteView bytes) {
  std::string out;
  for (const std::uint8_t byte : bytes) out += fmt::format("{:02x}", byte);
  return out;
}

struct Secret : SecretKey {
  explicit Secret(const Key& key) { bytes = key; }
};

class Printer {
 public:
  explicit Printer(Crypto& crypto) : crypto_(crypto) {}

  /// Nothing when the vector cannot be sealed, or not be opened again by each of its recipients.
  std::optional<std::string> print(const Vector& vector) {
    std::vector<Bytes> keys;
    for (const Key& recipient : vector.recipients) keys.push_back(publicKey(recipient));
    NoRandom random;
    VaultCrypto sealer(crypto_, random);
    const auto sealed = sealer.seal(viewOf(vector.photo), vector.meta, *Uuid::parse(vector.photoId),
                                    *Uuid::parse(vector.eventId), keys, vector.fixed);
    const auto opens = [&](const Key& recipient) { return opened(vector, *sealed, recipient); };
    if (!sealed || !std::ranges::all_of(vector.recipients, opens)) return std::nullopt;
    return fmt::format("### {}\n\n```\n{}{}{}```\n", vector.title, inputs(vector),
                       recipients(vector, sealed->keyIDs), result(*sealed));
  }

 private:
  Bytes publicKey(const Key& of) {
    P256Public key{};
    (void)crypto_.p256Public(Secret(of), key);
    return {key.begin(), key.end()};
  }

  bool opened(const Vector& vector, const VaultCrypto::Sealed& sealed, const Key& recipient) {
    Bytes blob(sealed.blob.begin(), sealed.blob.end());
    const auto item = VaultOpener(crypto_, Secret(recipient)).open(blob);
    return item && textOf(item->photo) == vector.photo && item->metaJSON == metaJson(vector.meta);
  }

  static std::string inputs(const Vector& vector) {
    return fmt::format(
        "photo id      {}\nevent id      {}\nphoto         {}\nmetadata      {}\n"
        "content key   {}\nphoto nonce   {}\nmeta nonce    {}\n",
        vector.photoId, vector.eventId, hex(viewOf(vector.photo)), metaJson(vector.meta),
        hex(*vector.fixed.contentKey), hex(*vector.fixed.photoNonce), hex(*vector.fixed.metaNonce));
  }

  std::string recipients(const Vector& vector, const std::vector<std::string>& kids) {
    std::string out;
    for (std::size_t i = 0; i < vector.recipients.size(); ++i) {
      const Key& own = vector.fixed.ephemeral[i];
      const Bytes recipient = publicKey(vector.recipients[i]), ephemeral = publicKey(own);
      P256Public to{}, from{};
      std::ranges::copy(recipient, to.begin());
      std::ranges::copy(ephemeral, from.begin());
      SecretKey wrapKey;
      (void)deriveWrapKey(crypto_, Secret(own), to, from, to, wrapKey);
      out += fmt::format(
          "\nrecipient {}\n  private     {}\n  public      {}\n  kid         {}\n"
          "  ephemeral   {}\n  epk         {}\n  wrap key    {}\n  wrap nonce  {}\n",
          i, hex(vector.recipients[i]), hex(recipient), kids[i], hex(own), hex(ephemeral),
          hex(wrapKey.bytes), hex(vector.fixed.wrapNonces[i]));
    }
    return out;
  }

  std::string result(const VaultCrypto::Sealed& sealed) {
    Sha256 digest;
    const ByteView blob = sealed.blob, pieces[] = {blob};
    (void)crypto_.sha256(pieces, digest);
    return fmt::format(
        "\nblob\n  length      {}\n  header      {}\n  photo, tag  {}\n  SHA-256     {}\n",
        hex(blob.first(headerLengthSize)), sealed.headerJSON,
        hex(blob.subspan(headerLengthSize + sealed.headerJSON.size())), hex(digest));
  }

  Crypto& crypto_;
};

}  // namespace

int main(int argc, char** argv) {
  OpensslCrypto crypto;
  Printer printer(crypto);
  const auto one = printer.print(oneRecipient()), three = printer.print(threeRecipients());
  if (!one || !three) {
    std::fputs("a vector cannot be sealed and opened again\n", stderr);
    return 1;
  }
  const std::string text = *one + "\n" + *three;
  if (argc < 2) return std::fputs(text.c_str(), stdout) < 0 ? 1 : 0;
  std::ifstream file(argv[1], std::ios::binary);
  const std::string document(std::istreambuf_iterator<char>(file), {});
  if (document.find(text) != std::string::npos) return 0;
  std::fprintf(stderr, "%s does not hold the vectors as they are; this program prints them\n",
               argv[1]);
  return 1;
}
