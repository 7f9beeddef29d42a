// Follows the capture of keyboard, mouse and controller: checks what the start stream declares and what each
// input packet says, and keeps the counts. Entry points: takeStart() and takeInput(). One thread; no
// allocation.

#pragma once

#include "simulator/transfer_assembler.h"

#include <array>
#include <cstdint>
#include <span>

namespace Vantor::simulator {

// Bits of CaptureStatistics::devices.
inline constexpr unsigned kCaptureKeyboard = 1;
inline constexpr unsigned kCaptureMouse = 2;
inline constexpr unsigned kCaptureController = 4;

struct CaptureStatistics {
    std::uint64_t starts = 0;  ///< complete start streams
    std::uint64_t packets = 0; ///< well-formed input packets
    std::uint64_t neutralPackets = 0;
    std::uint64_t keyboardPackets = 0;   ///< in which a key is held
    std::uint64_t mousePackets = 0;      ///< with motion, wheel or a button
    std::uint64_t controllerPackets = 0; ///< whose controller part is not the neutral one
    std::uint8_t devices = 0;            ///< declared by the last start stream
    std::array<std::uint8_t, 64> lastPacket{};
};

class CaptureMonitor {
public:
    /// Takes a packet of the start stream (first byte 0x51). Nullptr, or what is wrong (static storage).
    const char* takeStart(std::span<const std::uint8_t, 64> packet) noexcept;
    /// Takes an input packet (first byte 0x52). Nullptr, or what is wrong.
    const char* takeInput(std::span<const std::uint8_t, 64> packet) noexcept;
    /// Power was cut: nothing is declared any more. Counts stay.
    void powerOff() noexcept;

    const CaptureStatistics& statistics() const noexcept { return counts; }

private:
    TransferAssembler stream;
    CaptureStatistics counts;
};

} // namespace Vantor::simulator
