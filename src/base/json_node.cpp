#include "base/json_node.h"

#include <cmath>

#include "base/iso8601.h"
#include "base/whole_number.h"

namespace brindle {
namespace {

using Kind = JsonNode::Kind;

/// A key that comes twice in one object counts with its last value. Its earlier ones lose their
/// key, and no record has a field without a name.
void dropRepeatedKeys(JsonNode& object) {
  std::uint64_t seen = 0;
  for (JsonNode* each = &object + 1; each != &object + object.span; each += each->span) {
    const std::string_view key = each->key;
    if (key.empty()) continue;
    // Few keys share a bit, so that looking back is rare.
    const auto mark = static_cast<unsigned char>(key.front()) * 5u +
                      static_cast<unsigned char>(key.back()) * 3u + key.size();
    const std::uint64_t bit = std::uint64_t{1} << (mark & 63u);
    if (seen & bit) {
      for (JsonNode* other = &object + 1; other != each; other += other->span) {
        if (other->key == key) other->key = {};
      }
    }
    seen |= bit;
  }
}

}  // namespace

void JsonNodes::clear() {
  nodes_.clear();
  open_.clear();
  kept_.clear();
  pieces_.clear();
  key_ = {};
}

JsonNode& JsonNodes::add(Kind kind) {
  if (!open_.empty()) ++nodes_[open_.back()].members;
  JsonNode& node = nodes_.emplace_back();
  node.kind = kind;
  node.key = std::exchange(key_, {});
  return node;
}

void JsonNodes::begin(Kind listOrObject) {
  add(listOrObject);
  open_.push_back(nodes_.size() - 1);
}

void JsonNodes::end() {
  JsonNode& node = nodes_[open_.back()];
  node.span = nodes_.size() - open_.back();
  open_.pop_back();
  if (node.kind == Kind::object) dropRepeatedKeys(node);
}

std::string_view JsonNodes::whole(std::string_view lastPart, bool keep) {
  if (pieces_.empty() && !keep) return lastPart;
  pieces_.append(lastPart);
  return kept_.emplace_back(std::exchange(pieces_, {}));
}

bool readJson(const JsonNode& json, bool& out) {
  if (json.kind != Kind::boolean) return false;
  out = json.boolean;
  return true;
}

bool readJson(const JsonNode& json, std::int64_t& out) {
  if (json.kind == Kind::real) return wholeNumber(json.real, out);
  if (json.kind != Kind::integer) return false;
  out = json.integer;
  return true;
}

bool readJson(const JsonNode& json, std::uint64_t& out) {
  if (json.kind == Kind::real) return wholeNumber(json.real, out);
  if (json.kind == Kind::unsignedInteger) {
    out = json.unsignedInteger;
    return true;
  }
  if (json.kind != Kind::integer || json.integer < 0) return false;
  out = static_cast<std::uint64_t>(json.integer);
  return true;
}

bool readJson(const JsonNode& json, double& out) {
  double value = json.real;
  if (json.kind == Kind::integer) {
    value = static_cast<double>(json.integer);
  } else if (json.kind == Kind::unsignedInteger) {
    value = static_cast<double>(json.unsignedInteger);
  } else if (json.kind != Kind::real) {
    return false;
  }
  if (!std::isfinite(value)) return false;
  out = value;
  return true;
}

bool readJson(const JsonNode& json, std::string& out) {
  if (json.kind != Kind::text) return false;
  out.assign(json.text);
  return true;
}

bool readJson(const JsonNode& json, Uuid& out) {
  const auto id = json.kind == Kind::text ? Uuid::parse(json.text) : std::nullopt;
  if (id) out = *id;
  return id.has_value();
}

bool readJson(const JsonNode& json, WallTime& out) {
  const auto time = json.kind == Kind::text ? parseIsoSeconds(json.text) : std::nullopt;
  if (time) out = *time;
  return time.has_value();
}

}  // namespace brindle
