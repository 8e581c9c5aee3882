#include "app/app_paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace brindle {
namespace {

std::optional<std::string> absolutePath(const char* variable) {
  const char* value = std::getenv(variable);
  if (!value || value[0] != '/') return std::nullopt;
  return std::string(value);
}

std::string home() {
  if (auto path = absolutePath("HOME")) return *path;
  const passwd* entry = getpwuid(getuid());
  return entry && entry->pw_dir && entry->pw_dir[0] == '/' ? entry->pw_dir : "/";
}

}  // namespace

AppPaths AppPaths::fromEnvironment() {
  AppPaths paths;
  paths.data = absolutePath("XDG_DATA_HOME").value_or(home() + "/.local/share") + "/Brindle";
  paths.preferences = absolutePath("XDG_CONFIG_HOME").value_or(home() + "/.config") + "/Brindle";
  const auto runtime = absolutePath("XDG_RUNTIME_DIR");
  paths.runtime = runtime ? *runtime + "/brindle" : paths.data + "/run";
  return paths;
}

}  // namespace brindle
