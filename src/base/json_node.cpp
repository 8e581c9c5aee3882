#include "base/json_node.h"

#include <cmath>

#include "base/iso8601.h"
#include "base/whole_number.h"

namespace brindle {
namespace {

using Kind = JsonNode::Kind;

/// A bit that few keys share. The factors are chosen so that no two fields of one of our records
/// do: a shared bit costs a look at all keys.
std::uint64_t keyBit(std::string_view key) {
  const auto mark = static_cast<unsigned char>(key.front()) +
                    static_cast<unsigned char>(key.back()) * 3u + key.size() * 21u;
  return std::uint64_t{1} << (mark & 63u);
}

/// A key that comes twice in one object counts with its last value. Its earlier ones lose their
/// key, and no record has a field without a name.
void dropRepeatedKeys(JsonNode& object) {
  std::uint64_t seen = 0;
  for (JsonNode* each = &object + 1; each != &object + object.span; each += each->span) {
    if (each->key.empty()) continue;
    const std::uint64_t bit = keyBit(each->key);
    if (seen & bit) {
      for (JsonNode* other = &object + 1; other != each; other += other->span) {
        if (other->key == each->key) other->key = {};
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
  const std::string_view key = takeKey();
  if (!open_.empty()) {
    Open& within = open_.back();
    ++nodes_[within.at].members;
    if (!key.empty()) {
      const std::uint64_t bit = keyBit(key);
      within.repeated |= (within.keys & bit) != 0;
      within.keys |= bit;
    }
  }
  JsonNode& node = nodes_.emplace_back();
  node.kind = kind;
  node.key = key;
  return node;
}

void JsonNodes::begin(Kind listOrObject) {
  add(listOrObject);
  open_.push_back({nodes_.size() - 1});
}

void JsonNodes::end() {
  const Open ended = open_.back();
  open_.pop_back();
  JsonNode& node = nodes_[ended.at];
  node.span = nodes_.size() - ended.at;
  if (ended.repeated) dropRepeatedKeys(node);
}

std::string_view JsonNodes::kept(std::string_view lastPart) {
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
  out = std::string(json.text);  // quicker than `assign` while `out` is empty, as it is here
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
