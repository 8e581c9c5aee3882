#include "platform/linux/secret_service_call.h"

#include <utility>

namespace brindle {

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";
constexpr int answerTimeoutMilliseconds = 5000;

}  // namespace

SecretServiceCall::SecretServiceCall(std::chrono::milliseconds longest)
    : cancellable_(g_cancellable_new()),
      bus_(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable_.get(), error())) {
  failed();
  // The shared connection would otherwise end the whole process when the bus ends.
  if (bus_) g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);
  limit_ = std::thread([this, longest] {
    std::unique_lock lock(mutex_);
    if (over_.wait_for(lock, longest, [this] { return done_; })) return;
    expired_ = true;
    g_cancellable_cancel(cancellable_.get());
  });
}

SecretServiceCall::~SecretServiceCall() {
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  over_.notify_one();
  limit_.join();
}

bool SecretServiceCall::failed() {
  error_.reset(std::exchange(raw_, nullptr));
  return error_ != nullptr;
}

int SecretServiceCall::code() const {
  using namespace keychain_code;
  if (!error_) return notAvailable;
  const GError* error = error_.get();
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return expired_ ? interactionNotAllowed : userCanceled;
  }
  if (error->domain == SECRET_ERROR) {
    return error->code == SECRET_ERROR_IS_LOCKED ? interactionNotAllowed : io;
  }
  if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED)) return authFailed;
  return notAvailable;
}

Glib<GVariant> SecretServiceCall::ask(const std::string& path, const char* interface,
                                      const char* member, GVariant* arguments) {
  const Glib<GVariant> owned(g_variant_ref_sink(arguments));
  if (!bus_) return nullptr;
  Glib<GVariant> answer(g_dbus_connection_call_sync(
      bus_.get(), serviceName, path.c_str(), interface, member, owned.get(), nullptr,
      G_DBUS_CALL_FLAGS_NONE, answerTimeoutMilliseconds, cancellable_.get(), error()));
  failed();
  return answer;
}

SecretServiceCall::Collection SecretServiceCall::collection() {
  const auto alias =
      ask(servicePath, serviceInterface, "ReadAlias", g_variant_new("(s)", "default"));
  if (!alias || !g_variant_is_of_type(alias.get(), G_VARIANT_TYPE("(o)"))) {
    return Collection::unknown;
  }
  const char* path = nullptr;
  g_variant_get(alias.get(), "(&o)", &path);
  if (std::string_view(path) == "/") return Collection::missing;
  const auto locked = ask(path, "org.freedesktop.DBus.Properties", "Get",
                          g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Locked"));
  if (!locked || !g_variant_is_of_type(locked.get(), G_VARIANT_TYPE("(v)"))) {
    return Collection::unknown;
  }
  GVariant* inner = nullptr;
  g_variant_get(locked.get(), "(v)", &inner);
  const Glib<GVariant> value(inner);
  if (!g_variant_is_of_type(inner, G_VARIANT_TYPE_BOOLEAN)) return Collection::unknown;
  return g_variant_get_boolean(inner) ? Collection::locked : Collection::open;
}

bool SecretServiceCall::hidesLocked(const KeychainItem& item) {
  GVariantBuilder attributes;
  g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
  g_variant_builder_add(&attributes, "{ss}", "service", item.service.c_str());
  g_variant_builder_add(&attributes, "{ss}", "account", item.account.c_str());
  const auto found =
      ask(servicePath, serviceInterface, "SearchItems", g_variant_new("(a{ss})", &attributes));
  // Whatever cannot be told is not called absent.
  if (!found || !g_variant_is_of_type(found.get(), G_VARIANT_TYPE("(aoao)"))) return true;
  const Glib<GVariant> locked(g_variant_get_child_value(found.get(), 1));
  return g_variant_n_children(locked.get()) > 0;
}

SecretService* SecretServiceCall::service() {
  if (!service_ && bus_) {
    service_.reset(secret_service_open_sync(
        SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable_.get(), error()));
    failed();
  }
  return service_.get();
}

}  // namespace brindle
