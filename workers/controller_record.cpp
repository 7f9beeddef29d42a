#include "workers/controller_record.h"

#include <algorithm>
#include <cstddef>
#include <span>

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
    if (value > bounds.upper)
        return bounds.upper;
    return value >= bounds.lower ? value : bounds.lower;
}

void copyClamped(std::span<const float> values, std::int32_t count, Bounds bounds,
                 std::span<float> out) noexcept {
    const std::size_t present = count > 0 ? static_cast<std::size_t>(count) : 0;
    const std::size_t copied = std::min({present, values.size(), out.size()});
    for (std::size_t i = 0; i < copied; ++i)
        out[i] = clampTo(bounds, values[i]);
}

} // namespace

ControllerData makeControllerData(const DecodedState& state, std::uint64_t timestampNs,
                                  bool connected) noexcept {
    ControllerData record;
    const std::span<const float> values(state.values);
    copyClamped(values.first(kMaxButtonValues), state.buttonCount, kButtonBounds, record.buttons);
    copyClamped(values.subspan(kMaxButtonValues), state.axisCount, kAxisBounds, record.axes);
    record.timestampNs = timestampNs;
    record.connected = connected ? 1 : 0;
    return record;
}

} // namespace Vantor
