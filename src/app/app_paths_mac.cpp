#include "app/app_paths.h"
#include "platform/mac/mac_backends.h"

namespace brindle {

AppPaths AppPaths::fromEnvironment() {
  AppPaths paths;
  paths.data = macSupportFolder() + "/Brindle";
  paths.preferences = paths.data;  // unused: the system keeps preferences itself
  paths.runtime = paths.data + "/run";
  paths.temporary = macTemporaryFolder();
  return paths;
}

}  // namespace brindle
