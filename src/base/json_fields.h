#pragma once

#include <boost/json.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.h"
#include "base/json_members.h"
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
/// A stored date in either form: seconds since 2001 as a number, or RFC 3339.
bool readReferenceDate(const Json& json, WallTime& out);

inline bool isNull(const Json& json) { return json.is_null(); }
inline std::optional<std::string_view> jsonText(const Json& json) {
  const auto* text = json.if_string();
  return text ? std::optional(std::string_view(text->data(), text->size())) : std::nullopt;
}
inline std::size_t elementCount(const Json& json) {
  return json.is_array() ? json.get_array().size() : 0;
}
template <class Use>
bool forEachElement(const Json& json, Use use) {
  const auto* list = json.if_array();
  if (!list) return false;
  for (const Json& each : *list) {
    if (!use(each)) return false;
  }
  return true;
}
template <>
class JsonMembers<Json> {
 public:
  explicit JsonMembers(const Json& json) : object_(json.if_object()) {}
  bool isObject() const { return object_ != nullptr; }
  const Json* find(std::string_view key) {
    return object_ ? object_->if_contains({key.data(), key.size()}) : nullptr;
  }

 private:
  const boost::json::object* object_;
};

template <class Node, class T>
bool readJson(const Node& json, std::vector<T>& out) {
  std::vector<T> all;
  all.reserve(elementCount(json));
  const bool readable =
      forEachElement(json, [&all](const Node& each) { return readJson(each, all.emplace_back()); });
  if (readable) out = std::move(all);
  return readable;
}

template <class Node, class T>
bool readJson(const Node& json, std::optional<T>& out) {
  T value{};
  if (!readJson(json, value)) return false;
  out = std::move(value);
  return true;
}

template <class Node, class E, std::size_t N>
bool readEnum(const Node& json, const EnumNames<E, N>& names, E& out) {
  const auto text = jsonText(json);
  const auto value = text ? names.parse(*text) : std::nullopt;
  if (value) out = *value;
  return value.has_value();
}

/// Reads one record field by field and says how forgiving each is.
/// required: absent or unreadable spoils the record. strict: absent keeps the default, unreadable
/// spoils the record. lenient: either keeps the default. For strict and lenient fields null counts
/// as absent. The last argument of each, where given, reads the value instead of `readJson`.
template <class Node>
class JsonFields {
 public:
  explicit JsonFields(const Node& json) : members_(json), readable_(members_.isObject()) {}

  template <class T, class Read>
  JsonFields& required(std::string_view key, T& out, Read read) {
    const Node* value = find(key);
    if (!value || !read(*value, out)) readable_ = false;
    return *this;
  }
  template <class T, class Read>
  JsonFields& strict(std::string_view key, T& out, Read read) {
    const Node* value = find(key);
    if (value && !isNull(*value) && !read(*value, out)) readable_ = false;
    return *this;
  }
  template <class T, class Read>
  JsonFields& lenient(std::string_view key, T& out, Read read) {
    const Node* value = find(key);
    if (value && !isNull(*value)) read(*value, out);
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
  const Node* find(std::string_view key) { return members_.find(key); }

 private:
  template <class T>
  static bool plain(const Node& json, T& out) {
    return readJson(json, out);
  }

  JsonMembers<Node> members_;
  bool readable_;
};

/// A reader that fills an optional by way of the reader of its value.
template <class T, class Read>
auto optionally(Read read) {
  return [read](const auto& json, std::optional<T>& out) {
    T value{};
    if (!read(json, value)) return false;
    out = std::move(value);
    return true;
  };
}

template <class E, std::size_t N>
auto namedBy(const EnumNames<E, N>& names) {
  return [&names](const auto& json, E& out) { return readEnum(json, names, out); };
}

}  // namespace brindle
