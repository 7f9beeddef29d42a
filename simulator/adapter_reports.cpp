#include "simulator/adapter_reports.h"

#include <algorithm>
#include <initializer_list>

namespace Vantor::simulator {

namespace {

// Bytes that stand at an offset; everything between such runs is zero.
struct Run {
    std::size_t offset;
    std::initializer_list<std::uint8_t> bytes;
};

constexpr Report packetOf(std::initializer_list<Run> runs) {
    Report packet{};
    for (const Run& run : runs)
        std::copy(run.bytes.begin(), run.bytes.end(),
                  packet.begin() + static_cast<std::ptrdiff_t>(run.offset));
    return packet;
}

} // namespace

constexpr std::array<Report, 5> kInitialisationPackets{
    packetOf({{0, {0x01}}, {15, {0x3C}}, {43, {0xC7, 0x1A, 0x0E, 0xC0, 0x97, 0x01}}, {52, {0x06}}}),
    packetOf({{0, {0x02}},
              {4, {0xED}},
              {15, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01}},
              {31, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01, 0x00, 0x00, 0x08, 0x7E, 0xB5, 0xFD, 0xF7, 0x7F}},
              {47, {0x06}},
              {63, {0x50}}}),
    packetOf({{0, {0x03}},
              {4, {0xED}},
              {15, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01}},
              {24, {0x02}},
              {31, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01, 0x00, 0x00, 0x08, 0x7E, 0xB5, 0xFD, 0xF7, 0x7F}},
              {47, {0x06}},
              {63, {0x50}}}),
    packetOf({{0, {0x05}},
              {4, {0xED}},
              {7, {0x65}},
              {15, {0x65}},
              {24, {0x65}},
              {32, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01, 0x00, 0x00, 0xD1, 0x80, 0xB5, 0xFD, 0xF7, 0x7F}},
              {48, {0xD0, 0xEE, 0xCD, 0xFD, 0xF7, 0x7F}}}),
    packetOf({{0, {0xF0}},
              {4, {0xED}},
              {7, {0x01}},
              {15, {0x01}},
              {32, {0x50, 0xC8, 0x01, 0x8C, 0xB7, 0x01, 0x00, 0x00, 0xD1, 0x80, 0xB5, 0xFD, 0xF7, 0x7F}},
              {48, {0xD4, 0xEE, 0xCE, 0xFD, 0xF7, 0x7F}}}),
};

// The two ways to end differ in one place: 0x80 stands at 38 in the first and at 37 in the second.
constexpr Report kClosingPacket = packetOf({{0, {0xF1}},
                                            {4, {0x01, 0x01, 0x00, 0x0D, 0x95, 0x13, 0x66, 0xAE, 0xBD}},
                                            {23, {0x6E, 0x59, 0x4B, 0x46, 0xFD, 0x7F}},
                                            {38, {0x80}},
                                            {56, {0x0D}}});
constexpr Report kStopPacket = packetOf({{0, {0xF1}},
                                         {4, {0x01, 0x01, 0x00, 0x0D, 0x95, 0x13, 0x66, 0xAE, 0xBD}},
                                         {23, {0x6E, 0x59, 0x4B, 0x46, 0xFD, 0x7F}},
                                         {37, {0x80}},
                                         {56, {0x0D}}});

constexpr Report kLoadSlotPacket =
    packetOf({{0, {0xA0}},
              {2, {0x02, 0x00, 0x03, 0x00, 0x00, 0x39, 0x01, 0xA4, 0x90, 0xF8, 0x7F}},
              {15, {0xB0, 0xA8, 0xEF, 0xCF, 0x93}},
              {23, {0x1D}},
              {31, {0x68, 0xD8, 0xEB, 0x90, 0xF6, 0x7F}},
              {39, {0x02}},
              {47, {0x08}},
              {55, {0xF1, 0xFC, 0xD0, 0xD3, 0xFF, 0x7F}},
              {63, {0x30}}});
constexpr Report kOutputProtocolPacket = packetOf({{0, {0x02}},
                                                   {2, {0x03}},
                                                   {7, {0xC6, 0xF8, 0x66, 0xA4, 0xFD, 0x7F}},
                                                   {15, {0xB8, 0xA8, 0x99, 0xF3, 0xBD}},
                                                   {23, {0xB8, 0xA8, 0x99, 0xF3, 0xBD}},
                                                   {42, {0x80, 0xBD}},
                                                   {47, {0xA8, 0xFF, 0xC2, 0x6B, 0x02, 0x02}},
                                                   {55, {0x9A, 0x55, 0x78, 0xA4, 0xFD, 0x7F}},
                                                   {63, {0x70}}});

Report firmwareReport(const AdapterContent& content) noexcept {
    Report report{0x01, 0x00, 0x22, 0x00};
    std::copy(content.firmware.begin(), content.firmware.end(), report.begin() + 4);
    return report;
}

Report outputProtocolReport(const AdapterContent& content) noexcept {
    return {0x02, 0x02, 0x00, 0x00, content.outputProtocol};
}

Report usbPortsReport(const AdapterContent& content) noexcept {
    Report report{0x12, 0x00, 0x18, 0x00};
    report[5] = content.portOutput;
    report[8] = content.portInputA;
    report[11] = content.portInputB;
    return report;
}

Report loadedSlotReport(const AdapterContent& content) noexcept {
    return {0x11, 0x00, 0x01, 0x00, content.loadedSlot};
}

namespace {

// How many states a value takes for its way there and back, and by how many it is behind its neighbour.
constexpr std::uint64_t kAxisCycle = 2048;
constexpr std::uint64_t kButtonCycle = 1024;
constexpr std::uint64_t kLag = 53;

/// Rises from 0 to full and falls back to 0 in `cycle` steps.
std::int32_t triangle(std::uint64_t position, std::uint64_t cycle) noexcept {
    const std::uint64_t height = std::min(position, cycle - position);
    return static_cast<std::int32_t>(height * kFullValue / (cycle / 2));
}

void putValue(Report& report, std::size_t position, std::int32_t value) noexcept {
    const auto bits = static_cast<std::uint32_t>(value);
    for (unsigned byte = 0; byte < 4; ++byte)
        report[position + byte] = static_cast<std::uint8_t>(bits >> (24 - 8 * byte));
}

} // namespace

ControllerValues demoInput(std::uint64_t step) noexcept {
    ControllerValues values{};
    for (std::size_t index = 0; index < values.size(); ++index) {
        const std::uint64_t phase = step + index * kLag;
        if (index >= kControllerButtons)
            values[index] = 2 * triangle(phase % kAxisCycle, kAxisCycle) - kFullValue;
        else if (const std::uint64_t position = phase % kButtonCycle; position < kButtonCycle / 2)
            values[index] = triangle(position, kButtonCycle / 2);
    }
    return values;
}

Report controllerStateReport(std::uint8_t kind, unsigned part, const ControllerValues& values) noexcept {
    constexpr std::size_t kValuesPerPart = 15;
    Report report{kind, 0x00, 0xAC, static_cast<std::uint8_t>(part)};
    const std::size_t begin = part * kValuesPerPart;
    for (std::size_t index = 0; index < kValuesPerPart && begin + index < values.size(); ++index)
        putValue(report, 4 + 4 * index, values[begin + index]);
    return report;
}

} // namespace Vantor::simulator
