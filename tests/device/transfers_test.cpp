#include "device/transfers.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;

/// Jump to offset 7, then bytes that count up, so that a byte in the wrong place shows.
Bytes gbc(std::size_t size) {
    Bytes file(size);
    std::iota(file.begin(), file.end(), std::uint8_t{0});
    const Bytes header = bytes("10 00 07");
    std::copy_n(header.begin(), std::min(header.size(), size), file.begin());
    return file;
}

Bytes git(std::size_t size) {
    Bytes file(size);
    std::iota(file.begin(), file.end(), std::uint8_t{0x80});
    return file;
}

Bytes wire(const Packet& packet) {
    return {packet.begin(), packet.end()};
}

/// What the adapter puts together again from packets that must all carry `command` and the payload's length.
Bytes payloadOf(const TransferPackets& packets, std::uint8_t command, std::size_t length) {
    Bytes payload;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        const Packet& packet = packets[index];
        const Bytes head{command, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length),
                         static_cast<std::uint8_t>(index)};
        EXPECT_EQ(Bytes(packet.begin(), packet.begin() + 4), head) << index;
        payload.insert(payload.end(), packet.begin() + 4, packet.end());
    }
    EXPECT_LT(payload.size() - length, 60U) << "a packet too many";
    EXPECT_EQ(std::count(payload.begin() + static_cast<std::ptrdiff_t>(length), payload.end(), 0),
              static_cast<std::ptrdiff_t>(payload.size() - length))
        << "the padding is not zero";
    payload.resize(length);
    return payload;
}

Bytes behind(std::uint8_t slotNumber, const Bytes& file) {
    Bytes payload(1 + file.size(), slotNumber);
    std::copy(file.begin(), file.end(), payload.begin() + 1);
    return payload;
}

TEST(BytecodeTransfer, AShortFileIsOnePacket) {
    const TransferPlan plan = bytecodeTransfer(2, bytes("10 00 07 00*4 54 55"));
    EXPECT_EQ(plan.error, "");
    ASSERT_EQ(plan.packets.size(), 1U);
    EXPECT_EQ(wire(plan.packets[0]), bytes("30 00 0A 00 03 10 00 07 00*4 54 55", 64));
}

TEST(BytecodeTransfer, CarriesTheSlotNumberAndTheWholeFile) {
    const struct {
        std::size_t size;
        std::size_t packets;
    } cases[] = {{8, 1},   {58, 1},  {59, 1},  {60, 2},     {119, 2},
                 {120, 3}, {255, 5}, {256, 5}, {8191, 137}, {8192, 137}};
    for (const auto& each : cases) {
        const Bytes file = gbc(each.size);
        const TransferPlan plan = bytecodeTransfer(8, file);
        EXPECT_EQ(plan.error, "");
        EXPECT_EQ(plan.packets.size(), each.packets) << each.size;
        EXPECT_EQ(payloadOf(plan.packets, 0x30, each.size + 1), behind(9, file)) << each.size;
    }
}

TEST(BytecodeTransfer, SaysWhyNot) {
    const char* const kSlot = "GPC memory slot must be between 1 and 9";
    const char* const kLimit = "GBC bytecode exceeds the Titan Two 8 KB limit";
    const char* const kShort = "GBC file is shorter than its seven-byte entry header";
    const char* const kOpcode = "GBC entry header does not begin with the expected jump opcode";
    const char* const kOffset = "GBC code offset lies outside the file";
    const struct {
        int slotIndex;
        Bytes file;
        const char* error;
    } cases[] = {
        // Whatever else is wrong, the first check speaks.
        {9, Bytes(9000, 0xEE), kSlot},
        {-1, {}, kSlot},
        {8, Bytes(8193, 0xEE), kLimit},
        {8, Bytes(0x10000, 0xEE), kLimit},
        {8, {}, kShort},
        {8, bytes("EE FF FF 00*3"), kShort},
        {8, bytes("11 FF FF 00*5"), kOpcode},
        {8, bytes("10 00 06 00*5"), kOffset},
        {8, bytes("10 00 07 00*4"), kOffset}, // 7 bytes have nothing at offset 7
        {8, bytes("10 00 08 00*5"), kOffset},
        {8, bytes("10 01 07 00*5"), kOffset},
    };
    for (const auto& each : cases) {
        const TransferPlan plan = bytecodeTransfer(each.slotIndex, each.file);
        EXPECT_EQ(plan.error, each.error) << each.file.size();
        EXPECT_TRUE(plan.packets.empty());
    }
}

TEST(InputTranslatorTransfer, CarriesUpTo254Bytes) {
    const struct {
        std::size_t size;
        std::size_t packets;
    } cases[] = {{4, 1}, {59, 1}, {60, 2}, {239, 4}, {240, 5}, {254, 5}};
    for (const auto& each : cases) {
        const Bytes file = git(each.size);
        const TransferPlan plan = inputTranslatorTransfer(0, file);
        EXPECT_EQ(plan.error, "");
        EXPECT_EQ(plan.packets.size(), each.packets) << each.size;
        EXPECT_EQ(payloadOf(plan.packets, 0x31, each.size + 1), behind(1, file)) << each.size;
    }
}

TEST(InputTranslatorTransfer, SaysWhyNot) {
    EXPECT_EQ(inputTranslatorTransfer(9, git(255)).error, "input translator slot must be between 1 and 9");
    EXPECT_EQ(inputTranslatorTransfer(8, git(255)).error,
              "input translator is too large; maximum .git size is 254 bytes");
    EXPECT_TRUE(inputTranslatorTransfer(8, git(255)).packets.empty());
}

} // namespace
