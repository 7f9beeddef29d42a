// Gathers the three parts of a controller state. Entry point: FragmentStore::accept(). One thread; nothing
// allocates.

#pragma once

#include "device/report.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace Vantor {

/// First byte of the reports that carry a state.
enum class ControllerStateType : std::uint8_t {
    input = 0x13, ///< what the controller sends
    report = 0x14 ///< what the adapter puts out
};

/// Whether a report that begins with this byte can be a part of a controller state.
constexpr bool beginsControllerState(std::uint8_t firstByte) noexcept {
    return firstByte == static_cast<std::uint8_t>(ControllerStateType::input) ||
           firstByte == static_cast<std::uint8_t>(ControllerStateType::report);
}

inline constexpr std::size_t kStateParts = 3;
/// A complete state: part k at offset kInputReportBytes * k, as its report was read.
using StagedState = std::array<std::uint8_t, kStateParts * kInputReportBytes>;
using PartLengths = std::array<std::size_t, kStateParts>;

/// `report` may be null, else it has at least four bytes.
constexpr bool isStatePart(const std::uint8_t* report) noexcept {
    constexpr std::uint16_t kMark = 0x00AC;
    return report != nullptr && beginsControllerState(report[0]) && getBigEndian16(report + 1) == kMark &&
           report[3] < kStateParts;
}

class FragmentStore {
public:
    /// Takes an input report of `length` bytes. A part of a controller state is kept at its place, over one
    /// that is there already; anything else, and any length but 4..65, is ignored. When the three parts of a
    /// type are there they are staged, and that type is returned.
    std::optional<ControllerStateType> accept(const std::uint8_t* report, int length) noexcept;

    /// The last complete state and how many bytes of each part were read. Bytes behind those are left from
    /// earlier.
    const StagedState& staged() const noexcept { return staging->received; }
    const PartLengths& stagedLengths() const noexcept { return staging->lengths; }

private:
    struct Area {
        StagedState received{};
        PartLengths lengths{};
        std::uint8_t arrived = 0; ///< bit k: part k is there
    };

    std::array<Area, 2> areas; ///< input, report
    /// The complete state is read where it was gathered: a copy of bytes written a moment ago costs more than
    /// all else here.
    const Area* staging = areas.data();

    Area& areaOf(std::uint8_t type) noexcept {
        return areas[type == static_cast<std::uint8_t>(ControllerStateType::input) ? 0 : 1];
    }
    std::optional<ControllerStateType> acceptOfOddLength(const std::uint8_t* report, int length) noexcept;
    /// Notes that the part of that number has arrived in full.
    std::optional<ControllerStateType> completedBy(Area& area, std::size_t part, std::size_t bytes) noexcept;
};

// Inline, as far as it concerns what adapters send a thousand times a second.
inline std::optional<ControllerStateType> FragmentStore::accept(const std::uint8_t* report,
                                                                int length) noexcept {
    if (length != static_cast<int>(kPacketBytes))
        return acceptOfOddLength(report, length);
    if (!isStatePart(report))
        return std::nullopt;
    Area& area = areaOf(report[0]);
    const std::size_t part = report[3];
    std::memcpy(area.received.data() + part * kInputReportBytes, report, kPacketBytes);
    return completedBy(area, part, kPacketBytes);
}

inline std::optional<ControllerStateType> FragmentStore::completedBy(Area& area, std::size_t part,
                                                                     std::size_t bytes) noexcept {
    constexpr std::uint8_t kAllArrived = 0b111;
    area.lengths[part] = bytes;
    area.arrived = static_cast<std::uint8_t>(area.arrived | 1U << part);
    if (area.arrived != kAllArrived)
        return std::nullopt;
    staging = &area;
    area.arrived = 0;
    return &area == areas.data() ? ControllerStateType::input : ControllerStateType::report;
}

} // namespace Vantor
