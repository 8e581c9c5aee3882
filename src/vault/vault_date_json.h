#pragma once

#include "base/json_fields.h"

namespace brindle {

/// A date as services write it, cut to whole seconds: RFC 3339 with or without a fraction, or
/// seconds since 2001.
bool readVaultDate(const Json& json, WallTime& out);

}  // namespace brindle
