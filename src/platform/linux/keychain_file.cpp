#include "platform/linux/keychain_file.h"

#include <fmt/format.h>

#include <algorithm>

namespace brindle {

using namespace keychain_code;

namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

// Percent-encoded as in RFC 3986, the full stop too: no item can name a folder above or a hidden
// file, and different items never share a name.
void appendEncoded(std::string& out, std::string_view text) {
  for (const char c : text) {
    if (isPlain(c)) {
      out += c;
    } else {
      fmt::format_to(std::back_inserter(out), "%{:02X}", static_cast<unsigned char>(c));
    }
  }
}

int codeOf(const FileError& error) {
  switch (error.kind) {
    case FileError::Kind::notFound:
      return itemNotFound;
    case FileError::Kind::denied:
      return authFailed;
    case FileError::Kind::exists:
    case FileError::Kind::noSpace:
    case FileError::Kind::unsupported:
    case FileError::Kind::other:
      break;
  }
  return io;
}

}  // namespace

std::string FileKeychain::pathOf(const KeychainItem& item) const {
  std::string name;
  appendEncoded(name, item.service);
  name += ',';
  appendEncoded(name, item.account);
  return joinPath(folder_, name);
}

KeychainRead FileKeychain::read(KeychainStore store, const KeychainItem& item) {
  if (store == KeychainStore::legacy) return {itemNotFound, {}};
  auto data = files_.read(pathOf(item));
  if (!data) return {codeOf(data.error()), {}};
  return {success, std::move(*data)};
}

int FileKeychain::write(KeychainStore store, const KeychainItem& item, ByteView data) {
  if (store == KeychainStore::legacy) return notAvailable;
  auto done = files_.makeFolder(folder_);
  if (done) done = files_.writeWhole(pathOf(item), data);
  if (done) return success;
  // "Not found" would read as an absent item; a folder that cannot be made is a failed write.
  const int code = codeOf(done.error());
  return code == itemNotFound ? io : code;
}

int FileKeychain::remove(KeychainStore store, const KeychainItem& item) {
  if (store == KeychainStore::legacy) return itemNotFound;
  const auto done = files_.remove(pathOf(item));
  if (!done) return codeOf(done.error());
  return files_.flushFolder(folder_) ? success : io;
}

ServiceReport FileKeychain::report() {
  const auto names = files_.list(folder_);
  const bool fine = names || names.error().kind == FileError::Kind::notFound;
  return {
      "keychain", "file keyring", fine,
      fine ? "private files, as no Secret Service was ever present" : "its folder cannot be read"};
}

}  // namespace brindle
