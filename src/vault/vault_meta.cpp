#include "vault/vault_meta.h"

#include <fmt/format.h>

#include <cmath>

#include "base/iso8601.h"
#include "base/utf8.h"

namespace brindle {
namespace {

/// Only what JSON wants escaped; other programs compare these bytes.
void appendEscaped(std::string& out, char c) {
  constexpr std::string_view special = "\"\\\b\f\n\r\t", written = "\"\\bfnrt";
  const auto at = special.find(c);
  if (at != std::string_view::npos) {
    out += '\\';
    out += written[at];
  } else if (static_cast<unsigned char>(c) < 0x20) {
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<unsigned>(c));
  } else {
    out += c;
  }
}

class Members {
 public:
  void raw(std::string_view name, std::string_view value) {
    text_ += text_.empty() ? '{' : ',';
    fmt::format_to(std::back_inserter(text_), "\"{}\":{}", name, value);
  }
  /// File names need not be UTF-8; what cannot be read is replaced.
  void text(std::string_view name, std::string_view value) {
    std::string quoted = "\"";
    for (const char c : repairedUtf8(value)) appendEscaped(quoted, c);
    raw(name, quoted + '"');
  }
  void text(std::string_view name, const std::optional<std::string>& value) {
    if (value && !value->empty()) text(name, std::string_view(*value));
  }
  std::string end() { return std::move(text_) + '}'; }

 private:
  std::string text_;
};

}  // namespace

std::string metaJson(const VaultMeta& meta) {
  Members out;
  out.text("takenAt", std::string_view(isoSeconds(meta.takenAt)));
  out.raw("index", fmt::format("{}", meta.index));
  out.text("kind", std::string_view(meta.kind));
  out.raw("wrongPINs", fmt::format("{}", meta.wrongPINs));
  out.text("device", std::string_view(meta.device));
  out.text("timeZone", std::string_view(meta.timeZone));
  out.text("deviceName", meta.deviceName);
  out.text("mime", meta.mime);
  if (meta.lat && meta.lon && std::isfinite(*meta.lat) && std::isfinite(*meta.lon)) {
    // As printf's "%.5f", but with a point in every locale.
    out.raw("lat", fmt::format("{:.5f}", *meta.lat));
    out.raw("lon", fmt::format("{:.5f}", *meta.lon));
  }
  out.text("place", meta.place);
  out.text("target", meta.target);
  return out.end();
}

}  // namespace brindle
