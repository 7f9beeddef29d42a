// The simulated adapter's reports as the device layer reads them, over hidapi's interface.

#include "device/controller_state_decoder.h"
#include "device/fixed_packets.h"
#include "device/titan_script_info_parser.h"
#include "gpc/compiler.h"
#include "simulator/virtual_adapter.h"
#include "tests/simulator/adapter_fixture.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <hidapi/hidapi.h>

#include <optional>
#include <utility>

namespace {

using namespace Vantor;

class SimulatedStatus : public testing::Test {
protected:
    void SetUp() override {
        adapter = virtual_adapter_add("/virtual/one", "A1", nullptr);
        device = hid_open_path("/virtual/one");
        ASSERT_NE(device, nullptr);
        connectParser();
        for (const OutputReport& report : kInitialisationReports)
            write(report);
    }
    void TearDown() override {
        hid_close(device);
        virtual_adapter_reset();
    }

    void connectParser() {
        QObject::connect(&parser, &TitanScriptInfoParser::firmwareVersionReceived,
                         [this](const QString& version) { log << version; });
        QObject::connect(&parser, &TitanScriptInfoParser::outputProtocolReceived,
                         [this](int value) { log << QStringLiteral("protocol %1").arg(value); });
        QObject::connect(&parser, &TitanScriptInfoParser::usbPortInfoUpdated,
                         [this](const TitanUsbPortInfo& info) {
                             log << info.inputA << info.inputB << info.output << info.prog;
                         });
        QObject::connect(&parser, &TitanScriptInfoParser::loadedSlotChanged,
                         [this](int slot) { log << QStringLiteral("slot %1").arg(slot); });
        QObject::connect(&parser, &TitanScriptInfoParser::scriptInfoUpdated,
                         [this](const QList<TitanScriptInfo>& scripts) {
                             for (const TitanScriptInfo& each : scripts)
                                 log << QString::number(each.slot) + '|' + each.name + '|' + each.version +
                                            '|' + each.author + '|' + each.inputTranslator;
                             listed = true;
                         });
    }

    template<class Report>
    void write(const Report& report) {
        ASSERT_EQ(hid_write(device, report.data(), report.size()), 65);
    }
    void write(const std::vector<test::Bytes>& reports) {
        for (const test::Bytes& report : reports)
            write(report);
    }

    /// Reads one report; false when none came or the last test step has failed.
    bool readOne() {
        std::array<unsigned char, 65> report{};
        const int length = hid_read_timeout(device, report.data(), report.size(), 20'000);
        EXPECT_EQ(length, 64);
        // The parser's time stands still but for states, so that a listing closes at the next one whatever
        // the machine does.
        const bool isState = report[0] == 0x13 || report[0] == 0x14;
        parser.parse(report.data(), length, isState ? TitanScriptInfoParser::kListingQuietNs : 0);
        if (const auto type = store.accept(report.data(), length)) {
            DecodedState& state = (*type == ControllerStateType::input ? input : output).emplace();
            decodeControllerState({}, store.staged(), store.stagedLengths(), state);
        }
        return length == 64;
    }
    /// Reads on until a listing and a state of each kind have come; what else the parser told.
    std::string untilListed() {
        listed = false;
        input.reset();
        output.reset();
        while ((!listed || !input || !output) && readOne()) {
        }
        return takeLog();
    }
    std::string takeLog() { return std::exchange(log, {}).join('\n').toStdString(); }

    virtual_adapter_statistics statistics() const {
        virtual_adapter_statistics result{};
        result.size = sizeof result;
        EXPECT_EQ(virtual_adapter_get_statistics(adapter, &result), 0);
        return result;
    }

    int adapter = -1;
    hid_device* device = nullptr;
    TitanScriptInfoParser parser;
    FragmentStore store;
    QStringList log;
    bool listed = false;
    std::optional<DecodedState> input;
    std::optional<DecodedState> output;
};

TEST_F(SimulatedStatus, IsWhatTheDeviceLayerReads) {
    EXPECT_EQ(untilListed(),
              "1.2.3.4\nprotocol 3\nMulti Interface HID\nDisconnected\nPlaystation 4\nVantor\nslot 1\n"
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

    write(kClosingReport);
    write(kStopReport);
    EXPECT_EQ(statistics().errors, 0U);
    EXPECT_EQ(statistics().initialisations, 1U);
    EXPECT_EQ(statistics().closing_packets, 1U);
    EXPECT_EQ(statistics().stop_packets, 1U);
}

TEST_F(SimulatedStatus, FollowsSlotsAsTheyAreFilledLoadedAndCleared) {
    untilListed();
    const auto script = gpc::compile(
        "#pragma METAINFO(\"Steady hand\", 3, 7, \"Somebody\")\nmain { set_val(BUTTON_1, 42.5); }",
        {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    write(test::transfer(0x30, 3, script.bytecode));
    write(test::loadSlotReport(3));
    EXPECT_EQ(untilListed(),
              "slot 3\n1|Rapid Fire|1.05|FerryLink|[RK] Desk\n2|Combo Trainer|2.10|FerryLink|\n"
              "3|Steady hand|3.07|Somebody|\n4||||[KM] Keyboard and Mouse\n9|LED Status|1.20||");
    EXPECT_EQ(output->values[0], 42.5F);
    EXPECT_EQ(input->values.size(), output->values.size());

    write(test::transfer(0x31, 3, test::bytes("10 06 'Mouse' 00 40 01 07 51 00 00")));
    EXPECT_EQ(untilListed(), "1|Rapid Fire|1.05|FerryLink|[RK] Desk\n2|Combo Trainer|2.10|FerryLink|\n"
                             "3|Steady hand|3.07|Somebody|[MC] Mouse\n4||||[KM] Keyboard and Mouse\n"
                             "9|LED Status|1.20||");
    write(test::clearReport(0x40, 1));
    write(test::clearReport(0x41, 1));
    write(test::clearReport(0x40, 3));
    write(test::clearReport(0x40, 9));
    EXPECT_EQ(untilListed(),
              "2|Combo Trainer|2.10|FerryLink|\n3||||[MC] Mouse\n4||||[KM] Keyboard and Mouse");
    EXPECT_EQ(input->values, output->values) << "inputs pass through again";
    EXPECT_EQ(statistics().errors, 0U);
}

TEST_F(SimulatedStatus, TellsWhatAPersonDidAtTheAdapter) {
    untilListed();
    const test::Bytes nameless = test::bytes("10 00 0B 00*4 00*4 01 00");
    EXPECT_EQ(virtual_adapter_set_slot_file(adapter, 2, VIRTUAL_ADAPTER_SCRIPT, nullptr, 0), 0);
    EXPECT_EQ(
        virtual_adapter_set_slot_file(adapter, 9, VIRTUAL_ADAPTER_SCRIPT, nameless.data(), nameless.size()),
        0);
    EXPECT_EQ(virtual_adapter_set_output_protocol(adapter, 13), 0);
    EXPECT_EQ(virtual_adapter_load_slot(adapter, 4), 0);
    EXPECT_EQ(virtual_adapter_load_slot(adapter, 2), -1) << "it holds nothing";
    EXPECT_EQ(untilListed(), "protocol 13\nslot 4\nslot 4\n1|Rapid Fire|1.05|FerryLink|[RK] Desk\n"
                             "4||||[KM] Keyboard and Mouse\n9|Occupied slot|||");

    test::Bytes file(8192);
    EXPECT_EQ(virtual_adapter_slot_file(adapter, 9, VIRTUAL_ADAPTER_SCRIPT, file.data(), file.size()), 13);
    file.resize(13);
    EXPECT_EQ(file, nameless);
    const auto now = statistics();
    EXPECT_EQ(now.loaded_slot, 4U);
    EXPECT_EQ(now.output_protocol, 13U);
    EXPECT_EQ(now.script_bytes[8], 13U);
    EXPECT_EQ(now.script_bytes[1], 0U);
    EXPECT_GT(now.translator_bytes[3], 0U);
    EXPECT_EQ(now.slot_loads_refused, 1U);
    EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_PROTOCOL_CHANGES, 1, 0), 1);
    EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_SLOT_LOADS, 2, 0), 0);

    // Nonsense does nothing.
    EXPECT_EQ(virtual_adapter_set_slot_file(adapter, 0, VIRTUAL_ADAPTER_SCRIPT, nullptr, 0), -1);
    EXPECT_EQ(virtual_adapter_set_slot_file(adapter, 10, VIRTUAL_ADAPTER_TRANSLATOR, nullptr, 0), -1);
    EXPECT_EQ(virtual_adapter_set_slot_file(adapter, 1, VIRTUAL_ADAPTER_SCRIPT, nameless.data(), 6), -1);
    EXPECT_EQ(virtual_adapter_slot_file(adapter, -1, VIRTUAL_ADAPTER_SCRIPT, nullptr, 0), -1);
    virtual_adapter_unplug(adapter);
    EXPECT_EQ(virtual_adapter_set_output_protocol(adapter, 3), -1);
    EXPECT_EQ(virtual_adapter_slot_file(adapter, 9, VIRTUAL_ADAPTER_SCRIPT, nullptr, 0), 13);
}

TEST_F(SimulatedStatus, SaysWhyAScriptWasStopped) {
    const auto script = gpc::compile("main { while (TRUE) { } }",
                                     {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    write(test::transfer(0x30, 3, script.bytecode));
    write(test::loadSlotReport(3));
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_SCRIPT_FAILURES, 1, 20'000), 1);
    std::array<char, 200> text{};
    EXPECT_GT(virtual_adapter_script_error(adapter, text.data(), text.size()), 0);
    EXPECT_NE(std::string(text.data()).find("the step limit is reached"), std::string::npos) << text.data();
    EXPECT_EQ(statistics().script_running, 0U);
}

} // namespace
