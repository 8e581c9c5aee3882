#pragma once

#include <string>
#include <string_view>

#include "base/bytes.h"

namespace brindle {

/// Overwrites memory in a way the optimiser may not drop.
void wipe(void* data, std::size_t size);
void wipe(Bytes& bytes);
void wipe(std::string& text);

/// Text that a person typed to prove themself: a PIN or an answer. It wipes its memory when it
/// goes, is never logged, and cannot be copied by accident (use `duplicate`).
class SecretText {
 public:
  SecretText() = default;
  explicit SecretText(std::string_view text);
  /// Takes the text over and wipes the source.
  static SecretText take(std::string& text);
  SecretText(SecretText&& other) noexcept;
  SecretText& operator=(SecretText&& other) noexcept;
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;
  ~SecretText();

  SecretText duplicate() const { return SecretText(view()); }
  std::string_view view() const { return {text_.data(), text_.size()}; }
  bool empty() const { return text_.empty(); }

 private:
  std::vector<char> text_;  // never a short-string buffer: a move must not leave a copy behind
};

}  // namespace brindle
