#include "vault/vault_opener_json.h"

#include <algorithm>
#include <cmath>

#include "base/base64.h"
#include "base/json_fields.h"
#include "base/utf8.h"

namespace brindle {
namespace {

constexpr std::int64_t formatVersion = 1;

bool readBytes(const Json& json, Bytes& out) {
  const auto text = jsonText(json);
  auto bytes = text ? fromBase64url(*text) : std::nullopt;
  if (bytes) out = std::move(*bytes);
  return bytes.has_value();
}

template <std::size_t N>
bool readExactly(const Json& json, std::array<std::uint8_t, N>& out) {
  Bytes bytes;
  if (!readBytes(json, bytes) || bytes.size() != N) return false;
  std::ranges::copy(bytes, out.begin());
  return true;
}

/// Cut from a digest: 12 bytes.
bool readKeyIdentifier(const Json& json, std::string& out) {
  std::array<std::uint8_t, 12> bytes;
  if (!readExactly(json, bytes)) return false;
  out = base64url(bytes);
  return true;
}

bool readRecipient(const Json& json, SealedHeader::Recipient& out) {
  JsonFields in(json);
  return in.required("kid", out.kid, readKeyIdentifier)
      .required("epk", out.epk, readExactly<65>)
      .required("iv", out.nonce, readExactly<12>)
      .required("ct", out.wrappedKey, readExactly<48>)
      .readable();
}

bool readRecipients(const Json& json, std::vector<SealedHeader::Recipient>& out) {
  return forEachElement(json,
                        [&](const Json& each) { return readRecipient(each, out.emplace_back()); });
}

bool readMeta(const Json& json, SealedHeader& out) {
  JsonFields in(json);
  return in.required("iv", out.metaNonce, readExactly<12>)
      .required("ct", out.meta, readBytes)
      .readable();
}

/// What a sealing writes for this header: bits that no byte has, escapes and repeated members give
/// something else than was read.
/// Of a place on earth: a number of a hundred digits would not be written again as it was.
template <int most>
bool readDegrees(const Json& json, std::optional<double>& out) {
  double degrees = 0;
  if (!readJson(json, degrees) || std::abs(degrees) > most) return false;
  out = degrees;
  return true;
}

std::string headerText(const SealedHeader& header) {
  std::string out = R"({"v":1)";
  const auto member = [&out](std::string_view before, std::string_view key,
                             std::string_view value) {
    for (const std::string_view piece : {before, key, std::string_view("\":\""), value}) {
      out.append(piece);
    }
    out += '"';
  };
  member(",\"", "photoId", header.photoId.lower());
  member(",\"", "eventId", header.eventId.lower());
  member(",\"", "iv", base64url(header.photoNonce));
  member(",\"meta\":{\"", "iv", base64url(header.metaNonce));
  member(",\"", "ct", base64url(header.meta));
  out += R"(},"recipients":[)";
  for (const auto& each : header.recipients) {
    member(&each == &header.recipients.front() ? "{\"" : ",{\"", "kid", each.kid);
    member(",\"", "epk", base64url(each.epk));
    member(",\"", "iv", base64url(each.nonce));
    member(",\"", "ct", base64url(each.wrappedKey));
    out += '}';
  }
  return out += "]}";
}

}  // namespace

Result<SealedHeader, OpeningFailure> readSealedHeaderText(std::string_view text) {
  const auto json = parseJson(text);
  if (!json) return Failure(OpeningFailure::notSealed);
  std::int64_t version = 0;
  SealedHeader header;
  JsonFields in(*json);
  if (!in.required("v", version).readable()) return Failure(OpeningFailure::notSealed);
  if (version != formatVersion) return Failure(OpeningFailure::otherVersion);
  in.required("photoId", header.photoId)
      .required("eventId", header.eventId)
      .required("iv", header.photoNonce, readExactly<12>)
      .required("meta", header, readMeta)
      .required("recipients", header.recipients, readRecipients);
  if (!in.readable() || headerText(header) != text) return Failure(OpeningFailure::notSealed);
  return header;
}

std::optional<VaultMeta> readVaultMeta(std::string_view text) {
  // A name in broken UTF-8 does not take the other facts with it.
  const auto json = parseJson(repairedUtf8(text));
  if (!json) return std::nullopt;
  VaultMeta meta;
  JsonFields in(*json);
  in.required("takenAt", meta.takenAt)
      .required("index", meta.index)
      .required("kind", meta.kind)
      .required("wrongPINs", meta.wrongPINs)
      .required("device", meta.device)
      .required("timeZone", meta.timeZone)
      .lenient("deviceName", meta.deviceName)
      .lenient("mime", meta.mime)
      .lenient("lat", meta.lat, readDegrees<90>)
      .lenient("lon", meta.lon, readDegrees<180>)
      .lenient("place", meta.place)
      .lenient("target", meta.target);
  return in.readable() ? std::optional(std::move(meta)) : std::nullopt;
}

}  // namespace brindle
