#include "device/controller_state_decoder.h"

#include <algorithm>
#include <span>

namespace Vantor {

namespace {

using Part = std::span<const std::uint8_t>;

constexpr std::int64_t kValueBytes = 4;
// The axes of the second part follow six buttons, whatever the layout says of buttons.
constexpr std::int64_t kAxesBeginStrides = 6;

// Rounded once, which is what one fused multiply-add of the integer and the fraction half gives; the scaling
// is exact.
float valueAt(const std::uint8_t* bytes) noexcept {
    return static_cast<float>(static_cast<std::int32_t>(getBigEndian32(bytes))) * 0x1p-16F;
}

// Appends values from `position` on, `stride` apart, while a whole stride lies within the part and there is
// room.
void appendValues(Part part, std::size_t length, std::int64_t position, std::int64_t stride,
                  std::int64_t limit, std::span<float> room, std::int32_t& count) noexcept {
    const auto end = static_cast<std::int64_t>(std::min(length, part.size()));
    for (std::int64_t taken = 0; taken < limit; ++taken, position += stride) {
        // A stride shorter than a value lets the last one reach past the bytes that were read, never past the
        // part.
        if (position + stride > end || position + kValueBytes > static_cast<std::int64_t>(part.size()) ||
            static_cast<std::size_t>(count) == room.size())
            return;
        room[static_cast<std::size_t>(count++)] = valueAt(part.data() + position);
    }
}

} // namespace

void decodeControllerState(const DecoderLayout& layout, const StagedState& parts, const PartLengths& lengths,
                           DecodedState& state) noexcept {
    state.buttonCount = 0;
    state.axisCount = 0;
    const std::int64_t stride = layout.stride;
    const std::int64_t first = layout.firstOffset;
    if (stride < 1 || first < 0)
        return;
    const auto part = [&parts](std::size_t index) {
        return Part(parts).subspan(index * kInputReportBytes, kInputReportBytes);
    };
    const auto buttons = std::span(state.values).first<kMaxButtonValues>();
    for (std::size_t index = 0; index < kStateParts; ++index)
        appendValues(part(index), lengths[index], first, stride, layout.buttonCounts[index], buttons,
                     state.buttonCount);
    const auto axes = std::span(state.values).last<kMaxAxisValues>();
    constexpr auto kNoLimit = static_cast<std::int64_t>(kMaxAxisValues);
    appendValues(part(1), lengths[1], first + kAxesBeginStrides * stride, stride, kNoLimit, axes,
                 state.axisCount);
    appendValues(part(2), lengths[2], first, stride, kNoLimit, axes, state.axisCount);
}

} // namespace Vantor
