// The development host's input: how events of a window, and steps of the pattern, come to stand in the
// blocks.

#include "host/logging_service.h"
#include "tests/workers/blocks.h"
#include "tools/ferrylink_host/input_pattern.h"
#include "tools/ferrylink_host/input_publisher.h"
#include "tools/ferrylink_host/virtual_keys.h"

#include <QCoreApplication>
#include <QFocusEvent>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <set>
#include <vector>

namespace Vantor::devhost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kPatienceMs = 20'000; // only ever used up by a fault

// ---- Keys ----

std::uint8_t translate(int key, NativeKeys native = NativeKeys::unknown, quint32 nativeKey = 0,
                       quint32 scanCode = 0, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    return virtualKeyOf(QKeyEvent(QEvent::KeyPress, key, modifiers, scanCode, nativeKey, 0), native);
}

TEST(VirtualKeys, GoByQtsKeyWhereTheSystemHasNoCodes) {
    struct Case {
        int key;
        int expected;
    };
    for (const Case& key :
         {Case{Qt::Key_A, 0x41},     Case{Qt::Key_Z, 0x5A},          Case{Qt::Key_0, 0x30},
          Case{Qt::Key_9, 0x39},     Case{Qt::Key_F1, 0x70},         Case{Qt::Key_F24, 0x87},
          Case{Qt::Key_Left, 0x25},  Case{Qt::Key_Up, 0x26},         Case{Qt::Key_Right, 0x27},
          Case{Qt::Key_Down, 0x28},  Case{Qt::Key_Dollar, 0x34},     Case{Qt::Key_Percent, 0x35},
          Case{Qt::Key_Colon, 0xBA}, Case{Qt::Key_Apostrophe, 0xDE}, Case{Qt::Key_Backtab, 0x09},
          Case{Qt::Key_Enter, 0x0D}, Case{Qt::Key_Shift, 0xA0},      Case{Qt::Key_Meta, 0x5B},
          Case{Qt::Key_AltGr, 0xA5}, Case{Qt::Key_unknown, 0},       Case{0, 0},
          Case{Qt::Key_VolumeUp, 0}, Case{Qt::Key_Agrave, 0}})
        EXPECT_EQ(translate(key.key), key.expected) << key.key;
}

TEST(VirtualKeys, TellThePadAndTheSidesApart) {
    const auto pad = [](int key) { return translate(key, NativeKeys::unknown, 0, 0, Qt::KeypadModifier); };
    EXPECT_EQ(pad(Qt::Key_0), 0x60);
    EXPECT_EQ(pad(Qt::Key_9), 0x69);
    EXPECT_EQ(pad(Qt::Key_Comma), 0x6E);
    EXPECT_EQ(pad(Qt::Key_Slash), 0x6F);
    EXPECT_EQ(pad(Qt::Key_Home), 0x24);

    const auto keysym = [](int key, quint32 code) { return translate(key, NativeKeys::keysyms, code); };
    EXPECT_EQ(keysym(Qt::Key_Shift, 0xFFE2), 0xA1);
    EXPECT_EQ(keysym(Qt::Key_Control, 0xFFE4), 0xA3);
    EXPECT_EQ(keysym(Qt::Key_Alt, 0xFFE9), 0xA4);
    EXPECT_EQ(keysym(Qt::Key_Meta, 0xFFEC), 0x5C);
    EXPECT_EQ(keysym(Qt::Key_A, 'a'), 0x41);

    const auto native = [](quint32 code, quint32 scanCode) {
        return translate(Qt::Key_unknown, NativeKeys::virtualKeys, code, scanCode);
    };
    EXPECT_EQ(native(0x10, 0x2A), 0xA0);
    EXPECT_EQ(native(0x10, 0x36), 0xA1);
    EXPECT_EQ(native(0x11, 0x1D), 0xA2);
    EXPECT_EQ(native(0x11, 0x11D), 0xA3);
    EXPECT_EQ(native(0x12, 0x138), 0xA5);
    EXPECT_EQ(native(0x5C, 0x15C), 0x5C);
    EXPECT_EQ(native(0xE2, 0x56), 0xE2);
    EXPECT_EQ(native(0x1FF, 0), 0) << "no virtual-key code";
}

// ---- Publishing ----

class InputPublisherTest : public testing::Test {
protected:
    InputPublisherTest() {
        LoggingService::instance().clear();
        EXPECT_TRUE(publisher.open(blocks.all())) << qPrintable(publisher.errorString());
        publisher.watch(&window);
    }

    void sendKey(QEvent::Type type, int key, quint32 scanCode = 0, bool isRepeat = false) {
        QKeyEvent event(type, key, Qt::NoModifier, scanCode, 0, 0, {}, isRepeat);
        QCoreApplication::sendEvent(&window, &event);
    }
    void press(int key, quint32 scanCode = 0) { sendKey(QEvent::KeyPress, key, scanCode); }
    void release(int key, quint32 scanCode = 0) { sendKey(QEvent::KeyRelease, key, scanCode); }
    void moveMouse(QPointF to, Qt::MouseButtons buttons = Qt::NoButton) {
        QMouseEvent event(QEvent::MouseMove, to, to, Qt::NoButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }
    void turnWheel(int delta) {
        QWheelEvent event({}, {}, {}, {0, delta}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &event);
    }
    void send(QEvent::Type type) {
        QEvent event(type);
        QCoreApplication::sendEvent(&window, &event);
    }
    void loseFocus() {
        QFocusEvent event(QEvent::FocusOut);
        QCoreApplication::sendEvent(&window, &event);
    }
    void runUntilSteps(std::uint64_t steps) {
        while (publisher.publishedSteps() < steps)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    template<class Record>
    static Record read(const test::Peer& block) {
        Record record;
        std::int64_t ignored = 0;
        EXPECT_TRUE(block.readData(&record, sizeof record, ignored)) << "nothing was published";
        return record;
    }
    std::vector<int> heldKeys() const {
        const auto keyboard = read<KeyboardData>(keyboardBlock);
        std::vector<int> held;
        for (int key = 0; key < 256; ++key) {
            if (keyboard.keys[static_cast<std::size_t>(key)] != 0)
                held.push_back(key);
        }
        return held;
    }
    MouseData mouse() const { return read<MouseData>(mouseBlock); }

    test::Blocks blocks;
    test::Peer keyboardBlock{blocks, BlockName::kKeyboardRawInput};
    test::Peer mouseBlock{blocks, BlockName::kMouseRawInput};
    test::Peer controllerBlock{blocks, BlockName::kControllerOutput};
    QWindow window;
    InputPublisher publisher;
};

TEST_F(InputPublisherTest, PublishesWhatKeysAreHeld) {
    press(Qt::Key_A, 38);
    EXPECT_THAT(heldKeys(), ElementsAre(0x41));
    press(Qt::Key_Shift, 50);
    EXPECT_THAT(heldKeys(), ElementsAre(0x10, 0x41, 0xA0));
    EXPECT_EQ(read<KeyboardData>(keyboardBlock).modifiers, KeyModifier::kLeftShift);

    const std::int64_t before = keyboardBlock.sequence();
    sendKey(QEvent::KeyRelease, Qt::Key_A, 38, true); // the system's repetition of a held key
    sendKey(QEvent::KeyPress, Qt::Key_A, 38, true);
    press(Qt::Key_VolumeUp, 123);
    release(Qt::Key_B, 56); // was pressed elsewhere
    EXPECT_EQ(keyboardBlock.sequence(), before);

    release(Qt::Key_A, 38);
    release(Qt::Key_Shift, 50);
    EXPECT_THAT(heldKeys(), IsEmpty());
    EXPECT_EQ(read<KeyboardData>(keyboardBlock).modifiers, 0U);
}

TEST_F(InputPublisherTest, ReleasesAKeyThatIsCalledOtherwiseByThen) {
    press(Qt::Key_Shift, 50);
    press(Qt::Key_Exclam, 10);
    EXPECT_THAT(heldKeys(), ElementsAre(0x10, 0x31, 0xA0));
    release(Qt::Key_Shift, 50);
    release(Qt::Key_1, 10);
    EXPECT_THAT(heldKeys(), IsEmpty());

    // Two keys of the same code: one is still held when the other is released.
    press(Qt::Key_Return, 36);
    press(Qt::Key_Enter, 104);
    release(Qt::Key_Return, 36);
    EXPECT_THAT(heldKeys(), ElementsAre(0x0D));
}

TEST_F(InputPublisherTest, ReleasesEverythingWithTheFocus) {
    press(Qt::Key_A);
    moveMouse({10, 10}, Qt::LeftButton);
    loseFocus();
    EXPECT_THAT(heldKeys(), IsEmpty());
    EXPECT_EQ(mouse().buttons, 0);

    press(Qt::Key_A);
    publisher.watch(nullptr);
    EXPECT_THAT(heldKeys(), IsEmpty());
    press(Qt::Key_A);
    EXPECT_THAT(heldKeys(), IsEmpty()) << "nobody watches";
}

TEST_F(InputPublisherTest, PublishesMotionAndButtons) {
    moveMouse({100, 100}, Qt::BackButton | Qt::MiddleButton);
    EXPECT_EQ(mouse().motionX, 0) << "where it is at first is no motion";
    EXPECT_EQ(mouse().buttons, MouseButton::kBack | MouseButton::kMiddle);
    moveMouse({107.75, 90});
    EXPECT_EQ(mouse().motionX, 7);
    EXPECT_EQ(mouse().motionY, -10);
    EXPECT_EQ(mouse().buttons, 0);
    moveMouse({108, 90});
    EXPECT_EQ(mouse().motionX, 1) << "parts of counts add up";

    send(QEvent::Leave);
    send(QEvent::Enter);
    const std::int64_t before = mouseBlock.sequence();
    moveMouse({500, 500});
    EXPECT_EQ(mouseBlock.sequence(), before) << "came in elsewhere";
    EXPECT_EQ(mouse().totalX, 8);
    EXPECT_EQ(mouse().totalY, -10);
    EXPECT_NE(mouse().totalsStartNs, 0U);
}

TEST_F(InputPublisherTest, PublishesWholeNotchesOfTheWheel) {
    turnWheel(60);
    EXPECT_EQ(mouseBlock.sequence(), 0);
    turnWheel(60);
    EXPECT_EQ(mouse().wheel, 1);
    turnWheel(-300);
    EXPECT_EQ(mouse().wheel, -2);
    turnWheel(-60);
    EXPECT_EQ(mouse().wheel, -1);
    EXPECT_EQ(mouse().totalWheel, -2);
}

// ---- The pattern ----

TEST_F(InputPublisherTest, PublishesThePatternAndReleasesWhatItHeld) {
    ASSERT_TRUE(publisher.publishPattern(1000));
    runUntilSteps(6);
    const std::uint64_t last = publisher.publishedSteps() - 1;
    EXPECT_EQ(read<KeyboardData>(keyboardBlock).keys, patternKeyboard(last).keys);
    EXPECT_EQ(read<ControllerData>(controllerBlock).axes, patternController(last).axes);
    EXPECT_EQ(mouse().motionX, patternMouse(last).motionX);
    std::int64_t totalX = 0;
    for (std::uint64_t step = 0; step <= last; ++step)
        totalX += patternMouse(step).motionX;
    EXPECT_EQ(mouse().totalX, totalX);

    publisher.stopPattern();
    EXPECT_THAT(heldKeys(), IsEmpty());
    EXPECT_EQ(mouse().buttons, 0);
    EXPECT_EQ(read<ControllerData>(controllerBlock).buttons, ControllerData{}.buttons);
}

TEST_F(InputPublisherTest, RefusesAPatternWithoutASensibleRate) {
    for (const double hz : {0.0, -1.0, 1000.5, std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(publisher.publishPattern(hz)) << hz;
        EXPECT_FALSE(publisher.errorString().isEmpty());
    }
    EXPECT_EQ(keyboardBlock.sequence(), 0);
}

TEST(InputPattern, ReachesEveryButtonAndBothEndsOfEveryAxis) {
    std::set<int> buttons;
    std::set<int> letters;
    float lowest = 0;
    float highest = 0;
    std::int64_t totalX = 0;
    std::int64_t totalY = 0;
    std::int64_t totalWheel = 0;
    constexpr std::uint64_t kSteps = 6720; // a multiple of all periods
    for (std::uint64_t step = 0; step < kSteps; ++step) {
        const ControllerData controller = patternController(step);
        for (int i = 0; i < 21; ++i) {
            if (controller.buttons[static_cast<std::size_t>(i)] > 50)
                buttons.insert(i);
        }
        lowest = std::min(lowest, controller.axes[3]);
        highest = std::max(highest, controller.axes[3]);
        for (int key = 0x41; key <= 0x5A; ++key) {
            if (patternKeyboard(step).keys[static_cast<std::size_t>(key)] != 0)
                letters.insert(key);
        }
        totalX += patternMouse(step).motionX;
        totalY += patternMouse(step).motionY;
        totalWheel += patternMouse(step).wheel;
    }
    EXPECT_EQ(buttons.size(), 21U);
    EXPECT_EQ(letters.size(), 26U);
    EXPECT_EQ(lowest, -100);
    EXPECT_EQ(highest, 100);
    EXPECT_EQ(totalX, 0);
    EXPECT_EQ(totalY, 0);
    EXPECT_EQ(totalWheel, 0);
}

// ---- The controller, and trouble ----

TEST_F(InputPublisherTest, RepeatsTheControllersInput) {
    test::Peer input(blocks, BlockName::kControllerInput);
    const std::array events{controllerBlock.getEventHandle()};
    const auto expectRepeated = [&](float value) {
        ControllerData controller;
        controller.buttons[2] = value;
        ASSERT_TRUE(input.writeData(&controller, sizeof controller));
        do {
            ASSERT_EQ(platform::waitAny(events, kPatienceMs).kind, platform::WaitResult::Kind::signalled);
            controllerBlock.resetEvent();
        } while (read<ControllerData>(controllerBlock).buttons[2] != value);
    };
    ASSERT_TRUE(publisher.followControllerInput(true)) << qPrintable(publisher.errorString());
    expectRepeated(30);
    expectRepeated(40);
    ASSERT_TRUE(publisher.publishPattern(1000));
    runUntilSteps(3);
    publisher.stopPattern();
    EXPECT_EQ(read<ControllerData>(controllerBlock).buttons[2], 40) << "the pattern leaves it alone";
    ASSERT_TRUE(publisher.followControllerInput(false));
    ASSERT_TRUE(publisher.publishPattern(1000));
    runUntilSteps(1);
    EXPECT_NE(read<ControllerData>(controllerBlock).buttons[2], 40);
}

TEST_F(InputPublisherTest, SaysWhatIsMissing) {
    InputPublisher other;
    EXPECT_FALSE(other.open({}));
    EXPECT_TRUE(other.errorString().contains(QLatin1String(BlockName::kKeyboardRawInput)));
    EXPECT_FALSE(other.followControllerInput(true));
    QList<MemoryBlockInfo> gone = blocks.all();
    for (MemoryBlockInfo& block : gone)
        block.segmentName += "-gone";
    EXPECT_FALSE(other.open(gone));
    EXPECT_FALSE(other.errorString().isEmpty());
}

TEST_F(InputPublisherTest, SaysOnceThatAnotherProgramPublishes) {
    const auto warnings = [] {
        const QList<LogEntry> entries = LoggingService::instance().entries();
        return std::count_if(entries.begin(), entries.end(),
                             [](const LogEntry& entry) { return entry.level == LogEntry::Level::warning; });
    };
    const KeyboardData none;
    ASSERT_TRUE(keyboardBlock.writeData(&none, sizeof none));
    press(Qt::Key_A);
    press(Qt::Key_B);
    EXPECT_EQ(warnings(), 1);
    keyboardBlock.disconnect();
    ASSERT_TRUE(keyboardBlock.connect());
    press(Qt::Key_C);
    EXPECT_THAT(heldKeys(), ElementsAre(0x41, 0x42, 0x43)) << "from then on nothing is missing";
    EXPECT_EQ(warnings(), 1);
}

} // namespace
} // namespace Vantor::devhost
