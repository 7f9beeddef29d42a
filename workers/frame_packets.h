// Cuts a frame's payload into the adapter's frame packets. Any thread; nothing allocates.

#pragma once

#include "device/report.h"
#include "host/records.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Vantor {

/// Packet, behind the report id: 0x60, 0, total payload length of the frame, index of the packet within the
/// frame from 0, then up to 60 payload bytes, zero-padded.
inline constexpr std::uint8_t kFramePacketCommand = 0x60;
inline constexpr std::size_t kFramePacketPayloadOffset = 4;
inline constexpr std::size_t kFramePacketPayloadBytes = 60;
/// The length travels in one byte: of a 256-byte frame the last byte stays behind.
inline constexpr std::size_t kMaxSentFrameBytes = 255;

constexpr std::size_t sentFrameBytes(std::size_t frameBytes) noexcept {
    return std::min(frameBytes, kMaxSentFrameBytes);
}

/// Packets of a frame of which `sentBytes` bytes are sent: 1..5 for 1..255.
constexpr std::size_t framePacketCount(std::size_t sentBytes) noexcept {
    return (sentBytes + kFramePacketPayloadBytes - 1) / kFramePacketPayloadBytes;
}
static_assert(framePacketCount(sentFrameBytes(kMaxFrameBytes)) == 5);

/// Makes `report` packet number `index` (0 .. framePacketCount - 1) of a frame of 1..255 bytes.
inline void fillFramePacket(OutputReport& report, std::span<const std::uint8_t> frame,
                            std::size_t index) noexcept {
    constexpr std::size_t kHeaderBytes = 1 + kFramePacketPayloadOffset;
    const std::size_t start = index * kFramePacketPayloadBytes;
    const std::size_t bytes = std::min(frame.size() - start, kFramePacketPayloadBytes);
    report[0] = 0; // report id
    report[1] = kFramePacketCommand;
    report[2] = 0;
    report[3] = static_cast<std::uint8_t>(frame.size());
    report[4] = static_cast<std::uint8_t>(index);
    std::memcpy(report.data() + kHeaderBytes, frame.data() + start, bytes);
    std::memset(report.data() + kHeaderBytes + bytes, 0, kFramePacketPayloadBytes - bytes);
}

} // namespace Vantor
