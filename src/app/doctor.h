#pragma once

#include <functional>
#include <vector>

#include "app/command_message.h"
#include "app/services.h"

namespace brindle {

/// Asks every service which backend it is, whether it answers, and why not.
class Doctor {
 public:
  /// `window` is what shows the guarded window here; services are asked when it is `ask`ed.
  Doctor(const Services& services, ServiceReport window)
      : services_(services), window_(std::move(window)) {}

  /// `done` from the main loop: the keychain is asked on its worker. The exit code says whether the
  /// guard can do its work: lock signals, camera, keychain and files answer.
  void ask(bool json, std::function<void(Reply)> done);

 private:
  std::vector<ServiceReport> all(ServiceReport keychain);

  Services services_;
  ServiceReport window_;
};

}  // namespace brindle
