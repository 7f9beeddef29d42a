// Puts the 0x60 packets of forwarded frames together again and keeps the books on them: whole, corrupt,
// repeated, out of order, missing, and how long they took. Entry point: FrameLedger::takePacket(). One
// thread; no allocation after construction.

#pragma once

#include "simulator/latency_histogram.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vantor::simulator {

struct FrameStatistics {
    std::uint64_t intact = 0; ///< test frames that arrived whole for the first time
    std::uint64_t corrupt = 0;
    std::uint64_t repeated = 0;
    std::uint64_t outOfOrder = 0; ///< intact ones behind a later one
    std::uint64_t missing = 0;    ///< numbers between the first and the latest that have not come
    std::uint64_t foreign = 0;    ///< whole, but of a producer that makes no test frames
    std::uint64_t firstSequence = 0;
    std::uint64_t lastSequence = 0;
};

class FrameLedger {
public:
    static constexpr std::size_t kChunkBytes = 60;

    /// Takes one 64-byte packet whose first byte is 0x60, arrived at `nowNs` of the clock that stamps frames.
    /// Returns null, or what is wrong with it (a text of static storage). A frame counts as corrupt once,
    /// whatever is wrong in it.
    const char* takePacket(std::span<const std::uint8_t, 64> packet, std::int64_t nowNs) noexcept;
    /// Whether the last packet taken was the last one of a whole frame; lastFrame() is that frame, until the
    /// next packet.
    bool frameIsWhole() const noexcept { return state == State::idle && frameBytes > 0; }
    std::span<const std::uint8_t> lastFrame() const noexcept { return std::span(frame).first(frameBytes); }
    /// Forgets a frame that is half here, uncounted: its sender was cut off.
    void dropPartialFrame() noexcept;

    const FrameStatistics& statistics() const noexcept { return counts; }
    const LatencyHistogram& latency() const noexcept { return latencies; }

private:
    enum class State { idle, assembling, discarding };
    // How far back a repeat is told from a late frame. Two or three frames are ever under way at once.
    static constexpr std::size_t kWindowFrames = 1024;

    const char* spoil(const char* reason) noexcept;
    const char* finishFrame(std::int64_t nowNs) noexcept;
    void countTestFrame(std::uint64_t sequence) noexcept;
    void advanceWindow(std::uint64_t sequence) noexcept;

    State state = State::idle;
    std::size_t frameBytes = 0;
    std::size_t nextChunk = 0;
    std::array<std::uint8_t, 300> frame{};
    bool testFrameSeen = false;
    std::bitset<kWindowFrames> arrived; ///< bit (sequence % size), for the last kWindowFrames numbers
    FrameStatistics counts;
    LatencyHistogram latencies;
};

} // namespace Vantor::simulator
