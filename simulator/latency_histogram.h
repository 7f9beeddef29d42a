// Percentiles of durations in fixed storage: a log-linear histogram, each value kept within 0.4 %. One
// thread.

#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Vantor::simulator {

class LatencyHistogram {
public:
    void add(std::uint64_t nanoseconds) noexcept {
        ++buckets[bucketOf(nanoseconds)];
        ++total;
        largest = std::max(largest, nanoseconds);
    }

    std::uint64_t samples() const noexcept { return total; }
    std::uint64_t maximum() const noexcept { return largest; }

    /// The smallest value that at least `percent` (0..100) of the samples do not exceed, 0 without samples.
    std::uint64_t percentile(unsigned percent) const noexcept {
        const std::uint64_t wanted = std::max<std::uint64_t>(1, (total * percent + 99) / 100);
        std::uint64_t passed = 0;
        for (std::size_t bucket = 0; bucket < buckets.size(); ++bucket) {
            passed += buckets[bucket];
            if (passed >= wanted)
                return std::min(middleOf(bucket), largest);
        }
        return 0;
    }

private:
    // Values below 256 have a bucket each; above, every power of two is cut into 128.
    static constexpr unsigned kStepBits = 7;
    static constexpr std::size_t kSteps = std::size_t{1} << kStepBits;
    static constexpr std::size_t kBuckets = (64 - kStepBits + 1) * kSteps; // that of 2^64 - 1 is the last

    static constexpr unsigned shiftOf(std::uint64_t value) noexcept {
        const auto width = static_cast<unsigned>(std::bit_width(value));
        return width > kStepBits + 1 ? width - kStepBits - 1 : 0;
    }
    static constexpr std::size_t bucketOf(std::uint64_t value) noexcept {
        const unsigned shift = shiftOf(value);
        return shift * kSteps + static_cast<std::size_t>(value >> shift);
    }
    static constexpr std::uint64_t middleOf(std::size_t bucket) noexcept {
        if (bucket < 2 * kSteps)
            return bucket;
        const auto shift = static_cast<unsigned>(bucket / kSteps - 1);
        const std::uint64_t low = static_cast<std::uint64_t>(bucket - shift * kSteps) << shift;
        return low + (std::uint64_t{1} << shift) / 2;
    }

    std::array<std::uint64_t, kBuckets> buckets{};
    std::uint64_t total = 0;
    std::uint64_t largest = 0;
};

} // namespace Vantor::simulator
