#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "base/result.h"
#include "base/secret_key.h"
#include "base/secret_text.h"

namespace brindle {

enum class KeyFileFailure { noPrivateKey, noPassphrase, wrongPassphrase, otherKind };

/// Reads a P-256 private key out of a PEM text (RFC 7468): PKCS#8 as `openssl genpkey` writes it
/// (RFC 5958), encrypted or not; the older form for elliptic curves will do. `ask` is called at
/// most once, and only for an encrypted one.
[[nodiscard]] Result<void, KeyFileFailure> readPrivateKey(
    ByteView pem, const std::function<std::optional<SecretText>()>& ask, SecretKey& out);

/// For a person; follows the file's name and a colon.
std::string_view explain(KeyFileFailure failure);

}  // namespace brindle
