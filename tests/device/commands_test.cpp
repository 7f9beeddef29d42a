#include "device/commands.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;

Bytes wire(const std::optional<Packet>& packet) {
    return packet ? Bytes(packet->begin(), packet->end()) : Bytes{};
}

Bytes loadSlotBytes(const std::string& slotNumber) {
    return bytes(
        "A0 00 02 00 03 " + slotNumber +
        " 00 39 01 A4 90 F8 7F 00*2 B0 A8 EF CF 93 00*3 1D 00*7 68 D8 EB 90 F6 7F 00*2 02 00*7 08 00*7 "
        "F1 FC D0 D3 FF 7F 00*2 30");
}

Bytes outputProtocolBytes(const std::string& value) {
    return bytes(
        "02 00 03 00*3 " + value +
        " C6 F8 66 A4 FD 7F 00*2 B8 A8 99 F3 BD 00*3 B8 A8 99 F3 BD 00*14 80 BD 00*3 A8 FF C2 6B 02 02 "
        "00*2 9A 55 78 A4 FD 7F 00*2 70");
}

TEST(Commands, AreTheseBytes) {
    const struct {
        const char* name;
        Bytes built;
        Bytes expected;
    } cases[] = {
        {"load the first slot", wire(loadSlotPacket(0)), loadSlotBytes("01")},
        {"load the last slot", wire(loadSlotPacket(8)), loadSlotBytes("09")},
        {"remove a script", wire(clearSlotPacket(0, SlotComponent::script)), bytes("40 00 01 00 01", 64)},
        {"remove a translator", wire(clearSlotPacket(8, SlotComponent::inputTranslator)),
         bytes("41 00 01 00 09", 64)},
        {"protocol", wire(outputProtocolPacket(6)), outputProtocolBytes("06")},
        {"protocol, low eight bits", wire(outputProtocolPacket(0x10D)), outputProtocolBytes("0D")},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected.size(), 64U) << each.name;
        EXPECT_EQ(each.built, each.expected) << each.name;
    }
}

TEST(Commands, NoPacketForASlotThatDoesNotExist) {
    for (const int slotIndex : {-1, 9, 255, 256}) {
        EXPECT_FALSE(loadSlotPacket(slotIndex)) << slotIndex;
        EXPECT_FALSE(clearSlotPacket(slotIndex, SlotComponent::script)) << slotIndex;
    }
}

} // namespace
