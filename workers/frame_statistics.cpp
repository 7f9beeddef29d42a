#include "workers/frame_statistics.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Vantor {

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr double kMsPerNs = 1e-6;

double standardDeviation(double sum, double squareSum, std::uint32_t count) noexcept {
    if (count < 2)
        return 0;
    const double mean = sum / count;
    // Rounding can leave equal samples slightly below zero.
    const double variance = squareSum / count - mean * mean;
    return variance > 0 ? std::sqrt(variance) : 0;
}

} // namespace

void FrameStatistics::restart(std::int64_t nowNs) noexcept {
    *this = FrameStatistics{};
    ratePeriodStartNs = nowNs;
    cvPeriodStartNs = nowNs;
}

void FrameStatistics::frameForwarded(std::int64_t timestampNs, std::int64_t nowNs) noexcept {
    ++cvFrames;
    if (timestampNs == 0)
        return;
    const auto latencyNs =
        static_cast<double>(static_cast<std::uint64_t>(nowNs) - static_cast<std::uint64_t>(timestampNs));
    lastLatencyMs = latencyNs * kMsPerNs;
    latencySumMs += latencyNs * kMsPerNs;
    latencySquareSumMs2 += (latencyNs * latencyNs) * (kMsPerNs * kMsPerNs);
    ++samples;
}

std::uint32_t FrameStatistics::waitTimeoutMs(std::int64_t nowNs) const noexcept {
    const std::int64_t elapsedNs = std::max(nowNs - ratePeriodStartNs, nowNs - cvPeriodStartNs);
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>((kPeriodNs / kNsPerMs) - (elapsedNs / kNsPerMs), 0, kPeriodNs / kNsPerMs));
}

std::optional<std::uint32_t> FrameStatistics::takePacketRate(std::int64_t nowNs) noexcept {
    if (nowNs - ratePeriodStartNs < kPeriodNs)
        return std::nullopt;
    ratePeriodStartNs = nowNs;
    return std::exchange(packetsSent, 0);
}

std::optional<FrameStatistics::FrameFigures> FrameStatistics::takeFrameFigures(std::int64_t nowNs) noexcept {
    if (nowNs - cvPeriodStartNs < kPeriodNs)
        return std::nullopt;
    lastLatencyMs = samples > 0 ? latencySumMs / samples : 0;
    lastJitterMs = standardDeviation(latencySumMs, latencySquareSumMs2, samples);
    const FrameFigures figures{cvFrames, lastLatencyMs, lastJitterMs};
    cvFrames = 0;
    samples = 0;
    latencySumMs = 0;
    latencySquareSumMs2 = 0;
    cvPeriodStartNs = nowNs;
    return figures;
}

} // namespace Vantor
