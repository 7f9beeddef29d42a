// Input reports as the adapter sends them for its controller states.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vantor::test {

/// Values of a controller state in whole units; the others are 0.
struct Parts {
    std::int16_t firstButton = 0;
    std::int16_t firstAxis = 0;
};

/// Part `index` of a state of the given type: 64 bytes, values as big-endian 16.16 from byte 4 on. The first
/// axis stands at byte 28 of part 1.
inline std::vector<std::uint8_t> part(std::uint8_t type, int index, const Parts& parts) {
    std::vector<std::uint8_t> report(64);
    report[0] = type;
    report[2] = 0xAC;
    report[3] = static_cast<std::uint8_t>(index);
    const auto put = [&report](std::size_t offset, std::int16_t value) {
        const auto bits = static_cast<std::uint16_t>(value);
        report[offset] = static_cast<std::uint8_t>(bits >> 8);
        report[offset + 1] = static_cast<std::uint8_t>(bits);
    };
    if (index == 0)
        put(4, parts.firstButton);
    if (index == 1)
        put(28, parts.firstAxis);
    return report;
}

} // namespace Vantor::test
