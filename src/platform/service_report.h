#pragma once

#include <string>

namespace brindle {

/// What one platform service says of itself, for `brindle doctor` and `status`.
struct ServiceReport {
  std::string service;    ///< "screen lock", "camera", "keychain", …
  std::string backend;    ///< "logind", "Secret Service", "file keyring", "memory", …
  bool answered = false;  ///< it did its job, or answered that it could
  std::string detail;     ///< what it found, or why it cannot do its job; one line for a person
};

}  // namespace brindle
