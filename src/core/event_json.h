#pragma once

#include "base/json_node.h"
#include "base/json_writer.h"
#include "core/unlock_event.h"

namespace brindle {

/// Null when a required or strict field spoils the record.
EventRef readUnlockEvent(const JsonNode& json);
void writeUnlockEvent(JsonWriter& out, const UnlockEvent& event);

bool readJson(const JsonNode& json, CameraOffAlert& out);
void writeCameraOffAlert(JsonWriter& out, const CameraOffAlert& alert);

}  // namespace brindle
