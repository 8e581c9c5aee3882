// seal_bench FILE RECIPIENTS SECONDS: seals a file over and over and prints the processor time of
// one sealing in microseconds, beside the memory it needs in files' sizes. bench/seal.py compares.

#include <fmt/format.h>

#include <bit>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "platform/linux/random_linux.h"
#include "platform/openssl/crypto_openssl.h"
#include "vault/vault_crypto.h"

namespace brindle {
namespace {

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// Not getrusage's, which begins with the starting program's.
double peakBytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) * 1024;
  }
  return 0;
}

/// In one allocation, so that the peak of the memory is not made here.
Bytes contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  Bytes bytes(std::filesystem::file_size(path));
  file.read(std::bit_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

std::vector<Bytes> makeRecipients(OpensslCrypto& crypto, int count) {
  std::vector<Bytes> all;
  for (int i = 0; i < count; ++i) {
    SecretKey key;
    P256Public point{};
    key.bytes.fill(static_cast<std::uint8_t>(i + 1));
    if (crypto.p256Public(key, point)) all.emplace_back(point.begin(), point.end());
  }
  return all;
}

bool run(const char* path, int count, double seconds) {
  const Bytes photo = contents(path);
  OpensslCrypto crypto;
  LinuxRandom random;
  VaultCrypto vault(crypto, random);
  const auto recipients = makeRecipients(crypto, count);
  const VaultMeta meta{{}, 0, "unlock", 0, "desk", "Europe/Berlin", {}, {}, {}, {}, {}, {}};
  const auto seal = [&](ByteView bytes) {
    return vault.seal(bytes, meta, random.newUuid(), random.newUuid(), recipients).has_value();
  };
  // What the library loads once is no part of the memory that a photo takes.
  bool good = seal(ByteView(photo).first(1));
  const double before = peakBytes();
  good = good && seal(photo);
  const double peak = 1 + (peakBytes() - before) / static_cast<double>(photo.size());
  int rounds = 0;
  const double begin = processorSeconds();
  for (; good && processorSeconds() - begin < seconds; ++rounds) good = seal(photo);
  fmt::print("{:.2f} {:.3f}\n", (processorSeconds() - begin) / rounds * 1e6, peak);
  return good;
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  return brindle::run(argv[1], std::atoi(argv[2]), std::atof(argv[3])) ? 0 : 1;
}
