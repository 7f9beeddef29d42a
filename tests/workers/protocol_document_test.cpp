// docs/protocol.md shows what the code does: every packet in it is built here and compared, every report in
// it is read here and what it says compared with the line below it.

#include "device/commands.h"
#include "device/controller_state_decoder.h"
#include "device/fixed_packets.h"
#include "device/titan_script_info_parser.h"
#include "device/transfers.h"
#include "tests/support/bytes.h"
#include "workers/controller_record.h"
#include "workers/frame_packets.h"
#include "workers/kmg_reports.h"

#include <QStringList>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <numeric>
#include <set>

namespace Vantor {
namespace {

using test::bytes;
using Bytes = std::vector<std::uint8_t>;

/// A fenced block: its kind and name stand behind the opening fence.
struct Example {
    std::string kind;
    std::string name;
    std::vector<Bytes> packets; ///< parted by empty lines
    std::string says;           ///< the line that begins with an arrow
};

constexpr std::string_view kFence = "```";
constexpr std::string_view kArrow = "-> ";

Example readExample(std::istream& in, const std::string& heading) {
    const auto space = heading.find(' ');
    Example example{
        heading.substr(0, space), heading.substr(std::min(space, heading.size() - 1) + 1), {}, {}};
    std::string text;
    const auto endPacket = [&] {
        if (!text.empty())
            example.packets.push_back(bytes(std::exchange(text, {})));
    };
    for (std::string line; std::getline(in, line) && line != kFence;) {
        if (line.starts_with(kArrow))
            example.says = line.substr(kArrow.size());
        else if (line.empty())
            endPacket();
        else
            text += line + ' ';
    }
    endPacket();
    return example;
}

std::vector<Example> examplesOf(const std::string& kind) {
    std::ifstream in(std::string(FERRYLINK_DOCS_DIR) + "/protocol.md");
    std::vector<Example> examples;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(std::string(kFence) + kind + ' '))
            examples.push_back(readExample(in, line.substr(kFence.size())));
    }
    return examples;
}

// ---- What we send ----

Bytes wire(const Packet& packet) {
    return {packet.begin(), packet.end()};
}

Bytes wire(const OutputReport& report) {
    return {report.begin() + 1, report.end()};
}

std::vector<Bytes> wire(const TransferPackets& packets) {
    std::vector<Bytes> result;
    for (const Packet& packet : packets)
        result.push_back(wire(packet));
    return result;
}

/// 61 bytes, each the number of its place.
std::vector<Bytes> frame() {
    Bytes payload(61);
    std::iota(payload.begin(), payload.end(), std::uint8_t{0});
    std::vector<Bytes> packets;
    for (std::size_t index = 0; index < framePacketCount(payload.size()); ++index) {
        OutputReport report{};
        fillFramePacket(report, payload, index);
        packets.push_back(wire(report));
    }
    return packets;
}

std::vector<Bytes> captureStart(const KmgCapture& capture) {
    const KmgStartStream stream = makeKmgStartStream(capture);
    std::vector<Bytes> packets;
    for (std::size_t index = 0; index < kmgStartReportCount(stream); ++index)
        packets.push_back(wire(makeKmgStartReport(stream, index)));
    return packets;
}

/// Shift and A held; the mouse moved 5 to the right and 2 up with its left button held; the first controller
/// button and "up" pressed.
Bytes capturedInput() {
    OutputReport report = kNeutralKmgReport;
    KeyboardData keyboard;
    keyboard.keys['A'] = 1;
    keyboard.modifiers = KeyModifier::kLeftShift;
    putKeyboard(report, keyboard);
    putMouse(report, MouseButton::kLeft, {.x = 5, .y = -2, .wheel = 0});
    ControllerData controller;
    controller.buttons[0] = 100;
    controller.buttons[9] = 100;
    putController(report, controller);
    return wire(report);
}

TEST(ProtocolDocument, ShowsThePacketsThatWeSend) {
    const Bytes file = bytes("10 00 07 00*4 01*52 02 03");
    const Bytes translator = bytes("10 05 'Demo' 00 30 02 04 05 00");
    const std::map<std::string, std::vector<Bytes>> built{
        {"initialisation 1", {wire(kInitialisationReports[0])}},
        {"initialisation 2", {wire(kInitialisationReports[1])}},
        {"initialisation 3", {wire(kInitialisationReports[2])}},
        {"initialisation 4", {wire(kInitialisationReports[3])}},
        {"initialisation 5", {wire(kInitialisationReports[4])}},
        {"closing", {wire(kClosingReport)}},
        {"stop", {wire(kStopReport)}},
        {"frame of 61 bytes", frame()},
        {"bytecode of 61 bytes into slot 3", wire(bytecodeTransfer(2, file).packets)},
        {"translator of 12 bytes into slot 9", wire(inputTranslatorTransfer(8, translator).packets)},
        {"load slot 3", {wire(*loadSlotPacket(2))}},
        {"remove the script of slot 3", {wire(*clearSlotPacket(2, SlotComponent::script))}},
        {"remove the translator of slot 3", {wire(*clearSlotPacket(2, SlotComponent::inputTranslator))}},
        {"set output protocol 6", {wire(outputProtocolPacket(6))}},
        {"capture the keyboard", captureStart({true, false, false})},
        {"capture the mouse", captureStart({false, true, false})},
        {"capture the controller", captureStart({false, false, true})},
        {"neutral input", {wire(kNeutralKmgReport)}},
        {"input", {capturedInput()}},
    };
    std::set<std::string> shown;
    for (const Example& example : examplesOf("packet")) {
        ASSERT_TRUE(built.contains(example.name)) << example.name;
        EXPECT_EQ(example.packets, built.at(example.name)) << example.name;
        shown.insert(example.name);
    }
    for (const auto& each : built)
        EXPECT_TRUE(shown.contains(each.first)) << each.first << " is not shown";
}

// ---- What we read ----

QString describe(const TitanScriptInfo& info) {
    return QStringLiteral("slot %1: \"%2\" %3, author \"%4\", translator \"%5\"")
        .arg(QString::number(info.slot), info.name, info.version, info.author, info.inputTranslator);
}

QString statusOf(const std::vector<Bytes>& reports) {
    TitanScriptInfoParser parser;
    QStringList said;
    QObject::connect(&parser, &TitanScriptInfoParser::loadedSlotChanged,
                     [&](int slot) { said += QStringLiteral("loaded slot %1").arg(slot); });
    QObject::connect(&parser, &TitanScriptInfoParser::usbPortInfoUpdated, [&](const TitanUsbPortInfo& info) {
        said += QStringLiteral("IN A %1, IN B %2, OUT %3").arg(info.inputA, info.inputB, info.output);
    });
    QObject::connect(&parser, &TitanScriptInfoParser::outputProtocolReceived,
                     [&](int value) { said += QStringLiteral("output protocol %1").arg(value); });
    QObject::connect(&parser, &TitanScriptInfoParser::firmwareVersionReceived,
                     [&](const QString& version) { said += QStringLiteral("firmware %1").arg(version); });
    QObject::connect(&parser, &TitanScriptInfoParser::scriptInfoUpdated,
                     [&](const QList<TitanScriptInfo>& scripts) {
                         for (const TitanScriptInfo& info : scripts)
                             said += describe(info);
                     });
    std::int64_t nowNs = 1;
    for (const Bytes& report : reports) {
        nowNs += TitanScriptInfoParser::kListingQuietNs; // a listing's end shows by the time
        parser.parse(report.data(), static_cast<int>(report.size()), nowNs);
    }
    return said.join(QStringLiteral("; "));
}

QString stateOf(const std::vector<Bytes>& reports) {
    FragmentStore store;
    QStringList said;
    for (const Bytes& report : reports) {
        if (!store.accept(report.data(), static_cast<int>(report.size())))
            continue;
        DecodedState decoded;
        decodeControllerState({}, store.staged(), store.stagedLengths(), decoded);
        const ControllerData data = makeControllerData(decoded, 0, true);
        for (std::size_t i = 0; i < data.buttons.size(); ++i)
            if (data.buttons[i] != 0)
                said +=
                    QStringLiteral("button %1 at %2").arg(i + 1).arg(static_cast<double>(data.buttons[i]));
        for (std::size_t i = 0; i < data.axes.size(); ++i)
            if (data.axes[i] != 0)
                said += QStringLiteral("axis %1 at %2").arg(i + 1).arg(static_cast<double>(data.axes[i]));
    }
    return said.join(QStringLiteral("; "));
}

TEST(ProtocolDocument, SaysWhatReportsMean) {
    const auto check = [](const char* kind, QString (*read)(const std::vector<Bytes>&), std::size_t count) {
        const auto examples = examplesOf(kind);
        EXPECT_EQ(examples.size(), count) << kind;
        for (const Example& example : examples) {
            EXPECT_EQ(read(example.packets).toStdString(), example.says) << example.name;
            for (const Bytes& report : example.packets)
                EXPECT_EQ(report.size(), 64U) << example.name;
        }
    };
    check("status", statusOf, 5);
    check("state", stateOf, 1);
}

} // namespace
} // namespace Vantor
