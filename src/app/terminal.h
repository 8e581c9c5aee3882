#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/secret_text.h"

namespace brindle {

/// The person at the terminal of a command. Blocking; for commands, not for the running guard.
class Terminal {
 public:
  virtual ~Terminal() = default;
  virtual void say(std::string_view line) = 0;
  /// One typed line; nothing at the end of input.
  virtual std::optional<std::string> ask(std::string_view prompt) = 0;
  /// The same without showing what is typed.
  virtual std::optional<SecretText> askSecret(std::string_view prompt) = 0;
};

/// Standard input and output. Secrets are read from the controlling terminal with its echo off;
/// where there is none, from standard input, so that another program can hand them over through a
/// pipe.
class StandardTerminal final : public Terminal {
 public:
  void say(std::string_view line) override;
  std::optional<std::string> ask(std::string_view prompt) override;
  std::optional<SecretText> askSecret(std::string_view prompt) override;
};

/// Turns the echo of a terminal off until it goes; does nothing for what is no terminal.
class EchoOff {
 public:
  explicit EchoOff(int fd);
  ~EchoOff();
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  struct Saved;
  int fd_;
  Saved* saved_ = nullptr;
};

}  // namespace brindle
