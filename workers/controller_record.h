// Turns a decoded controller state into the record that other programs read. Any thread; nothing allocates.

#pragma once

#include "device/controller_state_decoder.h"
#include "host/records.h"

#include <cstdint>

namespace Vantor {

/// At most the first 21 buttons, clamped to 0..100, and the first 10 axes, clamped to -100..100; what the
/// state does not hold keeps the record's defaults. NaN becomes the lower bound, as does every value not
/// above it.
ControllerData makeControllerData(const DecodedState& state, std::uint64_t timestampNs,
                                  bool connected) noexcept;

} // namespace Vantor
