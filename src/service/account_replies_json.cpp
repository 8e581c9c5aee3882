#include "service/account_replies_json.h"

#include <charconv>

#include "base/json_fields.h"
#include "platform/http.h"
#include "service/terms_version.h"

namespace brindle {
namespace {

bool readLink(const Json& json, std::string& out) {
  constexpr std::size_t longest = 2048;
  return readJson(json, out) && out.size() <= longest && httpUrlAllowed(out);
}

bool readVersion(const Json& json, std::string& out) {
  return readJson(json, out) && parseTermsVersion(out).has_value();
}

/// 412 or "412".
bool readBuild(const Json& json, std::int64_t& out) {
  const auto text = jsonText(json);
  if (!text) return readJson(json, out) && out >= 0;
  const std::string_view digits = *text;
  const char* end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, out);
  return read.ec == std::errc() && read.ptr == end && out >= 0 && digits.front() != '-';
}

bool readMinimumBuild(const Json& json, std::optional<std::int64_t>& out) {
  JsonFields in(json);
  in.strict("macos", out, optionally<std::int64_t>(readBuild));
  return in.readable();
}

/// One text of an object; empty when it is not there.
std::string textField(std::string_view document, std::string_view key) {
  const auto json = parseJson(document);
  std::string found;
  if (json) JsonFields(*json).lenient(key, found);
  return found;
}

}  // namespace

std::string readErrorCode(std::string_view text) { return textField(text, "error"); }

std::optional<std::string> readIdToken(std::string_view text) {
  std::string token = textField(text, "id_token");
  return token.empty() ? std::nullopt : std::optional(std::move(token));
}

std::optional<TermsReply> readTermsReply(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  TermsReply reply;
  JsonFields in(*json);
  in.required("version", reply.version, readVersion)
      .required("terms", reply.terms, readLink)
      .required("privacy", reply.privacy, readLink)
      .strict("minimumBuild", reply.minimumMacBuild, readMinimumBuild);
  return in.readable() ? std::optional(std::move(reply)) : std::nullopt;
}

}  // namespace brindle
