#include "app/terminal.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "app/command_message.h"

namespace brindle {
namespace {

constexpr std::size_t longestLine = command_protocol::longestSecret;

/// Reads byte by byte: a buffered stream would keep a copy of what was typed. Longer lines are cut
/// off where they get too long for any use. Nothing at the end of input.
template <std::size_t N>
std::optional<std::size_t> readLine(std::array<char, N>& line) {
  std::size_t length = 0;
  for (;;) {
    char next = 0;
    const ssize_t got = read(STDIN_FILENO, &next, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return length > 0 ? std::optional(length) : std::nullopt;
    if (next == '\n') return length;
    if (length < N) line[length++] = next;
  }
}

void show(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

}  // namespace

struct EchoOff::Saved {
  termios settings;
};

EchoOff::EchoOff(int fd) : fd_(fd) {
  termios settings{};
  if (tcgetattr(fd_, &settings) != 0) return;
  saved_ = new Saved{settings};
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  settings.c_lflag |= ECHONL;
  tcsetattr(fd_, TCSADRAIN, &settings);
}

EchoOff::~EchoOff() {
  if (!saved_) return;
  tcsetattr(fd_, TCSADRAIN, &saved_->settings);
  delete saved_;
}

void StandardTerminal::say(std::string_view line) {
  show(line);
  show("\n");
}

std::optional<std::string> StandardTerminal::ask(std::string_view prompt) {
  show(prompt);
  std::array<char, longestLine> line;
  const auto length = readLine(line);
  if (!length) return std::nullopt;
  return std::string(line.data(), *length);
}

std::optional<SecretText> StandardTerminal::askSecret(std::string_view prompt) {
  const EchoOff quiet(STDIN_FILENO);  // first: somebody may type as soon as the prompt shows
  show(prompt);
  std::array<char, longestLine> line;
  const auto length = readLine(line);
  std::optional<SecretText> secret;
  if (length) secret.emplace(std::string_view(line.data(), *length));
  wipe(line.data(), line.size());
  return secret;
}

}  // namespace brindle
