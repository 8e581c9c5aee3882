#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "platform/files.h"

namespace brindle {

/// Where a person's desktop looks for what opens a link.
struct LinkHandlerPlaces {
  std::string program;                ///< absolute path of the executable
  std::string configHome;             ///< XDG_CONFIG_HOME
  std::string dataHome;               ///< XDG_DATA_HOME
  std::vector<std::string> desktops;  ///< XDG_CURRENT_DESKTOP, lower case, most specific first
  static LinkHandlerPlaces of(std::string program);
};

/// This program as what opens links of its own schemes: a desktop entry that runs `open LINK`, and
/// the person's list of default applications.
class LinkHandler {
 public:
  LinkHandler(Files& files, LinkHandlerPlaces places) : files_(files), places_(std::move(places)) {}

  /// The person's own choices for other types stay. Schemes as in RFC 3986; an earlier install is
  /// replaced.
  Result<void, std::string> install(const std::vector<std::string>& schemes);
  Result<void, std::string> remove();
  /// A link with this scheme starts this very executable.
  bool registered(const std::string& scheme) const;
  /// Something is installed, be it in force or not.
  bool installed() const;

  std::string entryPath() const;
  std::string listPath() const;

 private:
  std::string entryText(const std::vector<std::string>& schemes) const;
  Result<void, std::string> changeList(const std::vector<std::string>& schemes);
  std::vector<std::string> defaults(const std::string& type) const;

  Files& files_;
  LinkHandlerPlaces places_;
};

}  // namespace brindle
