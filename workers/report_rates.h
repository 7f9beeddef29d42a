// How many complete controller states of each kind arrived, in periods of a second.
// Time comes from the caller, in nanoseconds of the monotonic clock. Worker thread only; nothing allocates.

#pragma once

#include <cstdint>
#include <optional>
#include <utility>

namespace Vantor {

class ReportRates {
public:
    static constexpr std::int64_t kPeriodNs = 1'000'000'000;

    struct Rates {
        std::uint32_t inputReports = 0;
        std::uint32_t stateReports = 0;
    };

    void restart(std::int64_t nowNs) noexcept {
        counts = {};
        periodStartNs = nowNs;
    }
    void countInput() noexcept { ++counts.inputReports; }
    void countState() noexcept { ++counts.stateReports; }

    /// The counts, once a period is full; the next one begins now. Nothing before that.
    std::optional<Rates> take(std::int64_t nowNs) noexcept {
        if (nowNs - periodStartNs < kPeriodNs)
            return std::nullopt;
        periodStartNs = nowNs;
        return std::exchange(counts, {});
    }

private:
    std::int64_t periodStartNs = 0;
    Rates counts;
};

} // namespace Vantor
