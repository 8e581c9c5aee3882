#include "platform/linux/link_handler.h"

#include <string.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "platform/file_step.h"
#include "platform/linux/desktop_entry.h"

namespace brindle {

namespace {

const std::string entryName = "com.corvane.brindle.links.desktop";

std::string lowerCase(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Schemes are compared without regard to case (RFC 3986, 3.1); types of the shared database are in
// lower case.
std::string typeOf(const std::string& scheme) { return "x-scheme-handler/" + lowerCase(scheme); }

bool isScheme(const std::string& text) {
  const auto inScheme = [](unsigned char c) {
    return c < 128 && (std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.');
  };
  return !text.empty() && std::isalpha(static_cast<unsigned char>(text.front())) != 0 &&
         std::ranges::all_of(text, inScheme);
}

Failure<std::string> problem(const char* what, const FileError& error) {
  return Failure<std::string>(std::string(what) + ": " + strerrordesc_np(error.code));
}

// People keep this file as a link into a folder of theirs; the link stays.
std::string linkTarget(const std::string& path) {
  std::error_code none;
  const auto real = std::filesystem::canonical(path, none);
  return none ? path : real.string();
}

}  // namespace

LinkHandlerPlaces LinkHandlerPlaces::of(std::string program) {
  std::vector<std::string> desktops;
  std::string names = lowerCase(environmentText("XDG_CURRENT_DESKTOP"));
  while (!names.empty()) {
    desktops.push_back(names.substr(0, names.find(':')));
    names.erase(0, std::min(desktops.back().size() + 1, names.size()));
  }
  return {std::move(program), homeFolder("XDG_CONFIG_HOME", ".config"),
          homeFolder("XDG_DATA_HOME", ".local/share"), std::move(desktops)};
}

std::string LinkHandler::entryPath() const {
  return joinPath(places_.dataHome, "applications/" + entryName);
}
std::string LinkHandler::listPath() const { return joinPath(places_.configHome, "mimeapps.list"); }

std::string LinkHandler::entryText(const std::vector<std::string>& schemes) const {
  std::string types;
  for (const auto& scheme : schemes) types += typeOf(scheme) + ';';
  return "[Desktop Entry]\nType=Application\nName=Brindle\nNoDisplay=true\nTerminal=false\nExec=" +
         desktopQuoted(places_.program) + " open %u\nMimeType=" + types + "\n";
}

Result<void, std::string> LinkHandler::install(const std::vector<std::string>& schemes) {
  if (!std::ranges::all_of(schemes, isScheme)) return Failure<std::string>("not a link's scheme");
  auto done = files_.makeFolder(folderOf(entryPath()));
  if (done) done = files_.writeWhole(entryPath(), viewOf(entryText(schemes)));
  if (!done) return problem("links could not be directed to this program", done.error());
  return changeList(schemes);
}

Result<void, std::string> LinkHandler::remove() {
  auto listed = changeList({});
  const auto gone = files_.remove(entryPath());
  if (!gone && gone.error().kind != FileError::Kind::notFound) {
    return problem("links could not be taken from this program", gone.error());
  }
  return listed;
}

Result<void, std::string> LinkHandler::changeList(const std::vector<std::string>& schemes) {
  const auto fails = [](const FileError& error) {
    return problem("the list of default applications could not be changed", error);
  };
  const std::string path = linkTarget(listPath());
  const auto before = files_.read(path);
  // An unreadable list is somebody's work; nothing is written over it.
  if (!before && before.error().kind != FileError::Kind::notFound) return fails(before.error());
  const std::string old = before ? std::string(textOf(*before)) : "";
  MimeApps list(old);
  list.forget(entryName);
  for (const auto& scheme : schemes) list.prefer(typeOf(scheme), entryName);
  if (list.text() == old) return {};
  auto done = files_.makeFolder(folderOf(path));
  if (done) done = files_.writeWhole(path, viewOf(list.text()));
  if (!done) return fails(done.error());
  return {};
}

std::vector<std::string> LinkHandler::defaults(const std::string& type) const {
  std::vector<std::string> names;
  for (const auto& desktop : places_.desktops) names.push_back(desktop + "-mimeapps.list");
  names.emplace_back("mimeapps.list");
  for (const auto& name : names) {
    const auto bytes = files_.read(joinPath(places_.configHome, name));
    if (!bytes) continue;
    auto found = MimeApps(textOf(*bytes)).defaults(type);
    if (!found.empty()) return found;
  }
  return {};
}

bool LinkHandler::registered(const std::string& scheme) const {
  const auto entry = files_.read(entryPath());
  if (!entry) return false;
  const std::string_view text = textOf(*entry);
  const std::string exec = "\nExec=" + desktopQuoted(places_.program) + " open %u\n";
  const std::string type = typeOf(scheme);
  const auto chosen = defaults(type);
  return text.find(exec) != text.npos && text.find(type + ";") != text.npos && !chosen.empty() &&
         chosen.front() == entryName;
}

bool LinkHandler::installed() const { return files_.exists(entryPath()).value_or(false); }

}  // namespace brindle
