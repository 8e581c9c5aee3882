#pragma once

#include <string>

#include "base/json_node.h"
#include "base/json_writer.h"
#include "base/result.h"
#include "core/arm_source.h"

namespace brindle {

/// The failure says what is wrong, such as "Unknown arm source thursday".
Result<ArmSource, std::string> readArmSource(const JsonNode& json);
void writeArmSource(JsonWriter& out, const ArmSource& source);

}  // namespace brindle
