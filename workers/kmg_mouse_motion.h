// What a mouse has moved between two of its records, so that no motion is lost with records that were
// overwritten before anybody saw them. Worker thread only; nothing allocates.

#pragma once

#include "host/records.h"
#include "workers/kmg_reports.h"

#include <cstdint>

namespace Vantor {

class MouseMotionTracker {
public:
    /// Forgets the writer: the next record counts by its own motion.
    void restart() noexcept { known = {}; }

    /// The motion since the record given before. Without totals, or with those of another writer than before,
    /// it is the record's own motion.
    MouseMotion take(const MouseData& record) noexcept {
        const bool isSameWriter = record.totalsStartNs != 0 && record.totalsStartNs == known.startNs;
        const MouseMotion motion =
            isSameWriter ? MouseMotion{.x = difference(record.totalX, known.x),
                                       .y = difference(record.totalY, known.y),
                                       .wheel = difference(record.totalWheel, known.wheel)}
                         : MouseMotion{.x = record.motionX, .y = record.motionY, .wheel = record.wheel};
        known = {.startNs = record.totalsStartNs,
                 .x = record.totalX,
                 .y = record.totalY,
                 .wheel = record.totalWheel};
        return motion;
    }

private:
    struct Totals {
        std::uint64_t startNs = 0;
        std::int64_t x = 0;
        std::int64_t y = 0;
        std::int64_t wheel = 0;
    };

    /// Wraps, as the totals do.
    static std::int64_t difference(std::int64_t now, std::int64_t before) noexcept {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(now) -
                                         static_cast<std::uint64_t>(before));
    }

    Totals known;
};

} // namespace Vantor
