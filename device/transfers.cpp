// Both transfers have one shape: command, total length, piece index, 60 bytes of payload. The payload is the
// slot number and then the file.

#include "device/transfers.h"

#include <algorithm>

namespace Vantor {

namespace {

constexpr std::uint8_t kBytecodeCommand = 0x30;
constexpr std::uint8_t kInputTranslatorCommand = 0x31;

constexpr std::size_t kLengthOffset = 1; ///< two bytes; a translator's length leaves the first one 0
constexpr std::size_t kPieceIndexOffset = 3;
constexpr std::size_t kPieceOffset = 4;
constexpr std::size_t kPieceBytes = kPacketBytes - kPieceOffset;
constexpr std::size_t kMaxPieces = 256;

constexpr std::size_t kEntryHeaderBytes = 7;
constexpr std::uint8_t kJumpOpcode = 0x10;
constexpr std::size_t kCodeOffsetOffset = 1;

constexpr std::size_t payloadBytes(std::span<const std::uint8_t> file) {
    return 1 + file.size();
}

constexpr std::size_t pieceCount(std::span<const std::uint8_t> file) {
    return (payloadBytes(file) + kPieceBytes - 1) / kPieceBytes;
}

static_assert(kMaxInputTranslatorBytes + 1 < 256);

TransferPackets cut(std::uint8_t command, int slotIndex, std::span<const std::uint8_t> file) {
    const auto length = static_cast<std::uint16_t>(payloadBytes(file));
    TransferPackets packets(pieceCount(file));
    for (std::size_t index = 0; index < packets.size(); ++index) {
        Packet& packet = packets[index];
        packet[0] = command;
        putBigEndian16(packet.data() + kLengthOffset, length);
        packet[kPieceIndexOffset] = static_cast<std::uint8_t>(index);
        auto out = packet.begin() + kPieceOffset;
        if (index == 0)
            *out++ = static_cast<std::uint8_t>(slotIndex + 1);
        const auto room = static_cast<std::size_t>(packet.end() - out);
        const std::span<const std::uint8_t> piece = file.first(std::min(room, file.size()));
        std::copy(piece.begin(), piece.end(), out);
        file = file.subspan(piece.size());
    }
    return packets;
}

/// Why the file cannot be transferred; empty when it can.
std::string_view bytecodeFault(int slotIndex, std::span<const std::uint8_t> file) {
    if (!isSlotIndex(slotIndex))
        return "GPC memory slot must be between 1 and 9";
    if (file.size() > kMaxBytecodeBytes)
        return "GBC bytecode exceeds the Titan Two 8 KB limit";
    // Cannot be reached below the limit above; whoever raises that one is stopped here.
    if (payloadBytes(file) >= 0x10000)
        return "GBC payload exceeds the protocol's 16-bit size field";
    if (file.size() < kEntryHeaderBytes)
        return "GBC file is shorter than its seven-byte entry header";
    if (file.front() != kJumpOpcode)
        return "GBC entry header does not begin with the expected jump opcode";
    const std::size_t codeOffset = getBigEndian16(file.data() + kCodeOffsetOffset);
    if (codeOffset < kEntryHeaderBytes || codeOffset >= file.size())
        return "GBC code offset lies outside the file";
    if (pieceCount(file) > kMaxPieces) // as above
        return "GBC bytecode requires more than 256 Titan reports";
    return {};
}

std::string_view inputTranslatorFault(int slotIndex, std::span<const std::uint8_t> file) {
    if (!isSlotIndex(slotIndex))
        return "input translator slot must be between 1 and 9";
    if (file.size() > kMaxInputTranslatorBytes)
        return "input translator is too large; maximum .git size is 254 bytes";
    return {};
}

} // namespace

TransferPlan bytecodeTransfer(int slotIndex, std::span<const std::uint8_t> file) {
    const std::string_view fault = bytecodeFault(slotIndex, file);
    if (!fault.empty())
        return {{}, fault};
    return {cut(kBytecodeCommand, slotIndex, file), {}};
}

TransferPlan inputTranslatorTransfer(int slotIndex, std::span<const std::uint8_t> file) {
    const std::string_view fault = inputTranslatorFault(slotIndex, file);
    if (!fault.empty())
        return {{}, fault};
    return {cut(kInputTranslatorCommand, slotIndex, file), {}};
}

} // namespace Vantor
