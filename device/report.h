// The frame of every packet on its way to the adapter: one 65-byte output report. Entry point: fillReport().
// Any thread; nothing here allocates.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vantor {

inline constexpr std::size_t kPacketBytes = 64;
inline constexpr std::size_t kOutputReportBytes = 1 + kPacketBytes;
/// What one read of the adapter may return at most.
inline constexpr std::size_t kInputReportBytes = 65;

/// Byte 0 is the report id, always 0; bytes 1..64 carry a packet, zero-padded.
using OutputReport = std::array<std::uint8_t, kOutputReportBytes>;

/// Makes `report` carry `packet`. False, with the report untouched, when the packet is empty or longer than
/// 64 bytes.
constexpr bool fillReport(OutputReport& report, std::span<const std::uint8_t> packet) noexcept {
    if (packet.empty() || packet.size() > kPacketBytes)
        return false;
    report.fill(0);
    std::copy(packet.begin(), packet.end(), report.begin() + 1);
    return true;
}

/// `bytes` points at two bytes, the higher one first.
constexpr std::uint16_t getBigEndian16(const std::uint8_t* bytes) noexcept {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

constexpr void putBigEndian16(std::uint8_t* bytes, std::uint16_t value) noexcept {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

/// `bytes` points at four bytes, the highest one first.
constexpr std::uint32_t getBigEndian32(const std::uint8_t* bytes) noexcept {
    return static_cast<std::uint32_t>(getBigEndian16(bytes)) << 16 | getBigEndian16(bytes + 2);
}

} // namespace Vantor
