#include "workers/frame_packets.h"

#include <gtest/gtest.h>

#include <numeric>
#include <ostream>
#include <vector>

namespace Vantor {
namespace {

struct CutCase {
    std::size_t frameBytes;
    std::size_t packets;
    std::uint8_t lengthByte;
    std::size_t lastPacketBytes;
};

void PrintTo(const CutCase& cut, std::ostream* out) {
    *out << cut.frameBytes << " bytes";
}

class FramePackets : public testing::TestWithParam<CutCase> {};

TEST_P(FramePackets, CarryTheFrameInOrder) {
    const CutCase& cut = GetParam();
    std::vector<std::uint8_t> payload(cut.frameBytes);
    std::iota(payload.begin(), payload.end(), std::uint8_t{1});
    const std::span sent(payload.data(), sentFrameBytes(payload.size()));
    ASSERT_EQ(framePacketCount(sent.size()), cut.packets);

    OutputReport report;
    for (std::size_t index = 0; index < cut.packets; ++index) {
        report.fill(0xEE); // what an earlier packet left there must not show
        fillFramePacket(report, sent, index);
        OutputReport expected{0x00, 0x60, 0x00, cut.lengthByte, static_cast<std::uint8_t>(index)};
        const std::size_t bytes = index + 1 < cut.packets ? 60 : cut.lastPacketBytes;
        for (std::size_t i = 0; i < bytes; ++i)
            expected[5 + i] = static_cast<std::uint8_t>(60 * index + i + 1);
        EXPECT_EQ(report, expected) << "packet " << index;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FramePackets,
                         testing::Values(CutCase{1, 1, 1, 1}, CutCase{59, 1, 59, 59}, CutCase{60, 1, 60, 60},
                                         CutCase{61, 2, 61, 1}, CutCase{120, 2, 120, 60},
                                         CutCase{241, 5, 241, 1}, CutCase{255, 5, 255, 15},
                                         CutCase{256, 5, 255, 15}));

} // namespace
} // namespace Vantor
