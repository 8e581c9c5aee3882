#pragma once

#include <memory>

#include "base/log.h"
#include "platform/files.h"
#include "platform/keychain.h"
#include "platform/preferences.h"

namespace brindle {

enum class KeyringKind { secretService, file };

/// True when a Secret Service runs, can be started, or is installed: on such a machine the file
/// keyring is never begun, however locked, slow or gone the service may be. Asks the session bus,
/// for two seconds at most.
bool secretServiceEverSeen();

/// Decided once and remembered. The file keyring needs a machine without any Secret Service; a
/// choice that cannot be remembered stays with the service, since items written to a file would be
/// lost from sight as soon as one is installed. Main thread.
KeyringKind chooseKeyring(Preferences& preferences, Files& files, const std::string& fileFolder,
                          bool serviceSeen, Log log);

/// The keychain that was chosen, with its file folder "keyring" in `dataFolder`.
std::unique_ptr<Keychain> makeLinuxKeychain(Files& files, Preferences& preferences,
                                            const std::string& dataFolder, Log log);

}  // namespace brindle
