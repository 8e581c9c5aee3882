#include "service/form_query.h"

#include <charconv>

#include "base/utf8.h"

namespace brindle {
namespace {

bool isUnreserved(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return letter || (c >= '0' && c <= '9') || std::string_view("-._~").contains(c);
}

void appendEncoded(std::string& out, std::string_view text) {
  static constexpr std::string_view hex = "0123456789ABCDEF";
  for (const char c : text) {
    if (isUnreserved(c)) {
      out += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    out += {'%', hex[byte >> 4], hex[byte & 15]};
  }
}

std::optional<std::string> decoded(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i] == '+' ? ' ' : text[i];
      continue;
    }
    unsigned char byte = 0;
    const char* digits = text.data() + i + 1;
    if (i + 2 >= text.size() || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
      return std::nullopt;
    }
    out += static_cast<char>(byte);
    i += 2;
  }
  return isUtf8(out) ? std::optional(std::move(out)) : std::nullopt;
}

std::string_view queryOf(std::string_view link) {
  link = link.substr(0, link.find('#'));
  const std::size_t mark = link.find('?');
  return mark == std::string_view::npos ? std::string_view() : link.substr(mark + 1);
}

}  // namespace

std::string formEncoded(const FormFields& fields) {
  std::string out;
  for (const auto& [name, value] : fields) {
    if (!out.empty()) out += '&';
    appendEncoded(out, name);
    out += '=';
    appendEncoded(out, value);
  }
  return out;
}

std::optional<std::string> queryField(std::string_view link, std::string_view name) {
  std::optional<std::string> found;
  std::string_view rest = queryOf(link);
  while (!rest.empty()) {
    const std::string_view pair = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
    const std::size_t equals = pair.find('=');
    if (pair.substr(0, equals) != name || equals == std::string_view::npos) continue;
    if (found) return std::nullopt;
    found = decoded(pair.substr(equals + 1));
    if (!found || found->empty()) return std::nullopt;
  }
  return found;
}

}  // namespace brindle
