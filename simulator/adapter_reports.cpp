#include "simulator/adapter_reports.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

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

AdapterContent defaultContent() {
    AdapterContent content;
    content.slots[0] = {.script = true,
                        .flags = 0x06,
                        .name = "Rapid Fire",
                        .versionMajor = 1,
                        .versionMinor = 5,
                        .author = "FerryLink",
                        .translator = "Desk.git"};
    content.slots[1] = {.script = true,
                        .name = "Combo Trainer",
                        .versionMajor = 2,
                        .versionMinor = 10,
                        .author = "FerryLink"};
    content.slots[3] = {.flags = 0x0C, .translator = "Keyboard and Mouse.git"};
    content.slots[8] = {.script = true, .name = "LED Status", .versionMajor = 1, .versionMinor = 20};
    return content;
}

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

void appendText(std::vector<std::uint8_t>& stream, const std::string& text) {
    stream.insert(stream.end(), text.begin(), text.end());
    stream.push_back(0);
}

void appendSlot(std::vector<std::uint8_t>& stream, std::size_t slotNumber, const SlotContent& slot) {
    stream.insert(stream.end(), {static_cast<std::uint8_t>(slotNumber),
                                 static_cast<std::uint8_t>(slot.script ? 1 : 0), slot.flags});
    if (slot.script) {
        stream.insert(stream.end(), 4, 0);
        appendText(stream, slot.name);
        stream.insert(stream.end(), {slot.versionMajor, slot.versionMinor});
        appendText(stream, slot.author);
    }
    if (slot.script || slot.flags != 0 || !slot.translator.empty())
        appendText(stream, slot.translator);
}

} // namespace

std::vector<Report> slotListingReports(const AdapterContent& content) {
    constexpr std::size_t kPartBytes = 60;
    constexpr std::size_t kMaxParts = 32;
    std::vector<std::uint8_t> stream;
    for (std::size_t index = 0; index < content.slots.size(); ++index)
        appendSlot(stream, index + 1, content.slots[index]);
    stream.resize(std::min(stream.size(), kMaxParts * kPartBytes));

    std::vector<Report> parts;
    for (std::size_t begin = 0; begin < stream.size(); begin += kPartBytes) {
        Report& part = parts.emplace_back();
        part[0] = 0x03;
        part[2] = static_cast<std::uint8_t>(stream.size());
        part[3] = static_cast<std::uint8_t>(parts.size() - 1);
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(begin),
                    std::min(kPartBytes, stream.size() - begin), part.begin() + 4);
    }
    return parts;
}

namespace {

// A triangle between 0 and 100 in 16.16 fixed point that takes 1024 steps to rise.
std::int32_t triangle(std::uint64_t phase) noexcept {
    constexpr std::uint64_t kRise = 1024;
    const std::uint64_t position = phase % (2 * kRise);
    const std::uint64_t height = position < kRise ? position : 2 * kRise - position;
    return static_cast<std::int32_t>(height * 100 * 65536 / kRise);
}

void putValue(Report& report, std::size_t position, std::int32_t value) noexcept {
    const auto bits = static_cast<std::uint32_t>(value);
    for (unsigned byte = 0; byte < 4; ++byte)
        report[position + byte] = static_cast<std::uint8_t>(bits >> (24 - 8 * byte));
}

} // namespace

Report controllerStateReport(std::uint8_t kind, unsigned part, std::uint64_t step) noexcept {
    constexpr unsigned kValuesPerPart = 15;
    constexpr unsigned kButtons = 21;
    constexpr unsigned kValues = kButtons + 17;
    Report report{kind, 0x00, 0xAC, static_cast<std::uint8_t>(part)};
    for (unsigned index = 0; index < kValuesPerPart; ++index) {
        const unsigned value = part * kValuesPerPart + index;
        if (value >= kValues)
            break;
        // Neighbouring values are out of phase, and the two kinds of state differ.
        const std::int32_t height = triangle(step + value * 53 + (kind == 0x14 ? 500 : 0));
        putValue(report, 4 + 4 * index, value < kButtons ? height : 2 * height - 100 * 65536);
    }
    return report;
}

} // namespace Vantor::simulator
