#include "simulator/frame_ledger.h"

#include "simulator/test_frame.h"

#include <algorithm>

namespace Vantor::simulator {

namespace {

// Whether bytes look as if a test frame had been damaged. Its pattern rises by 13 per byte, which survives a
// few wrong bytes.
bool resemblesTestFrame(std::span<const std::uint8_t> frame) noexcept {
    std::size_t steps = 0;
    std::size_t compared = 0;
    for (std::size_t index = kMinTestFrameBytes + 1; index < frame.size(); ++index) {
        ++compared;
        steps += static_cast<std::uint8_t>(frame[index] - frame[index - 1]) == 13 ? 1 : 0;
    }
    return compared > 0 && steps * 2 >= compared;
}

} // namespace

const char* FrameLedger::takePacket(std::span<const std::uint8_t, 64> packet, std::int64_t nowNs) noexcept {
    const std::size_t length = packet[2];
    const std::size_t chunk = packet[3];
    if (packet[1] != 0)
        return spoil("frame packet: byte 1 is not zero");
    if (length == 0)
        return spoil("frame packet: the frame's length is zero");
    if (chunk * kChunkBytes >= length)
        return spoil("frame packet: chunk index behind the frame's end");

    const char* problem = nullptr;
    if (chunk == 0) {
        if (state == State::assembling)
            problem = spoil("frame packet: a new frame before the last one was complete");
        state = State::assembling;
        frameBytes = length;
        nextChunk = 0;
    } else if (state != State::assembling) {
        return spoil("frame packet: a chunk whose frame has not begun");
    }
    if (length != frameBytes)
        return spoil("frame packet: the frame's length changes between its chunks");
    if (chunk != nextChunk)
        return spoil("frame packet: a chunk repeated or left out");

    const std::size_t begin = chunk * kChunkBytes;
    const std::size_t bytes = std::min(kChunkBytes, length - begin);
    std::copy_n(packet.begin() + 4, bytes, frame.begin() + static_cast<std::ptrdiff_t>(begin));
    const auto padding = packet.subspan(4 + bytes);
    if (std::any_of(padding.begin(), padding.end(), [](std::uint8_t byte) { return byte != 0; }))
        return spoil("frame packet: the padding is not zero");
    ++nextChunk;
    if (begin + bytes < length)
        return problem;
    const char* frameProblem = finishFrame(nowNs);
    return problem != nullptr ? problem : frameProblem;
}

void FrameLedger::dropPartialFrame() noexcept {
    state = State::idle;
}

const char* FrameLedger::spoil(const char* reason) noexcept {
    if (state != State::discarding)
        ++counts.corrupt;
    state = State::discarding;
    return reason;
}

const char* FrameLedger::finishFrame(std::int64_t nowNs) noexcept {
    state = State::idle;
    const std::span<const std::uint8_t> bytes = std::span(frame).first(frameBytes);
    const auto info = checkTestFrame(bytes);
    if (!info) {
        if (testFrameSeen || resemblesTestFrame(bytes)) {
            ++counts.corrupt;
            return "frame: the checksum does not fit its content";
        }
        ++counts.foreign;
        return nullptr;
    }
    countTestFrame(info->sequence);
    if (nowNs >= 0 && info->stampNs != 0 && info->stampNs <= static_cast<std::uint64_t>(nowNs))
        latencies.add(static_cast<std::uint64_t>(nowNs) - info->stampNs);
    return nullptr;
}

void FrameLedger::countTestFrame(std::uint64_t sequence) noexcept {
    if (!testFrameSeen) {
        testFrameSeen = true;
        counts.firstSequence = sequence;
        counts.lastSequence = sequence;
        arrived.set(sequence % kWindowFrames);
        ++counts.intact;
        return;
    }
    if (sequence > counts.lastSequence) {
        counts.missing += sequence - counts.lastSequence - 1;
        advanceWindow(sequence);
        ++counts.intact;
        return;
    }
    const bool inWindow = counts.lastSequence - sequence < kWindowFrames;
    if (inWindow && arrived.test(sequence % kWindowFrames)) {
        ++counts.repeated;
        return;
    }
    ++counts.outOfOrder;
    ++counts.intact;
    if (sequence > counts.firstSequence && counts.missing > 0)
        --counts.missing;
    if (inWindow)
        arrived.set(sequence % kWindowFrames);
}

void FrameLedger::advanceWindow(std::uint64_t sequence) noexcept {
    const std::uint64_t steps = sequence - counts.lastSequence;
    if (steps >= kWindowFrames)
        arrived.reset();
    else
        for (std::uint64_t skipped = counts.lastSequence + 1; skipped < sequence; ++skipped)
            arrived.reset(skipped % kWindowFrames);
    arrived.set(sequence % kWindowFrames);
    counts.lastSequence = sequence;
}

} // namespace Vantor::simulator
