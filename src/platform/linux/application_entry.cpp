#include "platform/linux/application_entry.h"

#include <algorithm>
#include <map>

namespace brindle {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The general escapes of strings.
std::string unescaped(std::string_view text) {
  constexpr std::string_view letters = "sntr", meant = " \n\t\r";
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const char escaped = text[++i];
    const auto at = letters.find(escaped);
    if (at != letters.npos) {
      out += meant[at];
    } else {
      if (escaped != '\\') out += '\\';
      out += escaped;
    }
  }
  return out;
}

/// The keys of the group "Desktop Entry", without the translated ones.
Values valuesOf(std::string_view text) {
  Values values;
  bool inGroup = false;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with('[')) inGroup = line == "[Desktop Entry]";
    const auto equals = line.find('=');
    if (!inGroup || line.starts_with('#') || equals == line.npos) continue;
    values.try_emplace(std::string(trimmed(line.substr(0, equals))),
                       unescaped(trimmed(line.substr(equals + 1))));
  }
  return values;
}

/// Takes one word off the front of a command; quotes hold spaces together.
std::string takeWord(std::string_view& text) {
  std::string word;
  bool quoted = false;
  std::size_t i = 0;
  for (; i < text.size() && (quoted || text[i] != ' '); ++i) {
    if (text[i] == '"') {
      quoted = !quoted;
      continue;
    }
    if (quoted && text[i] == '\\' && i + 1 < text.size()) ++i;
    word += text[i];
  }
  text.remove_prefix(i);
  return word;
}

bool isFieldCode(std::string_view word) { return word.size() == 2 && word.starts_with('%'); }

/// Entries give variables to their program by env(1) or one of its options.
void dropEnv(std::vector<std::string>& words) {
  if (words.empty() || (words.front() != "env" && words.front() != "/usr/bin/env")) return;
  const auto isSetting = [](const std::string& word) {
    return word.starts_with('-') || word.find('=') != word.npos;
  };
  words.erase(words.begin(), std::find_if_not(words.begin() + 1, words.end(), isSetting));
}

std::vector<std::string> wordsOf(std::string_view command) {
  std::vector<std::string> words;
  while (!command.empty()) {
    if (command.front() == ' ') {
      command.remove_prefix(1);
      continue;
    }
    std::string word = takeWord(command);
    if (!isFieldCode(word)) words.push_back(std::move(word));
  }
  dropEnv(words);
  return words;
}

}  // namespace

bool ApplicationEntry::ownsProgram() const {
  return !command.empty() &&
         std::all_of(command.begin() + 1, command.end(),
                     [](const std::string& word) { return word.starts_with('-'); });
}

std::optional<ApplicationEntry> readApplicationEntry(std::string_view text) {
  Values values = valuesOf(text);
  if (values["Type"] != "Application") return std::nullopt;
  return ApplicationEntry{values["Name"], wordsOf(values["Exec"]), values["StartupWMClass"],
                          values["Hidden"] == "true"};
}

}  // namespace brindle
