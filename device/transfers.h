// Cuts a file for a memory slot into the packets that carry it. Entry points: bytecodeTransfer(),
// inputTranslatorTransfer(). Checks what the adapter would choke on; does not send. Any thread.

#pragma once

#include "device/commands.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Vantor {

inline constexpr std::size_t kMaxBytecodeBytes = 8192;
inline constexpr std::size_t kMaxInputTranslatorBytes = 254;

/// To be written in this order.
using TransferPackets = std::vector<Packet>;

/// Either packets, or the reason why there are none.
struct TransferPlan {
    TransferPackets packets;
    std::string_view error; ///< a literal; empty when there are packets
};

/// A whole .gbc file into slot index 0..8.
TransferPlan bytecodeTransfer(int slotIndex, std::span<const std::uint8_t> file);

/// A whole .git file into slot index 0..8. Does not look inside the file.
TransferPlan inputTranslatorTransfer(int slotIndex, std::span<const std::uint8_t> file);

} // namespace Vantor
