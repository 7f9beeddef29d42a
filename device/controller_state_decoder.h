// Turns a complete controller state into numbers. Entry point: decodeControllerState(). Any thread; nothing
// allocates.

#pragma once

#include "device/fragment_store.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vantor {

inline constexpr std::size_t kMaxButtonValues = 21;
inline constexpr std::size_t kMaxAxisValues = 17;

/// Where the values stand in the parts; in bytes, except the counts.
struct DecoderLayout {
    std::int32_t stride = 4;
    std::int32_t firstOffset = 4;
    std::array<std::int32_t, kStateParts> buttonCounts{15, 6, 0}; ///< how many buttons each part holds
};
static_assert(sizeof(DecoderLayout) == 5 * sizeof(std::int32_t));

struct DecodedState {
    /// Buttons from 0 on, axes from kMaxButtonValues on; behind the counts below values are left from
    /// earlier.
    std::array<float, kMaxButtonValues + kMaxAxisValues> values{};
    std::int32_t buttonCount = 0;
    std::int32_t axisCount = 0;
};

/// Decodes `parts`, of which `lengths` bytes each (what exceeds a part's 65 is not there) are valid. A value
/// is 4 bytes, a big-endian 16.16 fixed-point number. Short parts give fewer values. A layout without sense,
/// its stride below 1 or its first offset below 0, gives none; no layout makes it read outside the part.
void decodeControllerState(const DecoderLayout& layout, const StagedState& parts, const PartLengths& lengths,
                           DecodedState& state) noexcept;

} // namespace Vantor
