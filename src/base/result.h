#pragma once

#include <expected>

namespace brindle {

/// A value, or the reason of this one operation for having none. `E` is a closed enum (or a small
/// record) of that operation's failures; exceptions do not cross our functions.
template <class T, class E>
using Result = std::expected<T, E>;

template <class E>
using Failure = std::unexpected<E>;

}  // namespace brindle
