#include "simulator/transfer_assembler.h"

#include <algorithm>

namespace Vantor::simulator {

namespace {

constexpr std::size_t kChunkBytes = 60;
constexpr std::size_t kDataOffset = 4;
constexpr std::uint8_t kSlots = 9;

std::size_t announcedLength(const TransferKind& kind, std::span<const std::uint8_t, 64> packet) noexcept {
    return kind.wideLength ? std::size_t{packet[1]} << 8 | packet[2] : packet[2];
}

} // namespace

TransferAssembler::Result TransferAssembler::take(const TransferKind& kind,
                                                  std::span<const std::uint8_t, 64> packet) noexcept {
    Result result;
    const std::size_t chunk = packet[3];
    if (chunk == 0)
        result.abandoned = drop();
    else if (state == State::discarding)
        return result;
    result.problem = problemOf(kind, packet);
    if (result.problem != nullptr) {
        state = State::discarding;
        return result;
    }
    if (chunk == 0) {
        state = State::assembling;
        command = kind.command;
        length = announcedLength(kind, packet);
        nextChunk = 0;
    }
    const std::size_t begin = chunk * kChunkBytes;
    const std::size_t count = std::min(kChunkBytes, length - begin);
    std::copy_n(packet.begin() + kDataOffset, count, bytes.begin() + static_cast<std::ptrdiff_t>(begin));
    ++nextChunk;
    result.complete = begin + count == length;
    if (result.complete)
        state = State::idle;
    return result;
}

const char* TransferAssembler::problemOf(const TransferKind& kind,
                                         std::span<const std::uint8_t, 64> packet) const noexcept {
    const std::size_t announced = announcedLength(kind, packet);
    const std::size_t chunk = packet[3];
    if (!kind.wideLength && packet[1] != 0)
        return "byte 1 is not zero";
    if (announced < kind.minBytes || announced > kind.maxBytes)
        return "the length is out of range";
    if (chunk != 0) {
        if (const char* problem = sequenceProblem(kind, announced, chunk))
            return problem;
    } else if (kind.forSlot && (packet[kDataOffset] == 0 || packet[kDataOffset] > kSlots)) {
        return "there is no such slot";
    }
    const std::size_t count = std::min(kChunkBytes, announced - chunk * kChunkBytes);
    const auto padding = packet.subspan(kDataOffset + count);
    if (std::any_of(padding.begin(), padding.end(), [](std::uint8_t byte) { return byte != 0; }))
        return "the padding is not zero";
    return nullptr;
}

const char* TransferAssembler::sequenceProblem(const TransferKind& kind, std::size_t announced,
                                               std::size_t chunk) const noexcept {
    if (state != State::assembling)
        return "a piece whose transfer has not begun";
    if (command != kind.command)
        return "a piece in the middle of another transfer";
    if (announced != length)
        return "the length changes between the pieces";
    if (chunk < nextChunk)
        return "a piece repeated";
    // The piece that is expected lies inside the payload, so that one behind the end is caught here too.
    return chunk > nextChunk ? "a piece left out" : nullptr;
}

bool TransferAssembler::drop() noexcept {
    const bool partial = state == State::assembling;
    state = State::idle;
    return partial;
}

} // namespace Vantor::simulator
