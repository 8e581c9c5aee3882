#include "platform/linux/dbus_service.h"

#include <algorithm>
#include <utility>

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

std::string matchRule(const std::string& sender, const DbusSignal& signal) {
  std::string rule = "type='signal',sender='" + sender + "',interface='" + signal.interface +
                     "',member='" + signal.member + "'";
  if (!signal.path.empty()) rule += ",path='" + signal.path + "'";
  if (!signal.firstArgument.empty()) rule += ",arg0='" + signal.firstArgument + "'";
  return rule;
}

}  // namespace

struct DbusService::Rule {
  DbusSignal signal;
  Handler handler;
  std::shared_ptr<void> slot = nullptr;
};

DbusService::DbusService(DbusLink& link, Log log, std::string name)
    : link_(link), log_(log), name_(std::move(name)) {
  connection_ = link_.onConnection([this](bool connected) { connectionChanged(connected); });
  if (link_.connection()) connectionChanged(true);
}

DbusService::~DbusService() {
  // A subscription may outlive this object; what it holds of the connection may not.
  for (const auto& weak : rules_) {
    if (const auto rule = weak.lock()) rule->slot.reset();
  }
  for (std::size_t i = 0; i < pending_.size(); ++i) link_.callEnded();
}

void DbusService::connectionChanged(bool connected) {
  if (connected) {
    for (const auto& weak : rules_) {
      if (const auto rule = weak.lock()) install(rule);
    }
    return askForOwner();
  }
  for (const auto& weak : rules_) {
    if (const auto rule = weak.lock()) rule->slot.reset();
  }
  ownerMatch_.reset();
  proxies_.clear();
  while (!pending_.empty()) {
    settle(pending_.begin()->first, {nullptr, "org.freedesktop.DBus.Error.Disconnected"});
  }
  // The link has said why; a line for each service on it would repeat that.
  if (!std::exchange(owner_, "").empty()) listeners_.tell(false);
}

Subscription DbusService::onSignal(DbusSignal signal, Handler handler) {
  auto rule = std::make_shared<Rule>(Rule{std::move(signal), std::move(handler)});
  std::erase_if(rules_, [](const auto& weak) { return weak.expired(); });
  rules_.push_back(rule);
  if (link_.connection()) install(rule);
  return Subscription([rule]() mutable { rule.reset(); });
}

void DbusService::install(const std::shared_ptr<Rule>& rule) {
  const auto receive = [this, weak = std::weak_ptr(rule)](sdbus::Message& message) {
    const auto alive = weak.lock();
    if (!alive || owner_.empty() || message.getSender() != owner_) return;
    alive->handler(message);
  };
  try {
    rule->slot = link_.connection()->addMatch(matchRule(name_, rule->signal), receive);
  } catch (const sdbus::Error&) {
    // Only a connection that has just broken refuses; its loss brings us back here.
  }
  link_.rearm();
}

void DbusService::askForOwner() {
  const DbusSignal changed{busPath, busName, "NameOwnerChanged", name_};
  try {
    ownerMatch_ =
        link_.connection()->addMatch(matchRule(busName, changed), [this](sdbus::Message& message) {
          std::string name, before, after;
          if (message.getSender() != busName || !unpack(message, name, before, after)) return;
          if (name == name_) ownerIs(after);
        });
  } catch (const sdbus::Error&) {
    return;  // as above
  }
  callOn(
      busName, busPath, busName, "GetNameOwner", [this](sdbus::MethodCall& call) { call << name_; },
      [this](const DbusAnswer& answer) {
        std::string owner;
        if (answer.reply && unpack(*answer.reply, owner)) ownerIs(owner);
      },
      5s);
}

void DbusService::ownerIs(const std::string& owner) {
  if (owner == owner_) return;
  const bool hadOwner = !std::exchange(owner_, owner).empty();
  if (owner.empty() || hadOwner) {
    log_.notice("%{public}s: gone from the bus", name_);
    absenceSaid_ = true;
    listeners_.tell(false);
  }
  if (owner_.empty()) return;
  if (std::exchange(absenceSaid_, false)) log_.notice("%{public}s: back on the bus", name_);
  listeners_.tell(true);
}

std::uint64_t DbusService::expect(Done done) {
  pending_.emplace(++nextCall_, std::move(done));
  link_.callBegan();
  return nextCall_;
}

void DbusService::settle(std::uint64_t id, const DbusAnswer& answer) {
  const auto found = pending_.find(id);
  if (found == pending_.end()) return;
  const Done done = std::move(found->second);
  pending_.erase(found);
  link_.callEnded();
  if (done) done(answer);
}

sdbus::IProxy& DbusService::proxy(const std::string& destination, const std::string& path) {
  auto& known = proxies_[{destination, path}];
  if (!known) known = sdbus::createProxy(*link_.connection(), destination, path);
  return *known;
}

void DbusService::call(const std::string& path, const std::string& interface,
                       const std::string& member, const Fill& fill, Done done,
                       std::chrono::milliseconds longest) {
  callOn(name_, path, interface, member, fill, std::move(done), longest);
}

void DbusService::callOn(const std::string& destination, const std::string& path,
                         const std::string& interface, const std::string& member, const Fill& fill,
                         Done done, std::chrono::milliseconds longest) {
  const auto id = expect(std::move(done));
  const auto fail = [this, id](std::string why) {
    link_.scheduler().post(lifetime_.guard([this, id, why = std::move(why)] {
      settle(id, {nullptr, why});
    }));
  };
  if (!link_.connection()) return fail("org.freedesktop.DBus.Error.Disconnected");
  try {
    send(proxy(destination, path), id, interface, member, fill, longest);
  } catch (const sdbus::Error& error) {
    fail(error.getName());
  }
  link_.rearm();
}

void DbusService::send(sdbus::IProxy& proxy, std::uint64_t id, const std::string& interface,
                       const std::string& member, const Fill& fill,
                       std::chrono::milliseconds longest) {
  auto message = proxy.createMethodCall(interface, member);
  if (fill) fill(message);
  proxy.callMethod(
      message, lifetime_.guard([this, id](sdbus::MethodReply& reply, const sdbus::Error* error) {
        settle(id, error ? DbusAnswer{nullptr, error->getName()} : DbusAnswer{&reply, ""});
      }),
      longest);
}

}  // namespace brindle
