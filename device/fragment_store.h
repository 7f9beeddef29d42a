// Gathers the three parts of a controller state. Entry point: FragmentStore::accept(). One thread; nothing
// allocates.

#pragma once

#include "device/report.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Vantor {

/// First byte of the reports that carry a state.
enum class ControllerStateType : std::uint8_t {
    input = 0x13, ///< what the controller sends
    report = 0x14 ///< what the adapter puts out
};

inline constexpr std::size_t kStateParts = 3;
/// A complete state: part k at offset kInputReportBytes * k, as its report was read.
using StagedState = std::array<std::uint8_t, kStateParts * kInputReportBytes>;
using PartLengths = std::array<std::size_t, kStateParts>;

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
};

} // namespace Vantor
