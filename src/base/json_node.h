#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/times.h"
#include "base/uuid.h"

namespace brindle {

/// One value of a document that is read record by record. Nodes lie one behind the other, a list or
/// an object before its members, and point into the document's text, so that reading a record
/// allocates nothing. Only `JsonNodes` makes them.
struct JsonNode {
  enum class Kind : std::uint8_t {
    null,
    boolean,
    integer,
    unsignedInteger,
    real,
    text,
    list,
    object
  };

  Kind kind = Kind::null;
  bool boolean = false;
  std::uint32_t members = 0;
  std::size_t span = 1;   ///< this node and all below it
  std::string_view key;   ///< in an object
  std::string_view text;  ///< of a text
  union {
    std::int64_t integer = 0;
    std::uint64_t unsignedInteger;
    double real;
  };

  const JsonNode* firstMember() const { return this + 1; }
  const JsonNode* next() const { return this + span; }
  const JsonNode* end() const { return next(); }
};

// Readers of single values, by the rules of those for `Json`.
bool readJson(const JsonNode& json, bool& out);
bool readJson(const JsonNode& json, std::int64_t& out);
bool readJson(const JsonNode& json, std::uint64_t& out);
bool readJson(const JsonNode& json, double& out);
bool readJson(const JsonNode& json, std::string& out);
bool readJson(const JsonNode& json, Uuid& out);
bool readJson(const JsonNode& json, WallTime& out);

/// Collects the nodes of one value, in the order of its text.
class JsonNodes {
 public:
  /// The value collected; valid until `clear`. Not empty.
  const JsonNode& value() const { return nodes_.front(); }
  void clear();

  void null() { add(JsonNode::Kind::null); }
  void boolean(bool value) { add(JsonNode::Kind::boolean).boolean = value; }
  void integer(std::int64_t value) { add(JsonNode::Kind::integer).integer = value; }
  void unsignedInteger(std::uint64_t value) {
    add(JsonNode::Kind::unsignedInteger).unsignedInteger = value;
  }
  void real(double value) { add(JsonNode::Kind::real).real = value; }
  void begin(JsonNode::Kind listOrObject);
  void end();

  /// A key or a text may come in pieces; `keep` says that a piece goes away and has to be copied.
  void piece(std::string_view part) { pieces_.append(part); }
  void key(std::string_view lastPart, bool keep) { key_ = whole(lastPart, keep); }
  /// The key, for its next value not to have one.
  std::string_view takeKey() { return std::exchange(key_, {}); }
  void text(std::string_view lastPart, bool keep) {
    const std::string_view all = whole(lastPart, keep);
    add(JsonNode::Kind::text).text = all;
  }

 private:
  /// A list or an object whose end has not come yet.
  struct Open {
    std::size_t at;
    std::uint64_t keys = 0;  ///< a bit for each key so far; few keys share one
    bool repeated = false;   ///< two keys did share one, and may be the same
  };

  JsonNode& add(JsonNode::Kind kind);
  std::string_view whole(std::string_view lastPart, bool keep) {
    return pieces_.empty() && !keep ? lastPart : kept(lastPart);
  }
  std::string_view kept(std::string_view lastPart);

  std::vector<JsonNode> nodes_;
  std::vector<Open> open_;
  std::string_view key_;
  std::string pieces_;
  std::deque<std::string> kept_;
};

}  // namespace brindle
