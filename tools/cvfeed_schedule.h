// When the frames of a steady rate are due. Every deadline is counted from the start, so that errors never
// add up; slots that have passed are skipped and counted instead of being made up for in a burst. One thread.

#pragma once

#include <cmath>
#include <cstdint>

namespace Vantor {

class FrameSchedule {
public:
    /// `hz` frames in a second, the first at `startNs`. 0: always due at once.
    FrameSchedule(double hz, std::int64_t startNs) noexcept
        : periodNs(hz > 0 ? kNsPerSecond / hz : 0), start(startNs) {}

    std::int64_t deadlineNs() const noexcept {
        return start + static_cast<std::int64_t>(std::llround(static_cast<double>(slot) * periodNs));
    }

    /// The frame of the current deadline went out at `nowNs`: on to the next deadline that is not a whole
    /// period past.
    void advance(std::int64_t nowNs) noexcept {
        ++slot;
        if (periodNs <= 0)
            return;
        const double passed = std::floor(static_cast<double>(nowNs - start) / periodNs);
        if (passed > static_cast<double>(slot)) {
            const auto target = static_cast<std::uint64_t>(passed);
            skippedSlots += target - slot;
            slot = target;
        }
    }

    /// Slots in which no frame could go out since an earlier one took too long.
    std::uint64_t skipped() const noexcept { return skippedSlots; }

private:
    static constexpr double kNsPerSecond = 1e9;

    double periodNs;
    std::int64_t start;
    std::uint64_t slot = 0;
    std::uint64_t skippedSlots = 0;
};

} // namespace Vantor
