#include "base/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>

#include "base/iso8601.h"
#include "base/utf8.h"

namespace brindle {
namespace {

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

void appendEscaped(std::string& out, char c) {
  static constexpr std::string_view hex = "0123456789abcdef";
  switch (c) {
    case '"':
    case '\\':
      out += '\\';
      out += c;
      return;
    case '\n':
      out += "\\n";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\r':
      out += "\\r";
      return;
    default:
      out += "\\u00";
      out += hex[static_cast<unsigned char>(c) >> 4];
      out += hex[static_cast<unsigned char>(c) & 15];
  }
}

template <class N>
void appendNumber(std::string& out, N value) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  out.append(text.data(), end);
}

}  // namespace

void JsonWriter::separate() {
  if (needsComma_) out_ += ',';
  needsComma_ = true;
}

JsonWriter& JsonWriter::open(char bracket) {
  separate();
  out_ += bracket;
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  out_ += bracket;
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  separate();
  out_ += '"';
  out_ += name;
  out_ += "\":";
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::value(bool value) { return raw(value ? "true" : "false"); }

JsonWriter& JsonWriter::value(double value) {
  if (!std::isfinite(value)) return null();
  separate();
  appendNumber(out_, value);
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  separate();
  std::string repaired;
  if (!isUtf8(text)) text = repaired = repairedUtf8(text);
  out_ += '"';
  std::size_t plainFrom = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!needsEscape(text[i])) continue;
    out_.append(text.substr(plainFrom, i - plainFrom));
    appendEscaped(out_, text[i]);
    plainFrom = i + 1;
  }
  out_.append(text.substr(plainFrom));
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::value(const Uuid& id) {
  separate();
  out_ += '"';
  out_ += id.upper();
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::value(WallTime time) {
  separate();
  out_ += '"';
  appendIsoSeconds(out_, time);
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::integer(std::int64_t value) {
  separate();
  appendNumber(out_, value);
  return *this;
}

JsonWriter& JsonWriter::unsignedInteger(std::uint64_t value) {
  separate();
  appendNumber(out_, value);
  return *this;
}

JsonWriter& JsonWriter::null() { return raw("null"); }

JsonWriter& JsonWriter::raw(std::string_view json) {
  separate();
  out_ += json;
  return *this;
}

}  // namespace brindle
