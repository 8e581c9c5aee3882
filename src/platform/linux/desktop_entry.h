#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// What freedesktop.org's files ask of those who write them.

/// Empty when the environment has no such variable.
std::string environmentText(const char* name);
/// One of the XDG base directories: the variable, else `below` the home folder.
std::string homeFolder(const char* variable, const char* below);
/// A program's path as the first word of an entry's "Exec" line.
std::string desktopQuoted(const std::string& path);

/// The text of a mimeapps.list (Association between MIME types and applications 1.0.1).
class MimeApps {
 public:
  explicit MimeApps(std::string_view text);

  /// The entries that are to open this type, best first; empty when the text has no say.
  std::vector<std::string> defaults(std::string_view type) const;
  /// Puts the entry before all others.
  void prefer(std::string_view type, const std::string& entry);
  /// Takes the entry out; the others stay.
  void forget(const std::string& entry);
  std::string text() const;

 private:
  std::size_t findSection() const;
  std::size_t find(std::string_view type) const;

  std::vector<std::string> lines_;
};

}  // namespace brindle
