#include "platform/linux/keyring_choice.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/linux/dbus_link.h"
#include "platform/linux/dbus_values.h"
#include "platform/linux/keychain_file.h"
#include "platform/linux/keychain_secret_service.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* choiceKey = "keychain.keyring";
constexpr const char* choseService = "secret-service";
constexpr const char* choseFile = "file";

bool listed(sdbus::IProxy& bus, const char* member) {
  auto call = bus.createMethodCall("org.freedesktop.DBus", member);
  auto reply = bus.callMethod(call, 1s);
  std::vector<std::string> names;
  return unpack(reply, names) && std::ranges::find(names, serviceName) != names.end();
}

bool onTheBus() {
  const std::string address = dbusAddress(DbusBus::session);
  if (address.empty()) return false;
  try {
    const auto connection = sdbus::createSessionBusConnectionWithAddress(address);
    const auto bus =
        sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    return listed(*bus, "ListNames") || listed(*bus, "ListActivatableNames");
  } catch (const sdbus::Error&) {
    return false;
  }
}

// A remote shell has no session bus; what is installed for the desktop counts all the same.
bool installed() {
  const char* named = std::getenv("XDG_DATA_DIRS");
  std::string folders = named && *named ? named : "/usr/local/share:/usr/share";
  for (std::size_t begin = 0; begin <= folders.size();) {
    const std::size_t end = std::min(folders.find(':', begin), folders.size());
    const std::string file =
        folders.substr(begin, end - begin) + "/dbus-1/services/" + serviceName + ".service";
    if (access(file.c_str(), F_OK) == 0) return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

bool secretServiceEverSeen() { return onTheBus() || installed(); }

KeyringKind chooseKeyring(Preferences& preferences, Files& files, const std::string& fileFolder,
                          bool serviceSeen, Log log) {
  const auto chosen = preferences.text(choiceKey);
  if (chosen == choseFile) return KeyringKind::file;
  if (chosen == choseService) return KeyringKind::secretService;
  // Preferences may have been lost; items that were written to files are still this owner's.
  const auto items = files.list(fileFolder);
  if ((items && !items->empty()) || !serviceSeen) {
    if (preferences.set(choiceKey, std::string(choseFile))) {
      log.notice("keyring: no Secret Service here, secrets are kept in private files");
      return KeyringKind::file;
    }
    log.notice("keyring: the choice of files could not be remembered, so it is not made");
    return KeyringKind::secretService;
  }
  if (!preferences.set(choiceKey, std::string(choseService))) {
    log.notice("keyring: could not remember that a Secret Service was seen");
  }
  return KeyringKind::secretService;
}

std::unique_ptr<Keychain> makeLinuxKeychain(Files& files, Preferences& preferences,
                                            const std::string& dataFolder, Log log) {
  const std::string folder = joinPath(dataFolder, "keyring");
  const bool known = preferences.text(choiceKey).has_value();
  switch (chooseKeyring(preferences, files, folder, known || secretServiceEverSeen(), log)) {
    case KeyringKind::file:
      return std::make_unique<FileKeychain>(files, folder);
    case KeyringKind::secretService:
      break;
  }
  return std::make_unique<SecretServiceKeychain>();
}

}  // namespace brindle
