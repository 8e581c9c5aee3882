#include "platform/linux/keychain_secret_service.h"

#include "platform/linux/secret_service_call.h"

namespace brindle {

using namespace keychain_code;

namespace {

using Collection = SecretServiceCall::Collection;

const SecretSchema& schema() {
  static const SecretSchema itemSchema = [] {
    SecretSchema made{};
    made.name = "com.corvane.brindle";
    made.flags = SECRET_SCHEMA_NONE;
    made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return made;
  }();
  return itemSchema;
}

Glib<GHashTable> attributesOf(const KeychainItem& item) {
  return Glib<GHashTable>(secret_attributes_build(&schema(), "service", item.service.c_str(),
                                                  "account", item.account.c_str(), nullptr));
}

/// Why the default collection cannot be read, or success.
int obstacle(SecretServiceCall& call) {
  switch (call.collection()) {
    case Collection::open:
      return success;
    case Collection::locked:
      return interactionNotAllowed;
    case Collection::missing:
      return notAvailable;
    case Collection::unknown:
      break;
  }
  return call.code();
}

/// The service found nothing: absent only if nothing was, or became, locked meanwhile.
int absence(SecretServiceCall& call, const KeychainItem& item) {
  if (const int code = obstacle(call); code != success) return code;
  return call.hidesLocked(item) ? interactionNotAllowed : itemNotFound;
}

}  // namespace

KeychainRead SecretServiceKeychain::read(KeychainStore store, const KeychainItem& item) {
  if (store == KeychainStore::legacy) return {itemNotFound, {}};
  SecretServiceCall call(longest_);
  if (const int code = obstacle(call); code != success) return {code, {}};
  if (!call.service()) return {call.code(), {}};
  const auto attributes = attributesOf(item);
  const Glib<SecretValue> value(secret_service_lookup_sync(
      call.service(), &schema(), attributes.get(), call.cancellable(), call.error()));
  if (call.failed()) return {call.code(), {}};
  if (!value) return {absence(call, item), {}};
  gsize length = 0;
  const auto* data = reinterpret_cast<const std::uint8_t*>(secret_value_get(value.get(), &length));
  return {success, Bytes(data, data + length)};
}

int SecretServiceKeychain::write(KeychainStore store, const KeychainItem& item, ByteView data) {
  if (store == KeychainStore::legacy) return notAvailable;
  SecretServiceCall call(longest_);
  const auto collection = call.collection();
  if (collection == Collection::unknown) return call.code();
  if (collection == Collection::locked) return interactionNotAllowed;
  // A missing default collection is made by this very call, after the service asked its person.
  if (!call.service()) return call.code();
  const Glib<SecretValue> value(secret_value_new(reinterpret_cast<const char*>(data.data()),
                                                 static_cast<gssize>(data.size()),
                                                 "application/octet-stream"));
  const auto attributes = attributesOf(item);
  const std::string label = "Brindle: " + item.service;
  const bool stored = secret_service_store_sync(call.service(), &schema(), attributes.get(),
                                                SECRET_COLLECTION_DEFAULT, label.c_str(),
                                                value.get(), call.cancellable(), call.error());
  if (call.failed()) return call.code();
  return stored ? success : userCanceled;
}

int SecretServiceKeychain::remove(KeychainStore store, const KeychainItem& item) {
  if (store == KeychainStore::legacy) return itemNotFound;
  SecretServiceCall call(longest_);
  if (const int code = obstacle(call); code != success) return code;
  if (!call.service()) return call.code();
  const auto attributes = attributesOf(item);
  const bool removed = secret_service_clear_sync(call.service(), &schema(), attributes.get(),
                                                 call.cancellable(), call.error());
  if (call.failed()) return call.code();
  return removed ? success : absence(call, item);
}

ServiceReport SecretServiceKeychain::report() {
  SecretServiceCall call(longest_);
  const auto answer = [&call]() -> std::pair<bool, std::string> {
    switch (call.collection()) {
      case Collection::open:
        return {true, "the default keyring is open"};
      case Collection::locked:
        return {true, "the default keyring is locked: secrets cannot be read"};
      case Collection::missing:
        return {true, "there is no default keyring yet"};
      case Collection::unknown:
        break;
    }
    return {false, call.message().empty() ? "no answer" : call.message()};
  }();
  return {"keychain", "Secret Service", answer.first, answer.second};
}

}  // namespace brindle
