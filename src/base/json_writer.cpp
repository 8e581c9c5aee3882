#include "base/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

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

constexpr std::size_t longestNumber = 32;

char* put(char* at, std::string_view part) {
  std::memcpy(at, part.data(), part.size());
  return at + part.size();
}

template <class N>
char* putNumber(char* at, N value) {
  return std::to_chars(at, at + longestNumber, value).ptr;
}

constexpr std::uint64_t ones = 0x0101010101010101;

/// Not zero when one of eight bytes is more than ASCII that stands in a document as it is.
std::uint64_t odd(std::uint64_t bytes) {
  constexpr std::uint64_t highs = ones * 0x80;
  // The high bit of a byte is set in the result when that byte was zero (and perhaps after such a
  // one).
  const auto zeroes = [](std::uint64_t each) { return (each - ones) & ~each & highs; };
  const std::uint64_t controls = (bytes - ones * 0x20) & ~bytes & highs;
  return (bytes & highs) | controls | zeroes(bytes ^ ones * '"') | zeroes(bytes ^ ones * '\\');
}

/// Where the first eight bytes begin, counted in eights from `at`, that are not all plain, or fewer
/// than eight are left.
std::size_t endOfPlainEights(std::string_view text, std::size_t at) {
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t bytes;
    std::memcpy(&bytes, text.data() + at, 8);
    if (odd(bytes) != 0) break;
  }
  return at;
}

bool isPlain(std::string_view text) {
  const std::size_t at = endOfPlainEights(text, 0);
  if (at + 8 <= text.size()) return false;
  std::uint64_t rest = ones * ' ';
  std::memcpy(&rest, text.data() + at, text.size() - at);
  return odd(rest) == 0;
}

}  // namespace

/// Appends at most `most` characters and the comma that may be due, written in place by `fill`,
/// which returns where it stopped. Several small appends in its stead take three times as long.
template <class Fill>
JsonWriter& JsonWriter::stretch(std::size_t most, Fill fill) {
  const std::size_t before = out_.size();
  out_.resize_and_overwrite(before + most + 1, [&](char* text, std::size_t) {
    char* at = text + before;
    if (needsComma_) *at++ = ',';
    return static_cast<std::size_t>(fill(at) - text);
  });
  needsComma_ = true;
  return *this;
}

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
  stretch(name.size() + 3, [name](char* at) {
    *at++ = '"';
    return put(put(at, name), "\":");
  });
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::value(bool value) { return raw(value ? "true" : "false"); }

JsonWriter& JsonWriter::value(double value) {
  if (!std::isfinite(value)) return null();
  // Without a fraction it would read back as the integer 0, which has no sign.
  if (value == 0 && std::signbit(value)) return raw("-0.0");
  return stretch(longestNumber, [value](char* at) { return putNumber(at, value); });
}

JsonWriter& JsonWriter::value(std::string_view text) {
  if (isPlain(text)) {
    return stretch(text.size() + 2, [text](char* at) {
      *at++ = '"';
      at = put(at, text);
      *at++ = '"';
      return at;
    });
  }
  separate();
  std::string repaired;
  if (!isUtf8(text)) text = repaired = repairedUtf8(text);
  out_ += '"';
  std::size_t plainFrom = 0;
  // A document within a document has few quotes and much between them.
  for (std::size_t i = endOfPlainEights(text, 0); i < text.size(); ++i) {
    if (!needsEscape(text[i])) continue;
    out_.append(text.substr(plainFrom, i - plainFrom));
    appendEscaped(out_, text[i]);
    plainFrom = i + 1;
    i = endOfPlainEights(text, plainFrom) - 1;
  }
  out_.append(text.substr(plainFrom));
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::value(const Uuid& id) {
  return stretch(id.bytes.size() * 2 + 6, [&id](char* at) {
    const auto text = id.upperText();
    *at++ = '"';
    at = put(at, {text.data(), text.size()});
    *at++ = '"';
    return at;
  });
}

JsonWriter& JsonWriter::value(WallTime time) {
  return stretch(longestIsoSeconds + 2, [time](char* at) {
    *at++ = '"';
    at = putIsoSeconds(at, time);
    *at++ = '"';
    return at;
  });
}

JsonWriter& JsonWriter::integer(std::int64_t value) {
  return stretch(longestNumber, [value](char* at) { return putNumber(at, value); });
}

JsonWriter& JsonWriter::unsignedInteger(std::uint64_t value) {
  return stretch(longestNumber, [value](char* at) { return putNumber(at, value); });
}

JsonWriter& JsonWriter::null() { return raw("null"); }

JsonWriter& JsonWriter::raw(std::string_view json) {
  separate();
  out_ += json;
  return *this;
}

}  // namespace brindle
