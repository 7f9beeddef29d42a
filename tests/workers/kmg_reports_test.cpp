#include "workers/kmg_mouse_motion.h"
#include "workers/kmg_rates.h"
#include "workers/kmg_reports.h"

#include <QByteArray>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace Vantor {
namespace {

using testing::ElementsAre;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kHuge = std::numeric_limits<float>::max();

/// Bytes of a packet (report id not counted) as hexadecimal digits.
std::string packetHex(const OutputReport& report, qsizetype from = 0, qsizetype count = 64) {
    return QByteArray(reinterpret_cast<const char*>(report.data()) + 1 + from, count)
        .toHex(' ')
        .toUpper()
        .toStdString();
}

// ---- Start stream ----

constexpr char kKeyboard[] = "2B 05 01 09 06 A1 01 05 07 19 E0 29 E7 15 00 25 01 75 01 95 08 81 02 81 03 95 "
                             "06 75 08 15 00 26 A4 00 05 07 19 00 2A A4 00 81 00 C0";
constexpr char kMouse[] =
    "44 05 01 09 02 A1 01 06 00 FF 15 00 25 01 75 08 95 01 09 01 81 02 05 01 16 00 80 26 FF 7F 75 10 95 02 "
    "09 30 09 31 81 06 15 81 25 7F 75 08 95 01 09 38 81 06 05 09 19 01 29 10 15 00 25 01 95 10 75 01 81 02 "
    "C0";
constexpr char kController[] =
    "45 05 01 09 05 A1 01 05 09 19 01 29 0E 15 00 25 01 75 01 95 14 81 02 05 01 09 39 15 01 25 08 35 00 46 "
    "3B 01 65 14 75 04 95 01 81 42 65 00 09 30 09 31 09 32 09 35 09 33 09 34 15 00 26 FF 00 75 08 95 06 81 "
    "02 C0";

TEST(KmgStart, CarriesTheDescriptorsOfWhatIsCaptured) {
    struct Case {
        KmgCapture capture;
        QByteArray stream;
        std::size_t reports;
    };
    const QByteArray none("00 ");
    const QByteArray keyboard = QByteArray(kKeyboard) + ' ';
    const QByteArray mouse = QByteArray(kMouse) + ' ';
    const QByteArray controller = QByteArray(kController) + ' ';
    for (const Case& expected : {Case{{true, true, true}, keyboard + mouse + controller, 4},
                                 Case{{true, false, false}, keyboard + none + none, 1},
                                 Case{{false, true, false}, none + mouse + none, 2},
                                 Case{{false, false, true}, none + none + controller, 2},
                                 Case{{true, false, true}, keyboard + none + controller, 2}}) {
        const QByteArray stream = QByteArray::fromHex(expected.stream);
        const KmgStartStream built = makeKmgStartStream(expected.capture);
        ASSERT_EQ(kmgStartReportCount(built), expected.reports) << stream.size();
        for (std::size_t i = 0; i < expected.reports; ++i) {
            const qsizetype start = 60 * static_cast<qsizetype>(i);
            QByteArray report = QByteArray::fromHex("005100") + static_cast<char>(stream.size()) +
                                static_cast<char>(i) + stream.mid(start, 60);
            report.append(65 - report.size(), '\0');
            EXPECT_EQ(packetHex(makeKmgStartReport(built, i)),
                      report.mid(1).toHex(' ').toUpper().toStdString())
                << i;
        }
    }
}

TEST(KmgStart, NamesTheLengthsOfTheStreams) {
    EXPECT_EQ(makeKmgStartStream({true, true, true}).size, 183U);
    EXPECT_EQ(makeKmgStartStream({false, true, false}).size, 71U);
}

// ---- The neutral packet ----

TEST(KmgPacket, IsNeutralAtFirst) {
    EXPECT_EQ(kNeutralKmgReport[0], 0) << "report id";
    std::string expected = "52 00 19 00 " + packetHex({}, 0, 19) + " 7F 7F 7F 7F " + packetHex({}, 0, 37);
    EXPECT_EQ(packetHex(kNeutralKmgReport), expected);

    // Nothing held: the keyboard's part stays as it was. A mouse marks its part, and a centred stick is 0x80.
    OutputReport report = kNeutralKmgReport;
    putKeyboard(report, {});
    EXPECT_EQ(report, kNeutralKmgReport);
    putMouse(report, 0, {});
    putController(report, {});
    EXPECT_EQ(packetHex(report, 12, 17), "01 00 00 00 00 00 00 00 00 00 00 80 80 80 80 00 00");
}

// ---- Keyboard ----

std::string keyboardHex(const std::vector<int>& keys, std::uint32_t modifiers = 0) {
    KeyboardData keyboard;
    for (const int key : keys)
        keyboard.keys[key] = 0x80; // any value but 0 means held
    keyboard.modifiers = modifiers;
    OutputReport report = kNeutralKmgReport;
    putKeyboard(report, keyboard);
    return packetHex(report, 4, 8);
}

TEST(KmgKeyboard, TranslatesEveryKey) {
    // By virtual-key code, sixteen in a row.
    const QByteArray usages = QByteArray::fromHex("00000000000000002a2b000000280000"   // 00
                                                  "00000048390000000000002900000000"   // 10
                                                  "2c4b4e4d4a50524f5100000046494c00"   // 20
                                                  "271e1f20212223242526000000000000"   // 30
                                                  "000405060708090a0b0c0d0e0f101112"   // 40
                                                  "131415161718191a1b1c1d0000000000"   // 50
                                                  "62595a5b5c5d5e5f6061555700566354"   // 60
                                                  "3a3b3c3d3e3f40414243444500000000"   // 70
                                                  "00000000000000000000000000000000"   // 80
                                                  "53470000000000000000000000000000"   // 90
                                                  "00000000000000000000000000000000"   // A0
                                                  "00000000000000000000332e362d3738"   // B0
                                                  "35000000000000000000000000000000"   // C0
                                                  "00000000000000000000002f31303400"   // D0
                                                  "00000000000000000000000000000000"   // E0
                                                  "00000000000000000000000000000000"); // F0
    ASSERT_EQ(usages.size(), 256);
    for (int key = 0; key < usages.size(); ++key)
        EXPECT_EQ(keyboardHex({key}),
                  ("00 00 " + usages.mid(key, 1).toHex().toUpper() + " 00 00 00 00 00").toStdString())
            << "virtual-key code " << key;
}

TEST(KmgKeyboard, PutsModifiersIntoUsbOrder) {
    struct Case {
        std::uint32_t modifiers;
        const char* expected;
    };
    for (const Case& modifier :
         {Case{0x04, "01"}, Case{0x01, "02"}, Case{0x10, "04"}, Case{0x40, "08"}, Case{0x08, "10"},
          Case{0x02, "20"}, Case{0x20, "40"}, Case{0x80, "80"}, Case{0xFF, "FF"}, Case{0xFFFFFF00, "00"}})
        EXPECT_EQ(keyboardHex({}, modifier.modifiers),
                  std::string(modifier.expected) + " 00 00 00 00 00 00 00");
}

TEST(KmgKeyboard, ReportsTheFirstSixKeysInVirtualKeyOrder) {
    EXPECT_EQ(keyboardHex({0x5A, 0x41, 0x20, 0x0D, 0x70, 0x30, 0x08}), "00 00 2A 28 2C 27 04 1D");
    EXPECT_EQ(keyboardHex({0x10, 0xA0, 0x01, 0x42, 0xFF}), "00 00 05 00 00 00 00 00")
        << "keys without a usage take no place";

    OutputReport report = kNeutralKmgReport;
    KeyboardData keyboard;
    keyboard.keys[0x41] = 1;
    keyboard.keys[0x42] = 1;
    putKeyboard(report, keyboard);
    keyboard.keys[0x41] = 0;
    putKeyboard(report, keyboard);
    EXPECT_EQ(packetHex(report, 4, 8), "00 00 05 00 00 00 00 00") << "released";
}

// ---- Mouse ----

TEST(KmgMouse, ClampsMotionAndCopiesButtons) {
    struct Case {
        std::uint16_t buttons;
        MouseMotion motion;
        const char* expected;
    };
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    for (const Case& mouse :
         {Case{0, {0, 0, 0}, "01 00 00 00 00 00 00 00"}, Case{0x8001, {1, -2, 3}, "01 01 00 FE FF 03 01 80"},
          Case{0, {32767, -32768, 127}, "01 FF 7F 00 80 7F 00 00"},
          Case{0, {32768, -32769, -128}, "01 FF 7F 00 80 81 00 00"},
          Case{0, {kMax, kMin, kMin}, "01 FF 7F 00 80 81 00 00"},
          Case{0xFFFF, {kMin, kMax, kMax}, "01 00 80 FF 7F 7F FF FF"}}) {
        OutputReport report = kNeutralKmgReport;
        putMouse(report, mouse.buttons, mouse.motion);
        EXPECT_EQ(packetHex(report, 12, 8), mouse.expected);
    }
}

TEST(KmgMouse, TakesMotionOutButNotButtons) {
    for (const MouseMotion& motion : {MouseMotion{256, 0, 0}, MouseMotion{0, -1, 0}, MouseMotion{0, 0, 1}}) {
        OutputReport report = kNeutralKmgReport;
        putMouse(report, 0x0102, motion);
        EXPECT_TRUE(hasMotion(report));
        clearMotion(report);
        EXPECT_FALSE(hasMotion(report));
        EXPECT_EQ(packetHex(report, 12, 8), "01 00 00 00 00 00 02 01");
    }
}

MouseData moved(std::int32_t x, std::int64_t totalX, std::uint64_t totalsStartNs) {
    MouseData record;
    record.motionX = x;
    record.motionY = -x;
    record.wheel = x;
    record.totalX = totalX;
    record.totalY = -totalX;
    record.totalWheel = totalX;
    record.totalsStartNs = totalsStartNs;
    return record;
}

TEST(KmgMouse, LosesNoMotionWithRecordsThatNobodySaw) {
    struct Case {
        const char* what;
        MouseData record;
        std::int64_t x;
    };
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    MouseMotionTracker tracker;
    for (const Case& step :
         {Case{"first record of a writer", moved(5, 1000, 7), 5}, Case{"next", moved(3, 1003, 7), 3},
          Case{"after missed ones", moved(4, 1100, 7), 97}, Case{"back again", moved(1, 1000, 7), -100},
          Case{"another writer", moved(2, 2, 8), 2}, Case{"which goes on", moved(2, 10, 8), 8},
          Case{"one without totals", moved(6, 0, 0), 6}, Case{"and its next", moved(6, 0, 0), 6},
          Case{"totals about to wrap", moved(1, kMax, 9), 1},
          Case{"wrapped", moved(1, std::numeric_limits<std::int64_t>::min() + 1, 9), 2}}) {
        const MouseMotion motion = tracker.take(step.record);
        EXPECT_EQ(motion.x, step.x) << step.what;
        EXPECT_EQ(motion.y, -step.x) << step.what;
        EXPECT_EQ(motion.wheel, step.x) << step.what;
    }
    tracker.restart();
    EXPECT_EQ(tracker.take(moved(1, 500, 9)).x, 1) << "totals from before a restart do not count";
}

// ---- Controller ----

std::string controllerHex(const std::vector<std::pair<int, float>>& values) {
    ControllerData controller;
    for (const auto& [position, value] : values) {
        if (position < 21)
            controller.buttons[position] = value;
        else
            controller.axes[position - 21] = value;
    }
    OutputReport report = kNeutralKmgReport;
    putController(report, controller);
    return packetHex(report, 20, 9);
}

TEST(KmgController, PutsEachButtonIntoItsBit) {
    // By position; triggers also move their axis.
    const std::vector<const char*> expected{
        "00 10 00 80 80 80 80 00 00", "00 01 00 80 80 80 80 00 00", "00 02 00 80 80 80 80 00 00",
        "20 00 00 80 80 80 80 00 00", "00 00 00 80 80 80 80 00 FF", "00 08 00 80 80 80 80 00 00",
        "10 00 00 80 80 80 80 00 00", "00 00 00 80 80 80 80 FF 00", "00 04 00 80 80 80 80 00 00",
        "00 00 10 80 80 80 80 00 00", "00 00 50 80 80 80 80 00 00", "00 00 70 80 80 80 80 00 00",
        "00 00 30 80 80 80 80 00 00", "08 00 00 80 80 80 80 00 00", "04 00 00 80 80 80 80 00 00",
        "02 00 00 80 80 80 80 00 00", "01 00 00 80 80 80 80 00 00", "00 20 00 80 80 80 80 00 00",
        "00 40 00 80 80 80 80 00 00", "00 80 00 80 80 80 80 00 00", "00 00 01 80 80 80 80 00 00"};
    for (int position = 0; position < 21; ++position)
        EXPECT_EQ(controllerHex({{position, 100.0F}}), expected[position]) << position;
}

TEST(KmgController, CountsAButtonAsPressedAboveFifty) {
    for (const float value : {0.0F, 50.0F, -100.0F, kNan, -kInfinity})
        EXPECT_EQ(controllerHex({{0, value}}).substr(3, 2), "00") << value;
    for (const float value : {50.1F, 100.0F, kInfinity})
        EXPECT_EQ(controllerHex({{0, value}}).substr(3, 2), "10") << value;
}

TEST(KmgController, TurnsTheHat) {
    struct Case {
        std::vector<int> held;
        char hat;
    };
    constexpr int kUp = 9;
    constexpr int kDown = 10;
    constexpr int kLeft = 11;
    constexpr int kRight = 12;
    for (const Case& hat :
         {Case{{}, '0'}, Case{{kUp}, '1'}, Case{{kUp, kRight}, '2'}, Case{{kRight}, '3'},
          Case{{kDown, kRight}, '4'}, Case{{kDown}, '5'}, Case{{kDown, kLeft}, '6'}, Case{{kLeft}, '7'},
          Case{{kUp, kLeft}, '8'}, Case{{kUp, kDown}, '1'}, Case{{kLeft, kRight}, '3'},
          Case{{kUp, kDown, kRight}, '2'}, Case{{kUp, kDown, kLeft, kRight}, '2'}}) {
        std::vector<std::pair<int, float>> values{{20, 100.0F}}; // shares its byte
        for (const int direction : hat.held)
            values.emplace_back(direction, 100.0F);
        EXPECT_EQ(controllerHex(values).substr(6, 2), std::string{hat.hat} + '1');
    }
}

TEST(KmgController, ScalesSticksAndTriggers) {
    struct Case {
        float value;
        const char* stick;
        const char* trigger;
    };
    for (const Case& axis :
         {Case{-100, "00", "00"}, Case{-99.6F, "01", "00"}, Case{-0.1F, "7F", "00"}, Case{0, "80", "00"},
          Case{40, "B3", "66"}, Case{50, "BF", "80"}, Case{90, "F2", "E6"}, Case{100, "FF", "FF"},
          Case{101, "FF", "FF"}, Case{-1000, "00", "00"}, Case{kHuge, "FF", "FF"}, Case{-kHuge, "00", "00"},
          Case{kInfinity, "FF", "FF"}, Case{-kInfinity, "00", "00"}, Case{kNan, "80", "00"}}) {
        const std::string stick = axis.stick;
        const std::string trigger = axis.trigger;
        EXPECT_EQ(controllerHex({{23, axis.value}}).substr(9), stick + " 80 80 80 00 00") << axis.value;
        EXPECT_EQ(controllerHex({{24, axis.value}}).substr(9), "80 " + stick + " 80 80 00 00") << axis.value;
        EXPECT_EQ(controllerHex({{21, axis.value}}).substr(9), "80 80 " + stick + " 80 00 00") << axis.value;
        EXPECT_EQ(controllerHex({{22, axis.value}}).substr(9), "80 80 80 " + stick + " 00 00") << axis.value;
        EXPECT_EQ(controllerHex({{7, axis.value}}).substr(9), "80 80 80 80 " + trigger + " 00") << axis.value;
        EXPECT_EQ(controllerHex({{4, axis.value}}).substr(9), "80 80 80 80 00 " + trigger) << axis.value;
    }
}

// ---- Rates ----

TEST(KmgRates, CountsPerSecondAndRestsWhenNothingComes) {
    constexpr std::int64_t kSecond = KmgRates::kPeriodNs;
    constexpr std::int64_t kStart = 5 * kSecond;
    KmgRates rates;
    EXPECT_EQ(rates.waitTimeoutMs(kStart), platform::kWaitForever);
    EXPECT_FALSE(rates.take(kStart));

    rates.count(KmgDevice::mouse, kStart);
    rates.count(KmgDevice::mouse, kStart + 10);
    rates.count(KmgDevice::controller, kStart + 20);
    EXPECT_EQ(rates.waitTimeoutMs(kStart), 1000U);
    EXPECT_EQ(rates.waitTimeoutMs(kStart + 1), 1000U) << "rounded up, or the wait would end too early";
    EXPECT_EQ(rates.waitTimeoutMs(kStart + kSecond + 5), 0U);
    EXPECT_FALSE(rates.take(kStart + kSecond - 1));
    EXPECT_THAT(rates.take(kStart + kSecond).value(), ElementsAre(0, 2, 1));

    EXPECT_EQ(rates.waitTimeoutMs(kStart + kSecond), 1000U) << "one silent second is reported";
    EXPECT_THAT(rates.take(kStart + 2 * kSecond).value(), ElementsAre(0, 0, 0));
    EXPECT_EQ(rates.waitTimeoutMs(kStart + 2 * kSecond), platform::kWaitForever);
    EXPECT_FALSE(rates.take(kStart + 9 * kSecond));

    rates.count(KmgDevice::keyboard, kStart + 9 * kSecond);
    EXPECT_FALSE(rates.take(kStart + 9 * kSecond)) << "a new period begins with the record";
    EXPECT_THAT(rates.take(kStart + 10 * kSecond).value(), ElementsAre(1, 0, 0));
}

} // namespace
} // namespace Vantor
