#include "base/json_fields.h"

#include <cmath>

#include "base/iso8601.h"
#include "base/reference_date.h"
#include "base/whole_number.h"

namespace brindle {
namespace {

constexpr std::size_t deepestNesting = 64;

}  // namespace

std::optional<Json> parseJson(std::string_view text, boost::json::storage_ptr storage) {
  boost::json::parse_options options;
  options.max_depth = deepestNesting;
  options.allow_invalid_utf8 = false;
  boost::system::error_code error;
  Json value = boost::json::parse({text.data(), text.size()}, error, std::move(storage), options);
  if (error) return std::nullopt;
  return value;
}

bool readJson(const Json& json, bool& out) {
  if (!json.is_bool()) return false;
  out = json.get_bool();
  return true;
}

bool readJson(const Json& json, std::int64_t& out) {
  if (const auto* value = json.if_int64()) {
    out = *value;
    return true;
  }
  return json.is_double() && wholeNumber(json.get_double(), out);
}

bool readJson(const Json& json, std::uint64_t& out) {
  if (const auto* value = json.if_uint64()) {
    out = *value;
    return true;
  }
  if (const auto* value = json.if_int64()) {
    if (*value < 0) return false;
    out = static_cast<std::uint64_t>(*value);
    return true;
  }
  return json.is_double() && wholeNumber(json.get_double(), out);
}

bool readJson(const Json& json, double& out) {
  if (!json.is_number()) return false;
  const double value = json.to_number<double>();
  if (!std::isfinite(value)) return false;
  out = value;
  return true;
}

bool readJson(const Json& json, std::string& out) {
  const auto* text = json.if_string();
  if (!text) return false;
  out.assign(text->data(), text->size());
  return true;
}

bool readJson(const Json& json, Uuid& out) {
  const auto* text = json.if_string();
  if (!text) return false;
  const auto id = Uuid::parse({text->data(), text->size()});
  if (id) out = *id;
  return id.has_value();
}

bool readJson(const Json& json, WallTime& out) {
  const auto* text = json.if_string();
  if (!text) return false;
  const auto time = parseIsoSeconds({text->data(), text->size()});
  if (time) out = *time;
  return time.has_value();
}

bool readReferenceDate(const Json& json, WallTime& out) {
  double seconds = 0;
  WallTime written;
  if (!readJson(json, seconds)) {
    if (!readJson(json, written)) return false;
    seconds = secondsSince2001(written);
  }
  // Text from further away than a number can say is no date either: it could not be kept.
  const auto time = fromSecondsSince2001(seconds);
  if (time) out = *time;
  return time.has_value();
}

}  // namespace brindle
