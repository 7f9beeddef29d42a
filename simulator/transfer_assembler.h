// Puts the 60-byte pieces of a transfer together again and watches over their order and lengths. Entry point:
// TransferAssembler::take(). What the payload means is its owner's business. One thread; no allocation.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vantor::simulator {

/// What one command byte allows. Lengths are those of the payload, the slot number included.
struct TransferKind {
    std::uint8_t command;
    const char* name;
    std::size_t minBytes;
    std::size_t maxBytes;
    bool wideLength; ///< bytes 1 and 2 hold the length, high byte first; otherwise byte 1 is zero
    bool forSlot;    ///< the payload's first byte is a slot number
};

class TransferAssembler {
public:
    static constexpr std::size_t kMaxPayloadBytes = 8193;

    struct Result {
        const char* problem = nullptr; ///< static storage; the transfer is dropped
        bool complete = false;         ///< payload() is there
        bool abandoned = false;        ///< an earlier transfer was given up for this one
    };

    /// Takes the next packet. A first piece always begins anew: that is all a sender can do whose writing
    /// failed half-way. After a problem, pieces are passed over until the next first one.
    Result take(const TransferKind& kind, std::span<const std::uint8_t, 64> packet) noexcept;

    /// The whole of the last complete transfer, until the next take().
    std::span<const std::uint8_t> payload() const noexcept { return std::span(bytes).first(length); }

    /// Forgets a transfer that is half here; true when there was one.
    bool drop() noexcept;

private:
    enum class State { idle, assembling, discarding };

    const char* problemOf(const TransferKind& kind, std::span<const std::uint8_t, 64> packet) const noexcept;
    const char* sequenceProblem(const TransferKind& kind, std::size_t announced,
                                std::size_t chunk) const noexcept;

    State state = State::idle;
    std::uint8_t command = 0;
    std::size_t length = 0;
    std::size_t nextChunk = 0;
    std::array<std::uint8_t, kMaxPayloadBytes> bytes{};
};

} // namespace Vantor::simulator
