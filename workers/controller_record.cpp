#include "workers/controller_record.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Vantor {

namespace {

struct Bounds {
    float lower;
    float upper;
};
constexpr Bounds kButtonBounds{0.0F, 100.0F};
constexpr Bounds kAxisBounds{-100.0F, 100.0F};

/// Unlike std::clamp, sends NaN to the lower bound: it compares false with everything.
constexpr float clampTo(Bounds bounds, float value) noexcept {
    const float raised = value > bounds.lower ? value : bounds.lower;
    return raised < bounds.upper ? raised : bounds.upper;
}

template<std::size_t Size>
void copyClamped(const float* values, std::int32_t count, Bounds bounds,
                 std::array<float, Size>& out) noexcept {
    for (std::size_t i = 0; i < Size; ++i)
        out[i] = clampTo(bounds, values[i]);
    for (std::size_t i = count > 0 ? static_cast<std::size_t>(count) : 0; i < Size; ++i)
        out[i] = 0;
}

} // namespace

ControllerData makeControllerData(const DecodedState& state, std::uint64_t timestampNs,
                                  bool connected) noexcept {
    ControllerData record;
    copyClamped(state.values.data(), state.buttonCount, kButtonBounds, record.buttons);
    copyClamped(state.values.data() + kMaxButtonValues, state.axisCount, kAxisBounds, record.axes);
    record.timestampNs = timestampNs;
    record.connected = connected ? 1 : 0;
    return record;
}

} // namespace Vantor
