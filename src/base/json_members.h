#pragma once

#include <optional>
#include <string_view>

#include "base/json_node.h"

namespace brindle {

// What a record and a list need to know of a value; json_fields.h has the same for `Json`.

inline bool isNull(const JsonNode& json) { return json.kind == JsonNode::Kind::null; }
inline std::optional<std::string_view> jsonText(const JsonNode& json) {
  return json.kind == JsonNode::Kind::text ? std::optional(json.text) : std::nullopt;
}
/// How many elements a list has; a hint for what it is read into.
inline std::size_t elementCount(const JsonNode& json) { return json.members; }
/// Calls `use` with each element until it returns false; false then, or when there is no list.
template <class Use>
bool forEachElement(const JsonNode& json, Use use) {
  if (json.kind != JsonNode::Kind::list) return false;
  for (const JsonNode* each = json.firstMember(); each != json.end(); each = each->next()) {
    if (!use(*each)) return false;
  }
  return true;
}

template <class Node>
class JsonMembers;

template <>
class JsonMembers<JsonNode> {
 public:
  explicit JsonMembers(const JsonNode& json)
      : object_(json.kind == JsonNode::Kind::object ? &json : nullptr), likely_(&json + 1) {}
  bool isObject() const { return object_ != nullptr; }
  /// Records are read in the order they are written, so the next member is the likely one.
  const JsonNode* find(std::string_view key) {
    if (!object_) return nullptr;
    if (likely_ != object_->end() && likely_->key == key) return found(likely_);
    for (const JsonNode* each = object_->firstMember(); each != object_->end();
         each = each->next()) {
      if (each->key == key) return found(each);
    }
    return nullptr;
  }

 private:
  const JsonNode* found(const JsonNode* member) {
    likely_ = member->next();
    return member;
  }
  const JsonNode* object_;
  const JsonNode* likely_;
};

}  // namespace brindle
