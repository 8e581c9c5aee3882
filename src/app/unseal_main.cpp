// Opens sealed photos and clips for whoever holds a key, wherever they came from: it needs no
// guard, no account, no network and no settings.
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "app/harden.h"
#include "app/private_key_file.h"
#include "app/terminal.h"
#include "app/unseal_arguments.h"
#include "app/unsealing.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/files_posix.h"

namespace {

using namespace brindle;
namespace fs = std::filesystem;

enum ExitCode { allOpened = 0, someNot = 1, wrongUsage = 2 };

void complain(const std::string& about, std::string_view what) {
  std::string line = "brindle-unseal: " + printable(about) + ": ";
  std::fputs(line.append(what).append("\n").c_str(), stderr);
}

/// Quiet before the question shows, which is asked where no list is being written to.
std::optional<SecretText> askPassphrase(const std::string& file) {
  const EchoOff quiet(STDIN_FILENO);
  std::fprintf(stderr, "Passphrase of %s: ", printable(file).c_str());
  return StandardTerminal().askSecret("");
}

bool loadKey(Files& files, const std::string& path, SecretKey& key) {
  auto pem = files.read(path);
  if (!pem) {
    complain(path, explain(pem.error()));
    return false;
  }
  const auto read = readPrivateKey(
      *pem, [&path] { return askPassphrase(path); }, key);
  wipe(*pem);
  if (!read) complain(path, explain(read.error()));
  return read.has_value();
}

bool isFolder(const std::string& path) {
  std::error_code unreadable;  // then it is not one that could be looked into
  return fs::is_directory(path, unreadable);
}

/// The files in a folder. None, with a complaint, where there is nothing to open.
std::vector<std::string> filesIn(Files& files, const std::string& folder) {
  std::vector<std::string> all;
  const auto names = files.list(folder);
  if (!names) {
    complain(folder, explain(names.error()));
    return all;
  }
  for (const std::string& name : *names) {
    if (std::string path = joinPath(folder, name); !isFolder(path)) all.push_back(std::move(path));
  }
  if (all.empty()) complain(folder, "no files in this folder");
  return all;
}

/// One bad item does not stop the others.
bool handle(Unsealing& unsealing, const UnsealArguments& arguments, const std::string& blob) {
  const Unsealed done =
      arguments.list ? unsealing.describe(blob) : unsealing.toFiles(blob, arguments.out);
  if (!done.problem.empty()) complain(blob, done.problem);
  if (arguments.list && !done.told.empty()) std::printf("%s\n", printable(blob).c_str());
  std::fputs(done.told.c_str(), stdout);
  return done.good;
}

bool handleAll(Files& files, const VaultOpener* opener, const UnsealArguments& arguments) {
  Unsealing unsealing(files, opener);
  bool good = true;
  for (const std::string& named : arguments.blobs) {
    const auto blobs = isFolder(named) ? filesIn(files, named) : std::vector{named};
    good = good && !blobs.empty();
    for (const std::string& blob : blobs) good = handle(unsealing, arguments, blob) && good;
  }
  return good;
}

/// Where the results go, as a whole path: files are written by those.
std::optional<std::string> outFolder(Files& files, const std::string& named) {
  std::error_code failed;
  const std::string folder = fs::absolute(named.empty() ? "." : named, failed).lexically_normal();
  const auto made = failed ? FileResult<void>(Failure<FileError>({{}, failed.value()}))
                           : files.makeFolder(folder);
  if (made) return folder;
  complain(named, explain(made.error()));
  return std::nullopt;
}

int unseal(UnsealArguments arguments) {
  PosixFiles files("/");
  OpensslCrypto crypto;
  std::optional<VaultOpener> opener;
  if (!arguments.key.empty()) {
    SecretKey key;
    if (!loadKey(files, arguments.key, key)) return wrongUsage;
    opener.emplace(crypto, key);
  }
  if (!arguments.list) {
    const auto out = outFolder(files, arguments.out);
    if (!out) return someNot;
    arguments.out = *out;
  }
  const bool good = handleAll(files, opener ? &*opener : nullptr, arguments);
  // A list that nobody got is no success.
  return good && std::fflush(stdout) == 0 ? allOpened : someNot;
}

}  // namespace

int main(int argc, char** argv) {
  harden();
  const std::vector<std::string> words(argv + 1, argv + argc);
  auto arguments = readUnsealArguments(words);
  const std::string text(unsealUsage());
  if (!arguments) {
    const std::string why = printable(arguments.error());  // a file's name may look like an option
    std::fprintf(stderr, "brindle-unseal: %s\n%s", why.c_str(), text.c_str());
    return wrongUsage;
  }
  if (!arguments->help) return unseal(std::move(*arguments));
  std::fputs(text.c_str(), stdout);
  return allOpened;
}
