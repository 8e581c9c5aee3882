#pragma once

#include <boost/json.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.h"
#include "base/times.h"
#include "base/uuid.h"

/// Slow to compile: include it from *_json.cpp files only.
namespace brindle {

using Json = boost::json::value;

/// Parses a whole document into `storage`'s memory, which must outlive the value. Refuses invalid
/// UTF-8, trailing text and more than 64 levels; never throws.
std::optional<Json> parseJson(std::string_view text, boost::json::storage_ptr storage = {});

// Readers of single values; false leaves `out` as it was. Integers are range-checked: 3.0 is the
// integer 3, while 1.5 and anything beyond the type is unreadable.
bool readJson(const Json& json, bool& out);
bool readJson(const Json& json, std::int64_t& out);
bool readJson(const Json& json, std::uint64_t& out);
bool readJson(const Json& json, double& out);  ///< finite numbers only
bool readJson(const Json& json, std::string& out);
bool readJson(const Json& json, Uuid& out);
bool readJson(const Json& json, WallTime& out);  ///< RFC 3339 with whole seconds

template <class T>
bool readJson(const Json& json, std::vector<T>& out) {
  const auto* array = json.if_array();
  if (!array) return false;
  std::vector<T> all;
  all.reserve(array->size());
  for (const Json& each : *array) {
    T value{};
    if (!readJson(each, value)) return false;
    all.push_back(std::move(value));
  }
  out = std::move(all);
  return true;
}

template <class T>
bool readJson(const Json& json, std::optional<T>& out) {
  T value{};
  if (!readJson(json, value)) return false;
  out = std::move(value);
  return true;
}

template <class E, std::size_t N>
bool readEnum(const Json& json, const EnumNames<E, N>& names, E& out) {
  const auto* text = json.if_string();
  if (!text) return false;
  const auto value = names.parse(std::string_view(text->data(), text->size()));
  if (value) out = *value;
  return value.has_value();
}

/// Reads one record field by field and says how forgiving each is.
/// required: absent or unreadable spoils the record. strict: absent keeps the default, unreadable
/// spoils the record. lenient: either keeps the default. For strict and lenient fields null counts
/// as absent. The last argument of each, where given, reads the value instead of `readJson`.
class JsonFields {
 public:
  explicit JsonFields(const Json& json)
      : object_(json.if_object()), readable_(object_ != nullptr) {}

  template <class T, class Read>
  JsonFields& required(std::string_view key, T& out, Read read) {
    const Json* value = find(key);
    if (!value || !read(*value, out)) readable_ = false;
    return *this;
  }
  template <class T, class Read>
  JsonFields& strict(std::string_view key, T& out, Read read) {
    const Json* value = find(key);
    if (value && !value->is_null() && !read(*value, out)) readable_ = false;
    return *this;
  }
  template <class T, class Read>
  JsonFields& lenient(std::string_view key, T& out, Read read) {
    const Json* value = find(key);
    if (value && !value->is_null()) read(*value, out);
    return *this;
  }
  template <class T>
  JsonFields& required(std::string_view key, T& out) {
    return required(key, out, plain<T>);
  }
  template <class T>
  JsonFields& strict(std::string_view key, T& out) {
    return strict(key, out, plain<T>);
  }
  template <class T>
  JsonFields& lenient(std::string_view key, T& out) {
    return lenient(key, out, plain<T>);
  }

  bool readable() const { return readable_; }
  /// Null when the record has no such key.
  const Json* find(std::string_view key) const;

 private:
  template <class T>
  static bool plain(const Json& json, T& out) {
    return readJson(json, out);
  }

  const boost::json::object* object_;
  bool readable_;
};

/// A reader that fills an optional by way of the reader of its value.
template <class T, class Read>
auto optionally(Read read) {
  return [read](const Json& json, std::optional<T>& out) {
    T value{};
    if (!read(json, value)) return false;
    out = std::move(value);
    return true;
  };
}

template <class E, std::size_t N>
auto namedBy(const EnumNames<E, N>& names) {
  return [&names](const Json& json, E& out) { return readEnum(json, names, out); };
}

}  // namespace brindle
