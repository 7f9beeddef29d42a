// The single packets that command the adapter: load a slot, clear what a slot holds, set the output protocol.
// Entry points: the ...Packet() functions. Builds only; who writes them is the caller's business. Any thread;
// no allocation.

#pragma once

#include "device/report.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Vantor {

/// One packet without a report id, all 64 bytes of it.
using Packet = std::array<std::uint8_t, kPacketBytes>;

inline constexpr int kMemorySlots = 9;

constexpr bool isSlotIndex(int slotIndex) noexcept {
    return slotIndex >= 0 && slotIndex < kMemorySlots;
}

/// What a slot can hold, by the command that removes it.
enum class SlotComponent : std::uint8_t { script = 0x40, inputTranslator = 0x41 };

/// Makes the adapter run what slot index 0..8 holds. Empty for any other index.
std::optional<Packet> loadSlotPacket(int slotIndex) noexcept;
/// Empty for an index outside 0..8.
std::optional<Packet> clearSlotPacket(int slotIndex, SlotComponent component) noexcept;
/// Of `protocol` the low eight bits count.
Packet outputProtocolPacket(int protocol) noexcept;

} // namespace Vantor
