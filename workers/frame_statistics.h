// What is measured of the outbound traffic, in periods of a second: packet rate, frame rate, latency and its
// jitter. Time always comes from the caller, in nanoseconds of the monotonic clock. Worker thread only;
// nothing allocates.

#pragma once

#include <cstdint>
#include <optional>

namespace Vantor {

class FrameStatistics {
public:
    static constexpr std::int64_t kPeriodNs = 1'000'000'000;

    struct FrameFigures {
        std::uint32_t frames = 0; ///< forwarded in the period
        double latencyMs = 0;     ///< mean, producer's stamp to last packet written; 0 without samples
        double jitterMs = 0;      ///< standard deviation of the latency; 0 below two samples
    };

    /// Forgets everything and begins both periods now.
    void restart(std::int64_t nowNs) noexcept;

    void packetWritten() noexcept { ++packetsSent; }
    /// A stamp of 0 means that the producer gave none: the frame counts, its latency does not. The difference
    /// is taken unsigned, so a stamp from another clock that lies ahead shows as an absurdly large latency,
    /// not as a good one.
    void frameForwarded(std::int64_t timestampNs, std::int64_t nowNs) noexcept;

    /// How long a wait may last before one of the periods is due: 0..1000.
    std::uint32_t waitTimeoutMs(std::int64_t nowNs) const noexcept;

    /// Packets written, once a period is full; the next one begins now. Nothing before that.
    std::optional<std::uint32_t> takePacketRate(std::int64_t nowNs) noexcept;
    std::optional<FrameFigures> takeFrameFigures(std::int64_t nowNs) noexcept;

    /// The last frame's latency within a period, the mean right after its end.
    double latencyMs() const noexcept { return lastLatencyMs; }
    double jitterMs() const noexcept { return lastJitterMs; }

private:
    std::int64_t ratePeriodStartNs = 0;
    std::int64_t cvPeriodStartNs = 0;
    std::uint32_t packetsSent = 0;
    std::uint32_t cvFrames = 0;
    std::uint32_t samples = 0;
    double latencySumMs = 0;
    double latencySquareSumMs2 = 0;
    double lastLatencyMs = 0;
    double lastJitterMs = 0;
};

} // namespace Vantor
