#pragma once

#include <string>

#include "platform/files.h"
#include "platform/login_item.h"

namespace brindle {

/// Where a person's session looks for what to start.
struct LoginItemPlaces {
  std::string program;              ///< absolute path of the executable
  std::string configHome;           ///< XDG_CONFIG_HOME
  bool userServiceManager = false;  ///< a service manager for this user runs here
  /// From the environment; the service manager is there when its folder in XDG_RUNTIME_DIR is.
  static LoginItemPlaces of(Files& files, std::string program);
};

/// An entry in the autostart folder (Desktop Application Autostart, freedesktop.org), which
/// desktops obey. Where a user service manager runs, a unit for the guard without windows is laid
/// beside it for the person to enable: both at once would be two instances.
class LinuxLoginItem final : public LoginItem {
 public:
  LinuxLoginItem(Files& files, LoginItemPlaces places)
      : files_(files), places_(std::move(places)) {}

  Status status() const override;
  Result<void, std::string> enable() override;
  Result<void, std::string> disable() override;
  ServiceReport report() const override;

  std::string entryPath() const;
  std::string unitPath() const;

 private:
  Result<void, std::string> write(const std::string& path, const std::string& text);
  Result<void, std::string> erase(const std::string& path);

  Files& files_;
  LoginItemPlaces places_;
};

}  // namespace brindle
