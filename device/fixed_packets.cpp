#include "device/fixed_packets.h"

#include <string_view>

namespace Vantor {

namespace {

constexpr std::uint8_t nibble(char digit) {
    return static_cast<std::uint8_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

// Only 64 bytes fit behind the report id; what a text holds beyond them is dropped, as the adapter expects.
constexpr OutputReport reportOf(std::string_view hex) {
    OutputReport report{};
    for (std::size_t index = 0; index < kPacketBytes && 2 * index + 1 < hex.size(); ++index)
        report[1 + index] =
            static_cast<std::uint8_t>(nibble(hex[2 * index]) << 4 | nibble(hex[2 * index + 1]));
    return report;
}

constexpr bool isHex(std::string_view text) {
    return text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

constexpr std::array<std::string_view, 5> kInitialisationTexts{
    "0100000000000000000000000000003c000000000000000000000000000000000000000000000000000000c71a0ec0"
    "97010000000600000000000000000000000000000000000000000000000050",
    "02000000ed0000000000000000000050c8018cb7010000000000000000000050c8018cb7010000087eb5fdf77f0000"
    "0600000000000000000000000000000050",
    "03000000ed0000000000000000000050c8018cb7010000000200000000000050c8018cb7010000087eb5fdf77f0000"
    "0600000000000000000000000000000050",
    "05000000ed00006500000000000000650000000000000000650000000000000050c8018cb7010000d180b5fdf77f00"
    "00d0eecdfdf77f000000000000000000000050",
    "f0000000ed00000100000000000000010000000000000000000000000000000050c8018cb7010000d180b5fdf77f00"
    "00d4eecefdf77f000000000000000000000050",
};

// 0x80 stands at byte 38 of the closing packet and at byte 37 of the stop packet.
constexpr std::string_view kClosingText =
    "f10000000101000d951366aebd000000000000000000006e594b46fd7f0000000000000000008000000000000000"
    "000000000000000000000d000000000000008c";
constexpr std::string_view kStopText =
    "f10000000101000d951366aebd000000000000000000006e594b46fd7f0000000000000000800000000000000000"
    "000000000000000000000d000000000000008c";

static_assert(kInitialisationTexts[0].size() == 156);
static_assert(kInitialisationTexts[1].size() == 128 && kInitialisationTexts[2].size() == 128);
static_assert(kInitialisationTexts[3].size() == 132 && kInitialisationTexts[4].size() == 132);
static_assert(kClosingText.size() == 130 && kStopText.size() == 130);
static_assert(std::all_of(kInitialisationTexts.begin(), kInitialisationTexts.end(), isHex));
static_assert(isHex(kClosingText) && isHex(kStopText));

} // namespace

constexpr std::array<OutputReport, 5> kInitialisationReports{
    reportOf(kInitialisationTexts[0]), reportOf(kInitialisationTexts[1]), reportOf(kInitialisationTexts[2]),
    reportOf(kInitialisationTexts[3]), reportOf(kInitialisationTexts[4])};
constexpr OutputReport kClosingReport = reportOf(kClosingText);
constexpr OutputReport kStopReport = reportOf(kStopText);

static_assert(kClosingReport[1 + 38] == 0x80 && kClosingReport[1 + 37] == 0);
static_assert(kStopReport[1 + 37] == 0x80 && kStopReport[1 + 38] == 0);

} // namespace Vantor
