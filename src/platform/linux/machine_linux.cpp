#include "platform/linux/machine_linux.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "platform/file_step.h"

namespace brindle {

namespace {

std::string firstLine(std::string_view text) {
  return std::string(text.substr(0, text.find('\n')));
}

// A value of a file that the shell could read: quotes of either kind, a backslash before what is
// special inside them.
std::string unquoted(std::string_view value) {
  if (value.size() < 2 || (value.front() != '"' && value.front() != '\'')) {
    return std::string(value);
  }
  if (value.back() != value.front()) return {};
  std::string out;
  bool escaped = false;
  for (const char c : value.substr(1, value.size() - 2)) {
    escaped = c == '\\' && !escaped;
    if (!escaped) out += c;
  }
  return out;
}

std::optional<std::string> assigned(std::string_view text, std::string_view key) {
  for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    const std::string line = firstLine(text.substr(at));
    if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
      return unquoted(std::string_view(line).substr(key.size() + 1));
    }
    if (text.find('\n', at) == text.npos) break;
  }
  return std::nullopt;
}

std::string hostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

bool isZoneName(std::string_view zone) {
  const auto inName = [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '/' || c == '_' || c == '-' || c == '+';
  };
  return !zone.empty() && zone.front() != '/' && std::ranges::all_of(zone, inName);
}

// The database may be laid out three times, told apart by a folder.
std::string belowDatabase(std::string_view path) {
  constexpr std::string_view folder = "/zoneinfo/";
  const auto at = path.find(folder);
  if (at == path.npos) return {};
  path.remove_prefix(at + folder.size());
  for (const std::string_view copy : {"posix/", "right/"}) {
    if (path.starts_with(copy)) path.remove_prefix(copy.size());
  }
  return std::string(path);
}

// "Europe/Berlin" is a name; most of what has no slash is a rule (POSIX): "CET-1CEST".
std::string zoneOfVariable() {
  const char* variable = std::getenv("TZ");
  std::string_view zone = variable ? variable : "";
  if (zone.starts_with(':')) zone.remove_prefix(1);
  if (zone.starts_with('/')) return belowDatabase(zone);
  return zone == "UTC" || zone.find('/') != zone.npos ? std::string(zone) : "";
}

}  // namespace

std::string LinuxMachine::text(const char* name) const {
  const auto bytes = files_.read(joinPath(etc_, name));
  return bytes ? std::string(textOf(*bytes)) : "";
}

std::string LinuxMachine::name() const {
  const auto pretty = assigned(text("machine-info"), "PRETTY_HOSTNAME");
  return pretty && !pretty->empty() ? *pretty : hostName();
}

std::string LinuxMachine::timeZone() const {
  std::error_code none;
  const auto link = std::filesystem::read_symlink(joinPath(etc_, "localtime"), none);
  for (const auto& zone :
       {zoneOfVariable(), belowDatabase(link.string()), firstLine(text("timezone"))}) {
    if (isZoneName(zone)) return zone;
  }
  return "UTC";
}

std::string LinuxMachine::model() const {
  for (const char* name : {"class/dmi/id/product_name", "firmware/devicetree/base/model"}) {
    const auto bytes = files_.read(joinPath(sys_, name));
    // A device tree ends its texts with NUL.
    if (bytes) return firstLine(textOf(*bytes).substr(0, textOf(*bytes).find('\0')));
  }
  return {};
}

ServiceReport LinuxMachine::report() const {
  const std::string called = name();
  return {"machine", "Linux", !called.empty(),
          (called.empty() ? "it has no name" : called) + ", time zone " + timeZone()};
}

}  // namespace brindle
