#pragma once

namespace brindle {

/// First thing in every program of ours: files are private unless said otherwise, and neither a
/// core file nor another process of this user gets at our memory, where a PIN may lie.
void harden();

}  // namespace brindle
