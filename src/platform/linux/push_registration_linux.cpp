#include "platform/linux/push_registration_linux.h"

#include <algorithm>
#include <utility>

#include "platform/http.h"
#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* ourName = "com.corvane.brindle";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";
constexpr const char* connectorPath = "/org/unifiedpush/Connector";
constexpr const char* connectorInterface = "org.unifiedpush.Connector1";
constexpr const char* distributorPath = "/org/unifiedpush/Distributor";
constexpr const char* distributorInterface = "org.unifiedpush.Distributor1";
constexpr std::string_view distributorPrefix = "org.unifiedpush.Distributor.";
constexpr const char* tokenKey = "push.distributorToken";
// The bus may have to start the distributor first, and that may have to ask its server.
constexpr auto longestRegistration = 30s;

}  // namespace

LinuxPushRegistration::LinuxPushRegistration(DbusLink& session, Preferences& preferences,
                                             Random& random, Log log)
    : session_(session),
      preferences_(preferences),
      random_(random),
      log_(log),
      bus_(session, log, busName) {
  connection_ = session_.onConnection([this](bool connected) { connectionChanged(connected); });
}

LinuxPushRegistration::~LinuxPushRegistration() = default;

Subscription LinuxPushRegistration::listen(Listener listener) {
  const auto owned = std::make_shared<Listener>(std::move(listener));
  listener_ = owned;
  if (session_.connection()) {
    connectionChanged(true);
  } else {
    lack("not available: session bus: " + session_.problem());
  }
  return Subscription(lifetime_.guard([this, owned] {
    if (listener_ == owned) listener_.reset();
  }));
}

void LinuxPushRegistration::connectionChanged(bool connected) {
  connector_.reset();
  distributor_.reset();
  if (!listener_) return;
  if (!connected) return lack("not available: the session bus went away");
  serve();
  takeName();
}

void LinuxPushRegistration::serve() {
  try {
    auto connector = sdbus::createObject(*session_.connection(), connectorPath);
    connector->registerMethod("NewEndpoint")
        .onInterface(connectorInterface)
        .implementedAs([this](const std::string& token, const std::string& endpoint) {
          newEndpoint(token, endpoint);
        });
    connector->registerMethod("Message")
        .onInterface(connectorInterface)
        .implementedAs([this](const std::string& token, const Bytes& content, const std::string&) {
          message(token, content);
        });
    connector->registerMethod("Unregistered")
        .onInterface(connectorInterface)
        .implementedAs([this](const std::string& token) { unregistered(token); });
    connector->finishRegistration();
    connector_ = std::move(connector);
  } catch (const sdbus::Error&) {
    // Only a connection that has just broken refuses; its loss brings us back here.
  }
}

// The distributor finds us, and the bus starts nobody else, under this name.
void LinuxPushRegistration::takeName() {
  constexpr std::uint32_t doNotQueue = 4;
  bus_.call(
      busPath, busName, "RequestName",
      [](sdbus::MethodCall& call) { call << ourName << doNotQueue; },
      [this](const DbusAnswer& answer) {
        std::uint32_t how = 0;
        const bool answered = answer.reply && unpack(*answer.reply, how);
        constexpr std::uint32_t owner = 1, alreadyOwner = 4;
        if (!answered || (how != owner && how != alreadyOwner)) {
          return lack("not available: another program has this one's name on the session bus");
        }
        findDistributor("ListNames", &LinuxPushRegistration::findStartable);
      });
}

void LinuxPushRegistration::findDistributor(const char* list,
                                            void (LinuxPushRegistration::*otherwise)()) {
  bus_.call(busPath, busName, list, {}, [this, otherwise](const DbusAnswer& answer) {
    std::vector<std::string> names;
    if (answer.reply) unpack(*answer.reply, names);
    std::ranges::sort(names);  // the same one each time
    const auto found = std::ranges::find_if(
        names, [](const auto& name) { return name.starts_with(distributorPrefix); });
    if (found == names.end()) return (this->*otherwise)();
    registerWith(*found);
  });
}

void LinuxPushRegistration::findStartable() {
  findDistributor("ListActivatableNames", &LinuxPushRegistration::noDistributor);
}

void LinuxPushRegistration::noDistributor() {
  lack("not available: no UnifiedPush distributor on the session bus");
}

void LinuxPushRegistration::registerWith(const std::string& distributor) {
  distributor_ = std::make_unique<DbusService>(session_, log_, distributor);
  token_ = token();
  if (token_.empty()) return lack("not available: the registration cannot be kept");
  distributor_->call(
      distributorPath, distributorInterface, "Register",
      [this](sdbus::MethodCall& call) { call << ourName << token_ << "Brindle"; },
      [this](const DbusAnswer& answer) { registered(answer); }, longestRegistration);
}

// Random, as it proves to us that a call comes from the distributor; the same at each start, since
// each new one is another registration at the push server.
std::string LinuxPushRegistration::token() {
  if (auto kept = preferences_.text(tokenKey)) return *kept;
  std::array<std::uint8_t, 16> bytes{};
  if (!random_.fill(bytes)) return {};
  const std::string made = Uuid::fromRandom(bytes).lower();
  return preferences_.set(tokenKey, made) ? made : "";
}

void LinuxPushRegistration::registered(const DbusAnswer& answer) {
  std::string result, reason;
  if (!answer.reply || !unpack(*answer.reply, result, reason)) {
    return lack("the UnifiedPush distributor does not answer: " + answer.error);
  }
  // The endpoint of a success comes by itself.
  if (result != "REGISTRATION_SUCCEEDED") lack("the UnifiedPush distributor refuses: " + reason);
}

void LinuxPushRegistration::newEndpoint(const std::string& token, const std::string& endpoint) {
  if (token_.empty() || token != token_ || !httpUrlAllowed(endpoint)) return;
  endpoint_ = endpoint;
  problem_.clear();
  tell([endpoint](const Listener& told) { told.registered(endpoint); });
}

void LinuxPushRegistration::message(const std::string& token, const Bytes& message) {
  if (token_.empty() || token != token_) return;
  tell([message](const Listener& told) { told.received(message); });
}

// An empty token confirms what we asked for ourselves, which we never do.
void LinuxPushRegistration::unregistered(const std::string& token) {
  if (!token_.empty() && token == token_) lack("the UnifiedPush distributor took it back");
}

void LinuxPushRegistration::lack(const std::string& problem) {
  endpoint_.clear();
  problem_ = problem;
  tell([problem](const Listener& told) { told.notRegistered(problem); });
}

void LinuxPushRegistration::tell(std::function<void(const Listener&)> what) {
  session_.scheduler().post(lifetime_.guard([this, to = listener_, what = std::move(what)] {
    if (to && to == listener_) what(*to);
  }));
}

ServiceReport LinuxPushRegistration::report() const {
  const bool reachable = !endpoint_.empty();
  return {"push", "UnifiedPush", reachable,
          reachable          ? "registered with " + distributor_->name()
          : problem_.empty() ? "waits for the distributor"
                             : problem_};
}

}  // namespace brindle
