#include "platform/http.h"

#include <algorithm>
#include <array>

namespace brindle {
namespace {

struct Address {
  std::string_view scheme, host;
};

/// The host is empty when there is none, or when somebody's name stands before it.
Address addressOf(std::string_view url) {
  const std::size_t mark = url.find("://");
  if (mark == std::string_view::npos) return {};
  std::string_view rest = url.substr(mark + 3);
  rest = rest.substr(0, rest.find_first_of("/?#"));
  if (rest.find('@') != std::string_view::npos) return {};
  const std::size_t bracket = rest.starts_with('[') ? rest.find(']') : std::string_view::npos;
  if (bracket != std::string_view::npos) {
    const std::string_view after = rest.substr(bracket + 1);
    if (!after.empty() && !after.starts_with(':')) return {};
    return {url.substr(0, mark), rest.substr(0, bracket + 1)};
  }
  return {url.substr(0, mark), rest.substr(0, rest.find(':'))};
}

bool hasForbidden(std::string_view url) {
  return std::ranges::any_of(url, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte >= 0x7f || std::string_view("\"<>\\^`{|}").contains(c);
  });
}

bool isLoopback(std::string_view host) {
  static constexpr std::array<std::string_view, 3> loopback{"127.0.0.1", "[::1]", "localhost"};
  return std::ranges::find(loopback, host) != loopback.end();
}

}  // namespace

bool httpUrlAllowed(std::string_view url) {
  const Address address = addressOf(url);
  if (address.host.empty() || hasForbidden(url)) return false;
  return address.scheme == "https" || (address.scheme == "http" && isLoopback(address.host));
}

bool isLoopbackUrl(std::string_view url) {
  return httpUrlAllowed(url) && isLoopback(addressOf(url).host);
}

}  // namespace brindle
