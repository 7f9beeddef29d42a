// How many records of each captured device were taken, in periods of a second. Once a silent second has been
// reported nothing is due any more until the next record, so that an idle capture never wakes up.
// Time comes from the caller, in nanoseconds of the monotonic clock. Worker thread only; nothing allocates.

#pragma once

#include "platform/event.h"
#include "workers/kmg_reports.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Vantor {

class KmgRates {
public:
    static constexpr std::int64_t kPeriodNs = 1'000'000'000;
    using Rates = std::array<std::uint32_t, kKmgDevices>; ///< by KmgDevice

    void restart() noexcept {
        counts = {};
        isPeriodOpen = false;
    }
    void count(KmgDevice device, std::int64_t nowNs) noexcept {
        if (!isPeriodOpen)
            periodStartNs = nowNs;
        isPeriodOpen = true;
        ++counts[static_cast<std::size_t>(device)];
    }

    /// Milliseconds until take() has something to give, rounded up; kWaitForever when it has nothing.
    std::uint32_t waitTimeoutMs(std::int64_t nowNs) const noexcept {
        constexpr std::int64_t kNsPerMs = 1'000'000;
        if (!isPeriodOpen)
            return platform::kWaitForever;
        const std::int64_t leftNs = std::clamp<std::int64_t>(periodStartNs + kPeriodNs - nowNs, 0, kPeriodNs);
        return static_cast<std::uint32_t>((leftNs + kNsPerMs - 1) / kNsPerMs);
    }

    /// The counts, once a period is full. The next one begins now, unless this one was silent.
    std::optional<Rates> take(std::int64_t nowNs) noexcept {
        if (!isPeriodOpen || nowNs - periodStartNs < kPeriodNs)
            return std::nullopt;
        periodStartNs = nowNs;
        isPeriodOpen = counts != Rates{};
        return std::exchange(counts, {});
    }

private:
    std::int64_t periodStartNs = 0;
    bool isPeriodOpen = false;
    Rates counts{};
};

} // namespace Vantor
