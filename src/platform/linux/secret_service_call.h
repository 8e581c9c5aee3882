#pragma once

#include <libsecret/secret.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/keychain.h"

/// Owners for what the Secret Service library hands out; for its one backend, not for headers.
namespace brindle {

struct GlibDelete {
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
  void operator()(SecretValue* value) const { secret_value_unref(value); }
  void operator()(GDBusConnection* object) const { g_object_unref(object); }
  void operator()(GCancellable* object) const { g_object_unref(object); }
  void operator()(SecretService* object) const { g_object_unref(object); }
};
template <class T>
using Glib = std::unique_ptr<T, GlibDelete>;

/// One operation on the Secret Service: its connection, its time limit, and the status code of what
/// went wrong.
class SecretServiceCall {
 public:
  enum class Collection { open, locked, missing, unknown };

  explicit SecretServiceCall(std::chrono::milliseconds longest);
  ~SecretServiceCall();
  SecretServiceCall(const SecretServiceCall&) = delete;
  SecretServiceCall& operator=(const SecretServiceCall&) = delete;

  /// Asks for the default collection, the only one we write to. Reading an item of a locked
  /// collection is answered like an absent one, so this comes before everything else.
  Collection collection();
  /// An item with these attributes lies in some collection that is locked.
  bool hidesLocked(const KeychainItem& item);
  /// Null when there is none; `code` says why.
  SecretService* service();

  GCancellable* cancellable() const { return cancellable_.get(); }
  GError** error() {
    error_.reset();
    return &raw_;
  }
  /// Takes over what the last call put in `error`; true when it put something.
  bool failed();
  /// The status code of the last failure.
  int code() const;
  std::string message() const { return error_ ? error_->message : ""; }

 private:
  Glib<GVariant> ask(const std::string& path, const char* interface, const char* member,
                     GVariant* arguments);

  std::mutex mutex_;
  std::condition_variable over_;
  bool done_ = false;
  std::atomic<bool> expired_ = false;
  GError* raw_ = nullptr;
  Glib<GError> error_;
  Glib<GCancellable> cancellable_;
  Glib<GDBusConnection> bus_;
  Glib<SecretService> service_;
  std::thread limit_;
};

}  // namespace brindle
