#pragma once

#include <string>
#include <vector>

#include "platform/files.h"
#include "service/alert_outbox.h"

namespace brindle {

// Earlier builds kept their bodies in the temporary folder, which the system may clear.

struct MovedAlertBodies {
  std::vector<AlertBody> copied;  ///< without an account
  long notCopied = 0;
};

/// Copies what lies in `temporary` into `outbox`; the files there stay, since the system may be
/// sending them. Blocking.
MovedAlertBodies copyEarlierAlertBodies(Files& files, const std::string& temporary,
                                        const std::string& outbox);

/// An earlier build's body that is not worth sending any more. Ours always are.
bool hasLapsed(const AlertBody& body, WallTime now);

}  // namespace brindle
