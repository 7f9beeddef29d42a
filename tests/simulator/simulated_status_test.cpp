// The simulated adapter's reports as the device layer reads them, over hidapi's interface.

#include "device/controller_state_decoder.h"
#include "device/fixed_packets.h"
#include "device/titan_script_info_parser.h"
#include "simulator/virtual_adapter.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <hidapi/hidapi.h>

#include <optional>

namespace {

using namespace Vantor;

TEST(SimulatedStatus, IsWhatTheDeviceLayerReads) {
    const int adapter = virtual_adapter_add("/virtual/one", "A1", nullptr);
    hid_device* device = hid_open_path("/virtual/one");
    ASSERT_NE(device, nullptr);
    for (const OutputReport& report : kInitialisationReports)
        ASSERT_EQ(hid_write(device, report.data(), report.size()), 65);

    QStringList log;
    TitanScriptInfoParser parser;
    QObject::connect(&parser, &TitanScriptInfoParser::firmwareVersionReceived,
                     [&](const QString& version) { log << version; });
    QObject::connect(&parser, &TitanScriptInfoParser::outputProtocolReceived,
                     [&](int value) { log << QString::number(value); });
    QObject::connect(&parser, &TitanScriptInfoParser::usbPortInfoUpdated, [&](const TitanUsbPortInfo& info) {
        log << info.inputA << info.inputB << info.output << info.prog;
    });
    QObject::connect(&parser, &TitanScriptInfoParser::loadedSlotChanged,
                     [&](int slot) { log << QStringLiteral("slot %1").arg(slot); });
    bool listed = false;
    QObject::connect(&parser, &TitanScriptInfoParser::scriptInfoUpdated,
                     [&](const QList<TitanScriptInfo>& scripts) {
                         for (const TitanScriptInfo& each : scripts)
                             log << QString::number(each.slot) + '|' + each.name + '|' + each.version + '|' +
                                        each.author + '|' + each.inputTranslator;
                         listed = true;
                     });

    // The parser's time stands still until the first state, so that the listing closes there whatever the
    // machine does.
    FragmentStore store;
    std::optional<DecodedState> input;
    std::optional<DecodedState> output;
    while (!listed || !input || !output) {
        std::array<unsigned char, 65> report{};
        const int length = hid_read_timeout(device, report.data(), report.size(), 20'000);
        ASSERT_EQ(length, 64);
        const bool isState = report[0] == 0x13 || report[0] == 0x14;
        parser.parse(report.data(), length, isState ? TitanScriptInfoParser::kListingQuietNs : 0);
        if (const auto type = store.accept(report.data(), length)) {
            DecodedState& state = (*type == ControllerStateType::input ? input : output).emplace();
            decodeControllerState({}, store.staged(), store.stagedLengths(), state);
        }
    }
    EXPECT_EQ(log.join('\n').toStdString(),
              "1.2.3.4\n3\nMulti Interface HID\nDisconnected\nPlaystation 4\nVantor\nslot 1\n"
              "1|Rapid Fire|1.05|FerryLink|[RK] Desk\n2|Combo Trainer|2.10|FerryLink|\n"
              "4||||[KM] Keyboard and Mouse\n9|LED Status|1.20||");
    for (const auto& state : {*input, *output}) {
        EXPECT_EQ(state.buttonCount, 21);
        EXPECT_EQ(state.axisCount, 17);
        for (std::size_t value = 0; value < state.values.size(); ++value) {
            EXPECT_GE(state.values[value], value < kMaxButtonValues ? 0.0F : -100.0F);
            EXPECT_LE(state.values[value], 100.0F);
        }
    }
    EXPECT_NE(input->values, output->values);

    ASSERT_EQ(hid_write(device, kClosingReport.data(), kClosingReport.size()), 65);
    ASSERT_EQ(hid_write(device, kStopReport.data(), kStopReport.size()), 65);
    hid_close(device);
    virtual_adapter_statistics statistics{};
    statistics.size = sizeof statistics;
    ASSERT_EQ(virtual_adapter_get_statistics(adapter, &statistics), 0);
    EXPECT_EQ(statistics.errors, 0U);
    EXPECT_EQ(statistics.initialisations, 1U);
    EXPECT_EQ(statistics.closing_packets, 1U);
    EXPECT_EQ(statistics.stop_packets, 1U);
    virtual_adapter_reset();
}

} // namespace
