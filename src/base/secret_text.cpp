#include "base/secret_text.h"

#include <utility>

namespace brindle {

void wipe(void* data, std::size_t size) {
  volatile unsigned char* at = static_cast<volatile unsigned char*>(data);
  for (std::size_t i = 0; i < size; ++i) at[i] = 0;
}

void wipe(Bytes& bytes) {
  wipe(bytes.data(), bytes.size());
  bytes.clear();
}

void wipe(std::string& text) {
  wipe(text.data(), text.size());
  text.clear();
}

SecretText::SecretText(std::string_view text) : text_(text.begin(), text.end()) {}

SecretText SecretText::take(std::string& text) {
  SecretText secret(text);
  wipe(text);
  return secret;
}

SecretText::SecretText(SecretText&& other) noexcept : text_(std::exchange(other.text_, {})) {}

SecretText& SecretText::operator=(SecretText&& other) noexcept {
  if (this != &other) {
    wipe(text_.data(), text_.size());
    text_ = std::exchange(other.text_, {});
  }
  return *this;
}

SecretText::~SecretText() { wipe(text_.data(), text_.size()); }

}  // namespace brindle
