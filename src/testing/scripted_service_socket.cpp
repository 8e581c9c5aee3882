#include "testing/scripted_service_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/vector_body.hpp>

#include "platform/posix/local_socket.h"

namespace brindle {

namespace http = boost::beast::http;

class ScriptedServiceSocket::Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(ScriptedServiceSocket& owner, Descriptor socket)
      : owner_(owner), socket_(std::move(socket)) {
    wait();
  }
  void close();

 private:
  void wait();
  void ready();
  void read();
  void takeRequests();
  void receive(const http::request<http::vector_body<std::uint8_t>>& request);
  void answer(const ScriptedReply& reply);
  void write();

  ScriptedServiceSocket& owner_;
  Descriptor socket_;
  Subscription watch_;
  Bytes in_;
  std::string out_;
  bool lastAnswer_ = false;
  std::optional<http::request_parser<http::vector_body<std::uint8_t>>> request_;
  Duration firstByte_{};
};

void ScriptedServiceSocket::Connection::wait() {
  const std::uint32_t events = out_.empty() ? POLLIN : POLLIN | POLLOUT;
  watch_ = owner_.loop_.watch(socket_.get(), events, [this](std::uint32_t) { ready(); });
}

void ScriptedServiceSocket::Connection::close() {
  watch_.end();
  socket_.close();
  std::erase_if(owner_.connections_, [this](const auto& each) { return each.get() == this; });
}

void ScriptedServiceSocket::Connection::ready() {
  const auto self = shared_from_this();
  read();
  if (socket_) write();
}

void ScriptedServiceSocket::Connection::read() {
  std::array<std::uint8_t, 65536> part;
  while (socket_) {
    const ssize_t count =
        uninterrupted([&] { return ::recv(socket_.get(), part.data(), part.size(), 0); });
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) return close();
    if (in_.empty() && !request_) firstByte_ = owner_.loop_.awakeTime();
    in_.insert(in_.end(), part.begin(), part.begin() + count);
    takeRequests();
  }
}

void ScriptedServiceSocket::Connection::takeRequests() {
  while (socket_ && !in_.empty()) {
    if (!request_) {
      request_.emplace().eager(true);
      request_->body_limit(boost::none);
    }
    boost::system::error_code error;
    const std::size_t used = request_->put(boost::asio::buffer(in_), error);
    in_.erase(in_.begin(), in_.begin() + static_cast<std::ptrdiff_t>(used));
    if (error == http::error::need_more) return;
    if (error) return close();
    if (!request_->is_done()) continue;
    const auto whole = request_->release();
    request_.reset();
    receive(whole);
  }
}

void ScriptedServiceSocket::Connection::receive(
    const http::request<http::vector_body<std::uint8_t>>& request) {
  ScriptedRequest whole;
  whole.method = std::string(request.method_string());
  whole.path = std::string(request.target().substr(1));
  whole.firstByte = firstByte_;
  whole.body = request.body();
  for (const auto& each : request)
    whole.headers.push_back({std::string(each.name_string()), std::string(each.value())});
  owner_.service_.receive(std::move(whole), [weak = weak_from_this()](const ScriptedReply& reply) {
    if (const auto self = weak.lock()) self->answer(reply);
  });
}

void ScriptedServiceSocket::Connection::answer(const ScriptedReply& reply) {
  if (!socket_ || lastAnswer_) return;
  if (reply.status == 0) return close();
  const bool elsewhere = reply.status / 100 == 3;
  out_ += "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n" +
          (elsewhere ? "Location: /api/terms\r\n" : "") +
          "Content-Type: application/json\r\nContent-Length: " + std::to_string(reply.body.size()) +
          "\r\n\r\n";
  out_ += reply.body.substr(0, reply.cutAfter.value_or(reply.body.size()));
  lastAnswer_ = reply.cutAfter.has_value();
  write();
}

void ScriptedServiceSocket::Connection::write() {
  const bool waited = !out_.empty();
  while (!out_.empty()) {
    const ssize_t count = local_socket::send(socket_.get(), out_.data(), out_.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) break;
    if (count < 0) return close();
    out_.erase(0, static_cast<std::size_t>(count));
  }
  if (out_.empty() && lastAnswer_) return close();
  if (waited) wait();
}

ScriptedServiceSocket::ScriptedServiceSocket(MainLoop& loop, ScriptedService& service,
                                             std::uint16_t port)
    : loop_(loop), service_(service), listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
  ::fcntl(listener_.get(), F_SETFD, FD_CLOEXEC);
  const int on = 1;
  ::setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto named = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  const bool listening = ::bind(listener_.get(), named, size) == 0 &&
                         ::listen(listener_.get(), SOMAXCONN) == 0 &&
                         ::getsockname(listener_.get(), named, &size) == 0;
  if (!listening) return;
  port_ = ntohs(address.sin_port);
  watch_ = loop_.watch(listener_.get(), POLLIN, [this](std::uint32_t) { acceptOne(); });
}

ScriptedServiceSocket::~ScriptedServiceSocket() { closeConnections(); }

void ScriptedServiceSocket::acceptOne() {
  Descriptor peer = local_socket::accept(listener_.get());
  if (!peer) return;
  ++accepted_;
  connections_.push_back(std::make_shared<Connection>(*this, std::move(peer)));
}

void ScriptedServiceSocket::closeConnections() {
  while (!connections_.empty()) std::shared_ptr(connections_.back())->close();
}

}  // namespace brindle
