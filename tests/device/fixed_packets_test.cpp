#include "device/fixed_packets.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;

// Report id first, every byte that goes out.
TEST(FixedPackets, AreTheseBytesOnTheWire) {
    const struct {
        const char* name;
        const OutputReport& report;
        const char* wire;
    } cases[] = {
        {"initialisation 1", kInitialisationReports[0],
         "00 01 00*14 3C 00*27 C7 1A 0E C0 97 01 00*3 06 00*11"},
        {"initialisation 2", kInitialisationReports[1],
         "00 02 00*3 ED 00*10 50 C8 01 8C B7 01 00*10 50 C8 01 8C B7 01 00*2 08 7E B5 FD F7 7F 00*2 06 00*15 "
         "50"},
        {"initialisation 3", kInitialisationReports[2],
         "00 03 00*3 ED 00*10 50 C8 01 8C B7 01 00*3 02 00*6 50 C8 01 8C B7 01 00*2 08 7E B5 FD F7 7F 00*2 "
         "06 "
         "00*15 50"},
        {"initialisation 4", kInitialisationReports[3],
         "00 05 00*3 ED 00*2 65 00*7 65 00*8 65 00*7 50 C8 01 8C B7 01 00*2 D1 80 B5 FD F7 7F 00*2 D0 EE CD "
         "FD "
         "F7 7F 00*10"},
        {"initialisation 5", kInitialisationReports[4],
         "00 F0 00*3 ED 00*2 01 00*7 01 00*16 50 C8 01 8C B7 01 00*2 D1 80 B5 FD F7 7F 00*2 D4 EE CE FD F7 "
         "7F "
         "00*10"},
        {"closing", kClosingReport,
         "00 F1 00*3 01 01 00 0D 95 13 66 AE BD 00*10 6E 59 4B 46 FD 7F 00*9 80 00*17 0D 00*7"},
        {"stop", kStopReport,
         "00 F1 00*3 01 01 00 0D 95 13 66 AE BD 00*10 6E 59 4B 46 FD 7F 00*8 80 00*18 0D 00*7"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(Bytes(each.report.begin(), each.report.end()), bytes(each.wire)) << each.name;
}

TEST(Report, TakesOneTo64BytesAndPadsWithZeros) {
    OutputReport report;
    report.fill(0xEE);
    const OutputReport untouched = report;
    EXPECT_FALSE(fillReport(report, {}));
    EXPECT_FALSE(fillReport(report, Bytes(65, 1)));
    EXPECT_EQ(report, untouched);

    ASSERT_TRUE(fillReport(report, Bytes{0xA0, 2}));
    EXPECT_EQ(Bytes(report.begin(), report.end()), bytes("00 A0 02", 65));
    ASSERT_TRUE(fillReport(report, Bytes(64, 0x77)));
    EXPECT_EQ(Bytes(report.begin(), report.end()), bytes("00 77*64"));
}

TEST(Report, NumbersAreBigEndian) {
    Bytes place(3, 0xEE);
    putBigEndian16(place.data() + 1, 0x1234);
    EXPECT_EQ(place, bytes("EE 12 34"));
    EXPECT_EQ(getBigEndian16(bytes("FE 01").data()), 0xFE01);
    EXPECT_EQ(getBigEndian32(bytes("FE 01 80 02").data()), 0xFE018002U);
}

} // namespace
