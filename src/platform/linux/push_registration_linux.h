#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/dbus_service.h"
#include "platform/preferences.h"
#include "platform/push_registration.h"
#include "platform/random.h"

namespace sdbus {
class IObject;
}

namespace brindle {

/// UnifiedPush over D-Bus (its interfaces Distributor1 and Connector1): a distributor, which is a
/// program of the person's choice, holds the connection to a push server and calls us with what
/// comes. The token told is the endpoint, the address at which a server reaches this machine.
/// Without a distributor there is no push, and nothing keeps looking for one.
class LinuxPushRegistration final : public PushRegistration {
 public:
  LinuxPushRegistration(DbusLink& session, Preferences& preferences, Random& random, Log log);
  ~LinuxPushRegistration() override;

  [[nodiscard]] Subscription listen(Listener listener) override;
  ServiceReport report() const override;

 private:
  void connectionChanged(bool connected);
  void serve();
  void takeName();
  void findDistributor(const char* list, void (LinuxPushRegistration::*otherwise)());
  void findStartable();
  void noDistributor();
  void registerWith(const std::string& distributor);
  void registered(const DbusAnswer& answer);
  void newEndpoint(const std::string& token, const std::string& endpoint);
  void message(const std::string& token, const Bytes& message);
  void unregistered(const std::string& token);
  void lack(const std::string& problem);
  std::string token();
  void tell(std::function<void(const Listener&)> what);

  DbusLink& session_;
  Preferences& preferences_;
  Random& random_;
  Log log_;
  DbusService bus_;
  std::unique_ptr<DbusService> distributor_;
  std::unique_ptr<sdbus::IObject> connector_;  // what the distributor calls
  std::shared_ptr<Listener> listener_;
  std::string token_;
  std::string endpoint_;
  std::string problem_ = "not available: nobody has asked for it";
  Subscription connection_;
  Lifetime lifetime_;
};

}  // namespace brindle
