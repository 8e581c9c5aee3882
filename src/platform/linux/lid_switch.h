#pragma once

namespace brindle {

/// Some input device of this machine is a lid, as the kernel lists them (SW_LID among an event
/// device's switches).
bool hasLidSwitch();

}  // namespace brindle
