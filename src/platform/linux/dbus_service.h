#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/lifetime.h"
#include "platform/linux/dbus_link.h"

namespace sdbus {
class IProxy;
class Message;
class MethodCall;
}  // namespace sdbus

namespace brindle {

/// The answer to a call: a message to read from, or the name of the error.
struct DbusAnswer {
  sdbus::Message* reply = nullptr;
  std::string error;
};

/// What a signal must look like; an empty path means any.
struct DbusSignal {
  std::string path;
  std::string interface;
  std::string member;
  std::string firstArgument = {};  ///< where not empty, the text of argument 0
};

/// A service that owns a well-known name on a bus. Its signals are believed only from the owner of
/// that name: any program may send a signal straight to us, past all match rules. Survives the loss
/// of bus and service. Main thread only.
class DbusService {
 public:
  using Fill = std::function<void(sdbus::MethodCall&)>;
  using Done = std::function<void(const DbusAnswer&)>;
  using Handler = std::function<void(sdbus::Message&)>;

  DbusService(DbusLink& link, Log log, std::string name);
  ~DbusService();
  DbusService(const DbusService&) = delete;
  DbusService& operator=(const DbusService&) = delete;

  bool present() const { return !owner_.empty(); }
  const std::string& name() const { return name_; }
  /// Someone owns the name now (told for each new owner, also the first), or nobody does any more.
  [[nodiscard]] Subscription onPresence(std::function<void(bool)> changed) {
    return listeners_.add(std::move(changed));
  }
  /// Handlers run from the main loop as messages come in, in their order.
  [[nodiscard]] Subscription onSignal(DbusSignal signal, Handler handler);
  /// Answered exactly once from the main loop, with an error at the latest after `longest`; never
  /// when this object is gone first.
  void call(const std::string& path, const std::string& interface, const std::string& member,
            const Fill& fill, Done done,
            std::chrono::milliseconds longest = std::chrono::seconds(5));

  DbusLink& link() const { return link_; }

 private:
  struct Rule;
  void connectionChanged(bool connected);
  void install(const std::shared_ptr<Rule>& rule);
  void askForOwner();
  void ownerIs(const std::string& owner);
  void send(sdbus::IProxy& proxy, std::uint64_t id, const std::string& interface,
            const std::string& member, const Fill& fill, std::chrono::milliseconds longest);
  sdbus::IProxy& proxy(const std::string& destination, const std::string& path);
  std::uint64_t expect(Done done);
  void settle(std::uint64_t id, const DbusAnswer& answer);
  void callOn(const std::string& destination, const std::string& path, const std::string& interface,
              const std::string& member, const Fill& fill, Done done,
              std::chrono::milliseconds longest);

  DbusLink& link_;
  Log log_;
  std::string name_;
  std::string owner_;
  bool absenceSaid_ = false;
  Listeners<bool> listeners_;
  std::vector<std::weak_ptr<Rule>> rules_;
  std::map<std::pair<std::string, std::string>, std::unique_ptr<sdbus::IProxy>> proxies_;
  std::map<std::uint64_t, Done> pending_;
  std::uint64_t nextCall_ = 0;
  std::shared_ptr<void> ownerMatch_;
  Subscription connection_;
  Lifetime lifetime_;
};

}  // namespace brindle
