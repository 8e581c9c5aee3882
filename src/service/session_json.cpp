#include "service/session_json.h"

#include <algorithm>

#include "base/json_fields.h"
#include "base/json_writer.h"
#include "base/reference_date.h"

namespace brindle {
namespace {

constexpr std::size_t longestToken = 16 * 1024;
constexpr std::size_t longestEmail = 320;  // RFC 3696, with its erratum 1690

bool readToken(const Json& json, std::string& out) {
  if (!readJson(json, out)) return false;
  const bool visible = std::ranges::all_of(out, [](char c) { return c > ' ' && c < '\x7f'; });
  return visible && !out.empty() && out.size() <= longestToken;
}

bool readEmail(const Json& json, std::string& out) {
  if (!readJson(json, out)) return false;
  const bool control =
      std::ranges::any_of(out, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; });
  return !control && !out.empty() && out.size() <= longestEmail;
}

}  // namespace

std::string writeSession(const Session& session) {
  std::string text;
  JsonWriter out(text);
  out.beginObject()
      .field("token", session.token)
      .field("email", session.email)
      .field("provider", session.provider)
      .field("termsVersion", session.termsVersion);
  if (session.acceptedAt) out.field("acceptedAt", secondsSince2001(*session.acceptedAt));
  out.endObject();
  return text;
}

std::optional<Session> readSession(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return std::nullopt;
  Session session;
  JsonFields in(*json);
  in.required("token", session.token, readToken)
      .required("email", session.email, readEmail)
      .lenient("provider", session.provider)
      .lenient("termsVersion", session.termsVersion)
      .lenient("acceptedAt", session.acceptedAt, optionally<WallTime>(readReferenceDate));
  return in.readable() ? std::optional(std::move(session)) : std::nullopt;
}

}  // namespace brindle
