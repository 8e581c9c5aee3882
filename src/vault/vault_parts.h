#pragma once

#include <string>

#include "base/log.h"
#include "platform/background_transfer.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"
#include "service/service_client.h"

namespace brindle {

class VaultCrypto;
class VaultKeySet;

/// What the vault's client is built on; all of it outlives the client.
struct VaultParts {
  Scheduler& scheduler;
  WorkerQueue& worker;  ///< seals; one of its own, so that a big clip holds up nobody
  Files& files;
  BackgroundTransfer& transfer;  ///< that of `WebVault::sessionIdentifier`
  ServiceClient& client;
  SessionSource& account;
  Preferences& defaults;
  const Machine& machine;
  Random& random;
  VaultCrypto& crypto;
  VaultKeySet& keys;
  Log log;
  std::string photos;  ///< where the photos of events lie
  /// Where sealed items lie until they are answered for. A folder of this program alone: what
  /// earlier runs left there is removed.
  std::string temporary;
};

}  // namespace brindle
