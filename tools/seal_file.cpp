// Seals a file as the guard does, for whoever opens sealed items: tests, and makers of openers.
//
//   brindle_seal_file photo=FILE blob=FILE photo-id=UUID event-id=UUID to=KEY [to=KEY…]
//   [FACT=VALUE…]
//
// KEY is a public key, base64url of its 65 bytes. A fact is takenAt (in UTC with "Z"), index, kind,
// wrongPINs, device, timeZone, deviceName, mime, lat, lon, place or target. Prints the recipients'
// key identifiers, a line each.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "base/base64.h"
#include "base/iso8601.h"
#include "platform/linux/random_linux.h"
#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_crypto.h"

namespace brindle {
namespace {

struct Order {
  std::string photo, blob;
  Uuid photoId, eventId;
  std::vector<Bytes> recipients;
  VaultMeta meta;
};

/// False: the value cannot be read.
using Setter = std::function<bool(Order&, const std::string&)>;

template <class Member>
Setter text(Member VaultMeta::*fact) {
  return [fact](Order& order, const std::string& value) {
    order.meta.*fact = value;
    return true;
  };
}

Setter number(std::int64_t VaultMeta::*fact) {
  return [fact](Order& order, const std::string& value) {
    char* end = nullptr;
    order.meta.*fact = std::strtoll(value.c_str(), &end, 10);
    return *end == 0;
  };
}

Setter degrees(std::optional<double> VaultMeta::*fact) {
  return [fact](Order& order, const std::string& value) {
    char* end = nullptr;
    order.meta.*fact = std::strtod(value.c_str(), &end);
    return *end == 0;
  };
}

Setter path(std::string Order::*file) {
  return [file](Order& order, const std::string& value) {
    order.*file = value;
    return true;
  };
}

Setter identifier(Uuid Order::*id) {
  return [id](Order& order, const std::string& value) {
    const auto read = Uuid::parse(value);
    if (read) order.*id = *read;
    return read.has_value();
  };
}

bool addRecipient(Order& order, const std::string& value) {
  const auto key = fromBase64url(value);
  if (key) order.recipients.push_back(*key);
  return key.has_value();
}

bool setTakenAt(Order& order, const std::string& value) {
  const auto time = parseIsoSeconds(value);
  if (time) order.meta.takenAt = *time;
  return time.has_value();
}

const std::map<std::string, Setter, std::less<>>& setters() {
  static const std::map<std::string, Setter, std::less<>> all{
      {"photo", path(&Order::photo)},
      {"blob", path(&Order::blob)},
      {"photo-id", identifier(&Order::photoId)},
      {"event-id", identifier(&Order::eventId)},
      {"to", addRecipient},
      {"takenAt", setTakenAt},
      {"index", number(&VaultMeta::index)},
      {"kind", text(&VaultMeta::kind)},
      {"wrongPINs", number(&VaultMeta::wrongPINs)},
      {"device", text(&VaultMeta::device)},
      {"timeZone", text(&VaultMeta::timeZone)},
      {"deviceName", text(&VaultMeta::deviceName)},
      {"mime", text(&VaultMeta::mime)},
      {"lat", degrees(&VaultMeta::lat)},
      {"lon", degrees(&VaultMeta::lon)},
      {"place", text(&VaultMeta::place)},
      {"target", text(&VaultMeta::target)},
  };
  return all;
}

bool take(Order& order, std::string_view argument) {
  const std::size_t split = argument.find('=');
  if (split == std::string_view::npos) return false;
  const auto setter = setters().find(argument.substr(0, split));
  return setter != setters().end() &&
         setter->second(order, std::string(argument.substr(split + 1)));
}

bool run(const Order& order) {
  std::ifstream in(order.photo, std::ios::binary);
  const std::string read{std::istreambuf_iterator<char>(in), {}};
  if (!in) return false;
  const Bytes photo(read.begin(), read.end());
  OpensslCrypto crypto;
  LinuxRandom random;
  const auto sealed = VaultCrypto(crypto, random)
                          .seal(photo, order.meta, order.photoId, order.eventId, order.recipients);
  if (!sealed) return false;
  std::ofstream out(order.blob, std::ios::binary);
  out << std::string(sealed->blob.begin(), sealed->blob.end());
  for (const std::string& id : sealed->keyIDs) std::puts(id.c_str());
  return out.flush().good();
}

}  // namespace
}  // namespace brindle

int main(int count, char** arguments) {
  brindle::Order order;
  for (int i = 1; i < count; ++i) {
    if (brindle::take(order, arguments[i])) continue;
    std::fprintf(stderr, "not understood: %s\n", arguments[i]);
    return 2;
  }
  if (brindle::run(order)) return 0;
  std::fprintf(stderr, "could not be read, sealed or written\n");
  return 1;
}
