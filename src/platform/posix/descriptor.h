#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace brindle {

/// Owns a file descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      close();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  ~Descriptor() { close(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  /// Hands it over to somebody who closes it.
  int release() { return std::exchange(fd_, -1); }
  /// False with errno set when the system lost something it had accepted. The descriptor is gone
  /// either way: repeating an interrupted close could close somebody else's.
  bool close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || ::close(fd) == 0 || errno == EINTR;
  }

 private:
  int fd_ = -1;
};

/// Repeats a system call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

}  // namespace brindle
