#include "service/multipart_body.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/iso8601.h"
#include "service/one_line.h"

namespace brindle {
namespace {

constexpr std::string_view boundaryStart = "brindle-";
constexpr std::string_view boundaryCharacters =
    "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int mostDraws = 16;

using Field = std::pair<std::string_view, std::string>;

void addLocation(std::vector<Field>& out, const UnlockLocation& location) {
  if (!std::isfinite(location.lat) || !std::isfinite(location.lon)) return;
  out.emplace_back("lat", fmt::format("{:.5f}", location.lat));
  out.emplace_back("lon", fmt::format("{:.5f}", location.lon));
  const double metres = std::isfinite(location.accuracy) ? std::max(location.accuracy, 0.0) : 0.0;
  out.emplace_back("accuracy", fmt::format("{:.0f}", metres));
}

std::vector<Field> textFields(const AlertFields& fields) {
  std::vector<Field> out{{"unlockAt", isoSeconds(fields.unlockAt)},
                         {"timeZone", oneLine(fields.timeZone)},
                         {"deviceName", oneLine(fields.deviceName)},
                         {"wrongPINs", std::to_string(fields.wrongPINs)},
                         {"device", "mac"}};
  if (fields.reason) out.emplace_back("reason", oneLine(*fields.reason));
  if (fields.targetName) out.emplace_back("targetName", oneLine(*fields.targetName));
  if (fields.location) addLocation(out, *fields.location);
  return out;
}

bool occursIn(std::string_view boundary, const std::vector<Field>& fields,
              std::span<const Bytes> photos) {
  const auto in = [boundary](std::string_view text) { return text.find(boundary) != text.npos; };
  return std::ranges::any_of(fields, [&](const Field& field) { return in(field.second); }) ||
         std::ranges::any_of(photos, [&](const Bytes& photo) { return in(textOf(photo)); });
}

void append(Bytes& out, std::string_view text) {
  const ByteView bytes = viewOf(text);
  out.insert(out.end(), bytes.begin(), bytes.end());
}

Bytes assembled(const std::string& boundary, const std::vector<Field>& fields,
                std::span<const Bytes> photos) {
  Bytes out;
  for (const auto& [name, value] : fields) {
    append(out, fmt::format("--{}\r\nContent-Disposition: form-data; name=\"{}\"\r\n\r\n{}\r\n",
                            boundary, name, value));
  }
  for (std::size_t i = 0; i < photos.size(); ++i) {
    // The part counts from 0 and the file from 1; the service reads the first, people the second.
    append(out, fmt::format("--{}\r\nContent-Disposition: form-data; name=\"photo{}\"; "
                            "filename=\"unlock-{}.jpg\"\r\nContent-Type: image/jpeg\r\n\r\n",
                            boundary, i, i + 1));
    out.insert(out.end(), photos[i].begin(), photos[i].end());
    append(out, "\r\n");
  }
  append(out, "--" + boundary + "--\r\n");
  return out;
}

}  // namespace

std::optional<MultipartBody> multipartBody(const AlertFields& fields,
                                           const std::vector<Bytes>& photos,
                                           const std::function<std::string()>& drawBoundary) {
  const std::vector<Field> texts = textFields(fields);
  const auto sent = std::span(photos).first(std::min(photos.size(), MultipartBody::mostPhotos));
  for (int draw = 0; draw < mostDraws; ++draw) {
    const std::string boundary = std::string(boundaryStart) + drawBoundary();
    if (occursIn(boundary, texts, sent)) continue;
    return MultipartBody{assembled(boundary, texts, sent), boundary};
  }
  return std::nullopt;
}

std::optional<std::string> boundaryOf(ByteView body) {
  constexpr std::size_t longestBoundary = 70;  // RFC 2046, 5.1.1
  const std::string_view text = textOf(body).substr(0, longestBoundary + 4);
  const std::size_t end = text.find("\r\n");
  if (end == text.npos || !text.starts_with("--" + std::string(boundaryStart))) return std::nullopt;
  const std::string_view boundary = text.substr(2, end - 2);
  // It becomes part of a header, so nothing but what we draw ourselves may be in it.
  const bool plain = boundary.find_first_not_of(boundaryCharacters) == boundary.npos;
  return plain ? std::optional(std::string(boundary)) : std::nullopt;
}

}  // namespace brindle
