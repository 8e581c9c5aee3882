#include "platform/linux/desktop_entry.h"

#include <algorithm>
#include <cstdlib>

#include "platform/files.h"

namespace brindle {

namespace {

constexpr std::string_view section = "[Default Applications]";

std::vector<std::string> split(std::string_view text, char mark) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const auto end = std::min(text.find(mark), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

std::vector<std::string> entriesOf(const std::string& line) {
  auto entries = split(std::string_view(line).substr(line.find('=') + 1), ';');
  std::erase(entries, "");
  return entries;
}

std::string lineOf(std::string_view type, const std::vector<std::string>& entries) {
  std::string line = std::string(type) + '=';
  for (const auto& entry : entries) line += entry + ';';
  return line;
}

}  // namespace

std::string environmentText(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string homeFolder(const char* variable, const char* below) {
  const std::string named = environmentText(variable);
  return named.empty() ? joinPath(environmentText("HOME"), below) : named;
}

// Exec values are quoted, and inside the quotes these four take a backslash, which the general rule
// for strings doubles; a percent sign begins a field code (Desktop Entry 1.5, freedesktop.org).
std::string desktopQuoted(const std::string& path) {
  std::string out = "\"";
  for (const char c : path) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') out += "\\\\";
    if (c == '\\') out += "\\";
    if (c == '%') out += '%';
    out += c;
  }
  return out + '"';
}

MimeApps::MimeApps(std::string_view text) : lines_(split(text, '\n')) {}

std::size_t MimeApps::findSection() const {
  return static_cast<std::size_t>(std::ranges::find(lines_, section) - lines_.begin());
}

std::size_t MimeApps::find(std::string_view type) const {
  const std::string key = std::string(type) + '=';
  for (std::size_t i = findSection() + 1; i < lines_.size() && !lines_[i].starts_with('['); ++i) {
    if (lines_[i].starts_with(key)) return i;
  }
  return lines_.size();
}

std::vector<std::string> MimeApps::defaults(std::string_view type) const {
  const auto at = find(type);
  return at == lines_.size() ? std::vector<std::string>{} : entriesOf(lines_[at]);
}

void MimeApps::prefer(std::string_view type, const std::string& entry) {
  auto entries = defaults(type);
  std::erase(entries, entry);
  entries.insert(entries.begin(), entry);
  if (const auto at = find(type); at < lines_.size()) {
    lines_[at] = lineOf(type, entries);
    return;
  }
  if (findSection() == lines_.size()) lines_.emplace_back(section);
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(findSection()) + 1,
                lineOf(type, entries));
}

void MimeApps::forget(const std::string& entry) {
  std::erase_if(lines_, [&](std::string& line) {
    if (line.starts_with('#') || line.find('=') == line.npos) return false;
    auto entries = entriesOf(line);
    if (std::erase(entries, entry) == 0) return false;
    line = lineOf(line.substr(0, line.find('=')), entries);
    return entries.empty();
  });
}

std::string MimeApps::text() const {
  std::string text;
  for (const auto& line : lines_) text += line + '\n';
  return text;
}

}  // namespace brindle
