#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace brindle {

/// What `brindle-unseal` was started for.
struct UnsealArguments {
  bool help = false;
  bool list = false;
  std::string key, out;
  std::vector<std::string> blobs;
};

/// An explanation when they make no sense.
Result<UnsealArguments, std::string> readUnsealArguments(std::span<const std::string> words);

std::string_view unsealUsage();

}  // namespace brindle
