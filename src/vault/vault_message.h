#pragma once

#include <string>
#include <string_view>

#include "service/service_client.h"

namespace brindle {

inline constexpr std::string_view signInFirst = "Sign in first.";
inline constexpr std::string_view somethingWrong = "Something went wrong. Try again.";

/// What a person is told about a vault or sharing request that did not work. `organisation`: its
/// name, one line, where it is known.
std::string vaultMessage(const ServiceAnswer& answer, std::string_view organisation = {});

}  // namespace brindle
