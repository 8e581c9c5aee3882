#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/times.h"
#include "base/uuid.h"

namespace brindle {

/// Appends one JSON document (RFC 8259) to a string, in call order and without white space. Keys
/// must be plain ASCII without quotes or backslashes. Text that is not valid UTF-8 is repaired
/// first.
class JsonWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out) {}

  JsonWriter& beginObject() { return open('{'); }
  JsonWriter& endObject() { return close('}'); }
  JsonWriter& beginArray() { return open('['); }
  JsonWriter& endArray() { return close(']'); }
  JsonWriter& key(std::string_view name);

  JsonWriter& value(bool value);
  JsonWriter& value(
      double value);  ///< shortest text that reads back the same; not-a-number as null
  JsonWriter& value(std::string_view text);
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  JsonWriter& value(const Uuid& id);  ///< upper case
  JsonWriter& value(WallTime time);   ///< ISO 8601, whole seconds, "Z"
  template <std::integral I>
  requires(!std::same_as<I, bool>) JsonWriter& value(I value) {
    if constexpr (std::is_signed_v<I>) {
      return integer(static_cast<std::int64_t>(value));
    } else {
      return unsignedInteger(static_cast<std::uint64_t>(value));
    }
  }
  JsonWriter& null();
  /// A piece of JSON that is already text.
  JsonWriter& raw(std::string_view json);

  template <class T>
  JsonWriter& field(std::string_view name, const T& v) {
    key(name);
    return value(v);
  }

 private:
  template <class Fill>
  JsonWriter& stretch(std::size_t most, Fill fill);
  JsonWriter& open(char bracket);
  JsonWriter& close(char bracket);
  JsonWriter& integer(std::int64_t value);
  JsonWriter& unsignedInteger(std::uint64_t value);
  void separate();

  std::string& out_;
  bool needsComma_ = false;
};

}  // namespace brindle
