#include "app/control_socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "app/instance_lock.h"
#include "platform/file_step.h"
#include "platform/posix/local_socket.h"

namespace brindle {
namespace {

bool addressOf(const std::string& path, sockaddr_un& address) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  path.copy(address.sun_path, path.size());
  return true;
}

const sockaddr* asGeneric(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace

class ControlSocket::Connection {
 public:
  Connection(ControlSocket& owner, int id, Descriptor socket)
      : owner_(owner), id_(id), socket_(std::move(socket)) {
    session_ = owner_.makeSession_([this](Reply reply) { send(reply); });
    watch(POLLIN);
    limit(owner_.limits_.request);
  }

 private:
  void watch(std::uint32_t events) {
    if (std::exchange(watched_, events) == events) return;
    watch_ =
        owner_.scheduler_.watch(socket_.get(), events, [this](std::uint32_t seen) { ready(seen); });
  }
  void limit(Duration time) {
    limit_ = owner_.scheduler_.after(time, [this] { close(); });
  }
  /// Later, not now: whoever calls may be a function of this connection or of its session.
  void close() {
    if (std::exchange(closing_, true)) return;
    owner_.scheduler_.post(owner_.lifetime_.guard([&owner = owner_, id = id_] { owner.drop(id); }));
  }

  void ready(std::uint32_t seen) {
    if (closing_) return;
    if (seen & POLLOUT) return flush();
    std::array<char, 4096> bytes;
    const ssize_t got = recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) return close();
    reader_.feed({bytes.data(), static_cast<std::size_t>(got)});
    wipe(bytes.data(), static_cast<std::size_t>(got));
    takeRequests();
  }

  void takeRequests() {
    for (;;) {
      Request request;
      const auto next = reader_.next(request);
      if (next == RequestReader::Next::more) return;
      if (next == RequestReader::Next::bad || !session_->receive(std::move(request))) {
        owner_.log_.notice("socket: request not understood, connection closed");
        return close();
      }
      // The person now types a proof, or the guard is at work on the request.
      limit(owner_.limits_.step);
    }
  }

  void send(const Reply& reply) {
    out_ += encodeReply(reply);
    flush();
  }

  void flush() {
    while (!out_.empty()) {
      const ssize_t sent = local_socket::send(socket_.get(), out_.data(), out_.size());
      if (sent < 0 && errno == EINTR) continue;
      if (sent < 0 && errno == EAGAIN) return watch(POLLOUT);
      if (sent < 0) return close();
      out_.erase(0, static_cast<std::size_t>(sent));
    }
    if (session_ && session_->over()) return close();
    watch(POLLIN);
  }

  ControlSocket& owner_;
  int id_;
  Descriptor socket_;
  RequestReader reader_;
  std::string out_;
  bool closing_ = false;
  std::uint32_t watched_ = 0;
  std::unique_ptr<CommandSession> session_;
  Timer limit_;
  Subscription watch_;  // ends before the descriptor is closed
};

ControlSocket::ControlSocket(MainLoop& scheduler, Log log, MakeSession makeSession, Limits limits)
    : scheduler_(scheduler), log_(log), makeSession_(std::move(makeSession)), limits_(limits) {}

ControlSocket::~ControlSocket() {
  if (listener_) unlink(path_.c_str());
}

std::optional<std::string> ControlSocket::listen(const std::string& path) {
  sockaddr_un address;
  if (!addressOf(path, address)) return path + " is too long for a socket";
  if (auto why = makePrivateFolder(folderOf(path))) return why;
  Descriptor socket = local_socket::make(/*nonBlocking=*/true);
  unlink(path.c_str());
  if (!socket || bind(socket.get(), asGeneric(address), sizeof address) != 0 ||
      ::listen(socket.get(), mostConnections) != 0) {
    return "cannot listen at " + path + ": " + std::strerror(errno);
  }
  path_ = path;
  listener_ = std::move(socket);
  watch_ = scheduler_.watch(listener_.get(), POLLIN, [this](std::uint32_t) { accept(); });
  return std::nullopt;
}

void ControlSocket::accept() {
  Descriptor peer = local_socket::accept(listener_.get());
  if (!peer) return;
  const auto user = local_socket::peerUser(peer.get());
  if (user != geteuid()) {
    log_.notice("socket: refused, user %{public}ld", user ? static_cast<long>(*user) : -1L);
    return;
  }
  if (connections_.size() >= mostConnections) {
    log_.notice("socket: refused, %{public}ld connections", connections_.size());
    return;
  }
  const int id = ++lastId_;
  connections_.emplace(id, std::make_unique<Connection>(*this, id, std::move(peer)));
}

void ControlSocket::drop(int id) { connections_.erase(id); }

ControlClient::Outcome ControlClient::connect(const std::string& path) {
  sockaddr_un address;
  if (!addressOf(path, address)) return Outcome::failed;
  Descriptor socket = local_socket::make(/*nonBlocking=*/false);
  if (!socket) return Outcome::failed;
  if (::connect(socket.get(), asGeneric(address), sizeof address) != 0) {
    const bool nobody = errno == ENOENT || errno == ECONNREFUSED || errno == ENOTDIR;
    return nobody ? Outcome::nobodyThere : Outcome::failed;
  }
  if (local_socket::peerUser(socket.get()) != geteuid()) return Outcome::failed;
  socket_ = std::move(socket);
  return Outcome::connected;
}

bool ControlClient::send(const Request& request) {
  std::string text = encodeRequest(request);
  std::size_t at = 0;
  while (at < text.size()) {
    const ssize_t sent = uninterrupted(
        [&] { return local_socket::send(socket_.get(), text.data() + at, text.size() - at); });
    if (sent < 0) break;
    at += static_cast<std::size_t>(sent);
  }
  const bool whole = at == text.size();
  wipe(text);
  return whole;
}

std::optional<Reply> ControlClient::receive() {
  std::size_t searched = 0;
  for (;;) {
    const auto end = received_.find('\n', searched);
    if (end != std::string::npos) {
      auto reply = decodeReply(std::string_view(received_).substr(0, end));
      received_.erase(0, end + 1);
      return reply;
    }
    searched = received_.size();
    if (searched > command_protocol::longestReply) return std::nullopt;
    std::array<char, 16 * 1024> bytes;
    const ssize_t got =
        uninterrupted([&] { return recv(socket_.get(), bytes.data(), bytes.size(), 0); });
    if (got <= 0) return std::nullopt;
    received_.append(bytes.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace brindle
