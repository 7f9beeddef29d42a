// The loaded script and what it makes of the controller's states, and the capture that it can see.

#include "gpc/compiler.h"
#include "tests/simulator/adapter_fixture.h"

#include <fstream>
#include <random>
#include <sstream>

namespace {

using namespace Vantor::simulator;
using namespace Vantor::test;

constexpr std::size_t kButton1 = 0;
constexpr std::size_t kStick1X = 21;

Bytes compiled(const std::string& source) {
    const auto result =
        Vantor::gpc::compile(source, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    for (const auto& diagnostic : result.diagnostics)
        ADD_FAILURE() << diagnostic.line << ": " << diagnostic.message;
    return result.bytecode;
}

const char* const kKeyboard =
    "2B 05 01 09 06 A1 01 05 07 19 E0 29 E7 15 00 25 01 75 01 95 08 81 02 81 03 95 06 75 08 "
    "15 00 26 A4 00 05 07 19 00 2A A4 00 81 00 C0";
const char* const kMouse =
    "44 05 01 09 02 A1 01 06 00 FF 15 00 25 01 75 08 95 01 09 01 81 02 05 01 16 00 80 26 FF 7F "
    "75 10 95 02 09 30 09 31 81 06 15 81 25 7F 75 08 95 01 09 38 81 06 05 09 19 01 29 10 15 00 "
    "25 01 95 10 75 01 81 02 C0";
const char* const kController =
    "45 05 01 09 05 A1 01 05 09 19 01 29 0E 15 00 25 01 75 01 95 14 81 02 05 01 09 39 15 01 25 08 35 00 46 "
    "3B 01 65 14 "
    "75 04 95 01 81 42 65 00 09 30 09 31 09 32 09 35 09 33 09 34 15 00 26 FF 00 75 08 95 06 81 02 C0";
const char* const kNeutral = "00 52 00 19 00*20 7F*4 00*37";

std::vector<Bytes> captureStart(const std::string& keyboard, const std::string& mouse,
                                const std::string& controller) {
    return pieces(0x51, bytes(keyboard + " " + mouse + " " + controller));
}

class Script : public AdapterTest {
protected:
    void SetUp() override {
        initialise();
        drain();
    }
    void load(const std::string& source, unsigned slot = 3) {
        send(transfer(0x30, slot, compiled(source)));
        send(loadSlotReport(slot));
        drain();
        EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
    }
    /// The next pair of states.
    void next(ControllerValues& input, ControllerValues& output) {
        now += 4 * kMsNs;
        for (const Report& report : drain()) {
            if (report[0] != 0x13 && report[0] != 0x14)
                continue;
            ControllerValues& values = report[0] == 0x13 ? input : output;
            const std::size_t begin = report[3] * std::size_t{15};
            for (std::size_t index = 0; index < 15 && begin + index < values.size(); ++index) {
                const std::uint8_t* place = report.data() + 4 + 4 * index;
                values[begin + index] = static_cast<std::int32_t>(
                    std::uint32_t{place[0]} << 24 | std::uint32_t{place[1]} << 16 | place[2] << 8 | place[3]);
            }
        }
    }
    std::int32_t nextOutput(std::size_t index) {
        ControllerValues input{};
        ControllerValues output{};
        next(input, output);
        return output[index] / 65536;
    }
    void expectPassingThrough() {
        ControllerValues input{};
        ControllerValues output{};
        for (int state = 0; state < 10; ++state) {
            next(input, output);
            EXPECT_EQ(input, output);
        }
    }
};

TEST_F(Script, ChangesTheReportUntilItIsRemoved) {
    expectPassingThrough();
    load("main { set_val(BUTTON_1, 42.0); set_val(STICK_1_X, -get_actual(STICK_1_X)); set_val(STICK_1_Y, "
         "1000.0); }");
    ControllerValues input{};
    ControllerValues output{};
    for (int state = 0; state < 100; ++state) {
        next(input, output);
        EXPECT_EQ(output[kButton1], 42 * 65536);
        EXPECT_EQ(output[kStick1X], -input[kStick1X]);
        EXPECT_EQ(output[kStick1X + 1], kFullValue) << "never above full deflection";
        EXPECT_EQ(output[kStick1X + 2], input[kStick1X + 2]);
    }
    EXPECT_EQ(model.script().ticks(), 110U) << "the script of before ran as well";

    send(transfer(0x30, 3, compiled("main { set_val(BUTTON_1, 43.0); }")));
    EXPECT_EQ(nextOutput(kButton1), 42) << "the new one runs once it is loaded";
    send(loadSlotReport(3));
    EXPECT_EQ(nextOutput(kButton1), 43);
    send(clearReport(0x40, 3));
    expectPassingThrough();
}

TEST_F(Script, ThatMustBeStoppedLetsInputsThrough) {
    const struct {
        const char* source;
        const char* error;
    } cases[] = {
        {"main { while (TRUE) { } }", "the step limit is reached"},
        {"init { while (TRUE) { } } main { }", "the step limit is reached"},
        {"uint8 x; int32 f(int32 n) { return f(n + 1); } main { x = f(0); }", "stack overflow"},
    };
    std::uint64_t failures = 0;
    for (const auto& [source, error] : cases) {
        load(source);
        expectPassingThrough();
        EXPECT_NE(model.script().error().find(error), std::string_view::npos) << model.script().error();
        EXPECT_EQ(model.script().failures(), ++failures);
        EXPECT_FALSE(model.script().isRunning());
    }
    load("main { set_val(BUTTON_1, 42.0); }");
    EXPECT_EQ(nextOutput(kButton1), 42);
    EXPECT_EQ(model.script().error(), "");
}

TEST_F(Script, SeesTimePassAtAnyRate) {
    for (const unsigned hz : {100U, 250U, 3000U}) {
        load("main { set_val(BUTTON_1, system_time() < 1000 ? 0.0 : 100.0); }");
        model.setStreamRates(0, hz, now);
        unsigned states = 0;
        while (nextOutput(kButton1) == 0 && states < 400)
            ++states;
        EXPECT_NEAR(states, 250, 3) << "four milliseconds each, however many states are sent in them";
    }
}

TEST_F(Script, BeginsAnewWithThePowerAndKeepsItsBytes) {
    load("uint8 starts; init { pmem_load(); pmem_read(0, &starts); starts++; pmem_write(0, starts); "
         "pmem_save(); } "
         "main { set_val(BUTTON_1, (fix32)starts); set_val(BUTTON_2, (fix32)mslot_get()); "
         "set_val(BUTTON_3, mslot_check(9) && !mslot_check(8) ? 100.0 : 0.0); }");
    EXPECT_EQ(nextOutput(0), 1);
    EXPECT_EQ(nextOutput(1), 3);
    EXPECT_EQ(nextOutput(2), 100);
    send(bytes(kClosing));
    initialise();
    drain();
    EXPECT_EQ(nextOutput(0), 1) << "closing the link does not end the script";
    model.powerOff();
    initialise();
    drain();
    EXPECT_EQ(nextOutput(0), 2);
    send(loadSlotReport(1));
    send(loadSlotReport(3));
    EXPECT_EQ(nextOutput(0), 3);
}

TEST_F(Script, GetsFramesKeysAndMotion) {
    load("uint8 kind; main { if (gcv_ready()) gcv_read(0, &kind); set_val(BUTTON_1, (fix32)kind); "
         "set_val(BUTTON_2, key_status(0x2C) ? 100.0 : 0.0); set_val(STICK_1_X, (fix32)mouse_status(0)); }");
    send(bytes("00 60 00 03 00 2A 02 03", 65));
    send(captureStart(kKeyboard, kMouse, "00"));
    Bytes packet = bytes(kNeutral);
    packet[7] = 0x2C;
    packet[13] = 1;
    packet[14] = 0xE2; // -30, low byte first
    packet[15] = 0xFF;
    send(packet);
    ControllerValues input{};
    ControllerValues output{};
    next(input, output);
    EXPECT_EQ(output[0], 42 * 65536);
    EXPECT_EQ(output[1], kFullValue);
    EXPECT_EQ(output[kStick1X], -30 * 65536);
    send(bytes(kNeutral));
    next(input, output);
    EXPECT_EQ(output[0], 42 * 65536);
    EXPECT_EQ(output[1], 0);
    EXPECT_EQ(output[kStick1X], 0);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
}

// Which outputs differ from their inputs when an example runs on what the simulated controller sends, within
// ten seconds. For a test of the whole plug-in: mouse_to_stick shows in every state (STICK_2 stands still
// until a mouse moves it); rapid_fire has BUTTON_8 at nothing but 0 and 100, while the controller passes
// every value between; toggle does the same to BUTTON_11. The others need their moment, or show nowhere in
// the report.
TEST_F(Script, ExamplesShowInTheReport) {
    constexpr int kStates = 2500;
    const struct {
        const char* name;
        const char* outputs; ///< buttons from 0, axes from 21
    } cases[] = {{"combo_sequence", " 0 1 2 11"},
                 {"frame_aim", ""},
                 {"led_status", ""},
                 {"mouse_to_stick", " 23 24"},
                 {"persistent_settings", " 13 14"},
                 {"rapid_fire", " 7"},
                 {"recoil_curve", " 24"},
                 {"remap", " 4 5 20 21 22 23 24"},
                 {"toggle", " 10"}};
    for (const auto& [name, outputs] : cases) {
        model = AdapterModel();
        initialise();
        std::ifstream file(std::string(FERRYLINK_EXAMPLES_DIR) + "/" + name + ".gpc");
        std::ostringstream source;
        source << file.rdbuf();
        load(source.str());
        ControllerValues input{};
        ControllerValues output{};
        std::array<int, std::tuple_size_v<ControllerValues>> changes{};
        for (int state = 0; state < kStates; ++state) {
            next(input, output);
            for (std::size_t index = 0; index < input.size(); ++index)
                changes[index] += input[index] != output[index] ? 1 : 0;
        }
        std::string changed;
        for (std::size_t index = 0; index < changes.size(); ++index)
            changed += changes[index] > 0 ? " " + std::to_string(index) : "";
        EXPECT_EQ(changed, outputs) << name;
        EXPECT_EQ(model.script().ticks(), kStates) << name << ": " << model.script().error();
    }
}

// ---- Capture ----

TEST_F(Script, CaptureIsCountedByWhatItHolds) {
    send(captureStart(kKeyboard, kMouse, kController));
    send(bytes(kNeutral));
    for (const std::size_t place : {5U, 12U, 15U, 19U, 21U, 29U}) { // behind the id: two of each device
        Bytes packet = bytes(kNeutral);
        packet[13] = 1;
        packet[place] = 3;
        send(packet);
    }
    const CaptureStatistics& capture = model.captureStatistics();
    EXPECT_EQ(capture.starts, 1U);
    EXPECT_EQ(capture.devices, kCaptureKeyboard | kCaptureMouse | kCaptureController);
    EXPECT_EQ(capture.packets, 7U);
    EXPECT_EQ(capture.neutralPackets, 1U);
    EXPECT_EQ(capture.keyboardPackets, 2U);
    EXPECT_EQ(capture.mousePackets, 2U);
    EXPECT_EQ(capture.controllerPackets, 2U);
    EXPECT_EQ(capture.lastPacket[28], 3);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
    EXPECT_EQ(captureStart("00", kMouse, "00").size(), 2U);
}

TEST_F(Script, CaptureFaultsAreNamed) {
    const auto input = [](std::size_t place, std::uint8_t value) {
        Bytes packet = bytes(kNeutral);
        packet[place + 1] = value;
        return std::vector<Bytes>{packet};
    };
    const auto start = [](const std::string& stream) { return pieces(0x51, bytes(stream)); };
    std::string wrongByte = kKeyboard;
    wrongByte[4] = '2';
    const struct {
        std::vector<Bytes> reports;
        const char* text;
    } cases[] = {
        {start("00 00 00"), "capture start: no device is declared"},
        {start("00 43 00*67 00"), "capture start: the mouse descriptor has the wrong length"},
        {start(std::string("2B 00 00")), "capture start: the keyboard descriptor has the wrong length"},
        {start(wrongByte + " 00 00"), "capture start: the keyboard descriptor is not the known one"},
        {start(std::string(kKeyboard) + " 00"), "capture start: the stream ends before its third length"},
        {start(std::string(kKeyboard) + " 00 00 00"), "capture start: bytes behind the third descriptor"},
        {{start(std::string(kMouse) + " 00 00")[1]}, "capture start: a piece whose transfer has not begun"},
        {input(2, 0x18), "capture input: the head is not 52 00 19 00"},
        {input(5, 1), "capture input: the keyboard's reserved byte is not zero"},
        {input(7, 0xA5), "capture input: a key usage above 0xA4"},
        {input(13, 1), "capture input: the mouse's first byte is not 1"},
        {input(22, 0x90), "capture input: the controller's hat is above 8"},
        {input(29, 1), "capture input: the padding is not zero"},
        {input(12, 0), "capture input: input before a start stream"},
        {input(20, 1), "capture input: input before a start stream"},
    };
    for (const auto& [reports, text] : cases) {
        model = AdapterModel();
        send(reports);
        EXPECT_EQ(model.errorText(0), text);
        EXPECT_EQ(model.captureStatistics().packets + model.captureStatistics().starts, 0U) << text;
    }
    model = AdapterModel();
    send(captureStart(kKeyboard, "00", "00"));
    send(input(20, 1));
    EXPECT_EQ(model.errorText(0), "capture input: input of a device that was not declared");
    model.powerOff();
    send(bytes(kNeutral));
    EXPECT_EQ(model.errorText(1), "capture input: input before a start stream");
}

// ---- Whatever comes ----

// Reports that are nearly right, in any order and at any time: nothing may crash, hang or grow.
TEST_F(Script, AnySequenceOfReportsIsEndured) {
    constexpr int kRounds = 60'000;
    std::mt19937 random(20261);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    std::vector<Bytes> stock{bytes(kClosing), bytes(kStop), outputProtocolReport(3), bytes(kNeutral)};
    for (const char* packet : kInitialisation)
        stock.push_back(bytes(packet));
    for (const unsigned slot : {1U, 5U, 9U}) {
        stock.push_back(loadSlotReport(slot));
        stock.push_back(clearReport(0x40, slot));
    }
    const auto add = [&](const std::vector<Bytes>& reports) {
        stock.insert(stock.end(), reports.begin(), reports.end());
    };
    add(transfer(0x30, 5, compiled("main { set_val(BUTTON_1, 42.0); }")));
    add(transfer(0x31, 5, bytes("10 02 'x' 00 21 01 05 00")));
    add(captureStart(kKeyboard, kMouse, kController));
    Bytes noise(200);
    std::uint64_t taken = 0;
    for (int round = 0; round < kRounds; ++round) {
        Bytes report = stock[below(static_cast<unsigned>(stock.size()))];
        if (below(4) == 0)
            report[1 + below(64)] = static_cast<std::uint8_t>(random());
        if (below(50) == 0)
            report.resize(below(70));
        send(report);
        if (below(100) == 0) { // bytecode that nobody wrote, behind a head that passes
            std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(random()); });
            std::copy_n(bytes("10 00 0B").begin(), 3, noise.begin());
            send(transfer(0x30, 5, noise));
            send(loadSlotReport(5));
        }
        if (below(500) == 0)
            model.powerOff();
        if (below(50) == 0)
            initialise();
        now += below(20) * kMsNs;
        const std::size_t states = drain().size();
        ASSERT_LT(states, 300U);
        taken += states;
        ASSERT_GE(model.nextDueNs(), now) << "everything that was due has been fetched";
    }
    EXPECT_GT(taken, 10'000U);
    EXPECT_GT(counts().errors, 1000U);
    EXPECT_LE(counts().errors, counts().reportsReceived);
    EXPECT_GT(counts().scriptTransfers, 100U);
    EXPECT_GT(model.script().failures(), 100U) << "noise has run";
}

} // namespace
