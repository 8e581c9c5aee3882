#include "platform/linux/loopback_redirect.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <string_view>
#include <utility>

namespace brindle {

using namespace std::chrono_literals;

namespace {

// A browser sends its request at once, and only a few at a time (the page, its icon).
constexpr std::size_t mostVisitors = 8;
constexpr std::size_t longestRequest = 16 * 1024;
constexpr Duration patience = 10s;

// The page says nothing but text, leads nowhere and is not kept; its address holds a code.
std::string response(std::string_view status, std::string_view text) {
  const std::string page = "<!doctype html><title>Brindle</title><p>" + std::string(text) + "\n";
  return "HTTP/1.1 " + std::string(status) +
         "\r\nContent-Type: text/html; charset=utf-8\r\n"
         "Content-Security-Policy: default-src 'none'\r\nReferrer-Policy: no-referrer\r\n"
         "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
         std::to_string(page.size()) + "\r\n\r\n" + page;
}

// The target of a GET, in the form that origin servers get (RFC 9112, 3.2.1).
std::string_view targetOf(std::string_view request) {
  constexpr std::string_view method = "GET ";
  if (!request.starts_with(method)) return {};
  const auto line = request.substr(method.size(), request.find("\r\n") - method.size());
  const auto end = line.find(" HTTP/1.");
  return end == line.npos ? std::string_view() : line.substr(0, end);
}

}  // namespace

LoopbackRedirect::LoopbackRedirect(MainLoop& loop, std::string path,
                                   std::function<void(std::string)> came)
    : loop_(loop), path_(std::move(path)), came_(std::move(came)) {
  if (listen()) watch_ = loop_.watch(listener_.get(), POLLIN, [this](std::uint32_t) { accept(); });
}

bool LoopbackRedirect::listen() {
  listener_ = Descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* name = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_.get(), name, size) != 0 || ::listen(listener_.get(), 4) != 0) return false;
  if (getsockname(listener_.get(), name, &size) != 0) return false;
  port_ = ntohs(address.sin_port);
  return true;
}

std::string LoopbackRedirect::uri() const {
  return "http://127.0.0.1:" + std::to_string(port_) + path_;
}

void LoopbackRedirect::accept() {
  Descriptor socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!socket || visitors_.size() >= mostVisitors) return;
  const auto visitor = visitors_.insert(visitors_.end(), Visitor{});
  visitor->socket = std::move(socket);
  visitor->watch =
      loop_.watch(visitor->socket.get(), POLLIN, [this, visitor](std::uint32_t) { read(visitor); });
  visitor->patience = loop_.after(patience, [this, visitor] { leave(visitor); });
}

void LoopbackRedirect::read(Visitors::iterator visitor) {
  std::array<char, 4096> piece{};
  const auto size =
      uninterrupted([&] { return recv(visitor->socket.get(), piece.data(), piece.size(), 0); });
  if (size < 0 && errno == EAGAIN) return;
  if (size <= 0) return leave(visitor);
  visitor->request.append(piece.data(), static_cast<std::size_t>(size));
  if (visitor->request.find("\r\n\r\n") != std::string::npos) return judge(visitor);
  if (visitor->request.size() > longestRequest) {
    answer(visitor, "431 Request Header Fields Too Large", "This was too long.");
  }
}

void LoopbackRedirect::judge(Visitors::iterator visitor) {
  const std::string target(targetOf(visitor->request));
  const auto mark = target.find('?');
  if (target.substr(0, mark) != path_) {
    return answer(visitor, "404 Not Found", "There is nothing here.");
  }
  answer(visitor, "200 OK", "You can close this window.");
  if (!came_) return;
  // Posted: whoever is told lets go of this object.
  loop_.post(lifetime_.guard(
      [came = std::exchange(came_, nullptr),
       query = mark == target.npos ? "" : target.substr(mark + 1)] { came(query); }));
}

void LoopbackRedirect::answer(Visitors::iterator visitor, const char* status, const char* text) {
  const std::string page = response(status, text);
  // Less than a socket takes at once.
  send(visitor->socket.get(), page.data(), page.size(), MSG_NOSIGNAL);
  leave(visitor);
}

void LoopbackRedirect::leave(Visitors::iterator visitor) {
  Visitors gone;
  gone.splice(gone.end(), visitors_, visitor);
  gone.front().watch.end();
}

}  // namespace brindle
