#pragma once

#include <functional>
#include <vector>

#include "app/command_message.h"
#include "app/services.h"

namespace brindle {

/// Asks every service which backend it is, whether it answers, and why not.
class Doctor {
 public:
  using Watched = std::function<ServiceReport()>;

  /// `window` is what shows the guarded window here, `watched` tells of the watched items; services
  /// are asked when it is `ask`ed.
  Doctor(const Services& services, ServiceReport window, Watched watched = {})
      : services_(services), window_(std::move(window)), watched_(std::move(watched)) {}

  /// `done` from the main loop: the keychain is asked on its worker, the sound server answers
  /// later. The exit code says whether the guard can do its work: lock signals, camera, keychain
  /// and files answer.
  void ask(bool json, std::function<void(Reply)> done);

 private:
  Reply answer(const ServiceReport& keychain, bool json);
  std::vector<ServiceReport> all(ServiceReport keychain);

  Services services_;
  ServiceReport window_;
  Watched watched_;
};

}  // namespace brindle
