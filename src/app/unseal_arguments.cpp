#include "app/unseal_arguments.h"

namespace brindle {
namespace {

Failure<std::string> wrong(std::string why) { return Failure<std::string>(std::move(why)); }

Result<UnsealArguments, std::string> complete(UnsealArguments read) {
  if (read.blobs.empty()) return wrong("no sealed item is given");
  if (!read.list && read.key.empty()) return wrong("--key is missing");
  if (read.list && !read.out.empty()) return wrong("--list writes nothing to --out");
  return read;
}

}  // namespace

Result<UnsealArguments, std::string> readUnsealArguments(std::span<const std::string> words) {
  UnsealArguments read;
  bool options = true;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (!options || !word.starts_with('-')) {
      read.blobs.push_back(word);
    } else if (word == "--") {
      options = false;
    } else if (word == "--help" || word == "-h") {
      read.help = true;
      return read;
    } else if (word == "--list") {
      read.list = true;
    } else if (word == "--key" || word == "--out") {
      std::string& value = word == "--key" ? read.key : read.out;
      if (!value.empty()) return wrong(word + " is given twice");
      if (++i == words.size() || words[i].empty()) return wrong(word + " needs a value");
      value = words[i];
    } else {
      return wrong("no such option: " + word);
    }
  }
  return complete(std::move(read));
}

std::string_view unsealUsage() {
  return R"(usage: brindle-unseal --key FILE [--out FOLDER] BLOB...
       brindle-unseal --list [--key FILE] BLOB...

Opens sealed photos and clips with a private key that they were sealed for. A folder as BLOB
stands for the files in it.

  --key FILE     a P-256 private key in PEM form (PKCS#8), as "openssl genpkey" writes it; asks for
                 the passphrase of an encrypted one
  --out FOLDER   where photos (.jpg), clips (.mp4) and their metadata (.json) go, named after event
                 and place within it; the current folder when left out, made when missing
  --list         writes nothing: shows event, photo and whom each is sealed for, and with a key
                 whether it opens it, when it was taken, its kind and its size
  --help         this text

What is there is never overwritten. Exit codes: 0 all opened, 1 some could not be opened or
written, 2 wrong usage or no usable key.
)";
}

}  // namespace brindle
