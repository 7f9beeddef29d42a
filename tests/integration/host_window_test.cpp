// A person's session at the window, from choosing the adapter to losing it and getting it back.

#include "tools/ferrylink_host/input_publisher.h"
#include "window_fixture.h"

#include <QElapsedTimer>

#include <array>

namespace Vantor {
namespace {

const QString kExamples = QStringLiteral(FERRYLINK_EXAMPLES_FOLDER);
constexpr char kBytecodeFormat[] = "application/x-vantor-gpc-bytecode-file";
constexpr char kSourceFormat[] = "application/x-vantor-gpc-source-file";
constexpr std::size_t kButton21 = 20;

class HostWindowSession : public HostWindowTest {
protected:
    void chooseSecondAdapterAndConnect();
    void loadByMenuAndByDrop();
    void seeTheScriptAtWork();
    void playOnTheKeyboard();
    void readACompileError();
    void refuseWhatDoesNotFit();
    void changeTheProtocolFromEitherSide();
    void removeTheScript();
    void unplugAndReplug();

    /// Commands to set the protocol that the adapter has received.
    std::size_t protocolCommands() const {
        std::size_t found = 0;
        for (std::uint64_t i = 0; i < virtual_adapter_captured_count(adapter); ++i) {
            std::array<unsigned char, 65> report{};
            virtual_adapter_captured(adapter, i, report.data(), report.size(), nullptr);
            found += report[1] == 0x02 && report[3] == 0x03 ? 1 : 0; // the initialisation's has 0 there
        }
        return found;
    }
    int protocolShown() const { return find<QComboBox>("outputProtocol")->currentData().toInt(); }

    int adapter = -1;
};

void HostWindowSession::chooseSecondAdapterAndConnect() {
    auto* const devices = find<QComboBox>("deviceList");
    ASSERT_EQ(devices->count(), 2);
    QTest::keyClick(devices, Qt::Key_Down);
    pressRun();
    ASSERT_TRUE(becomes("connected"));
    EXPECT_EQ(status()[QStringLiteral("device_serial")].toString(), QStringLiteral("B"));
    ASSERT_TRUE(ready());
    EXPECT_EQ(find<QLabel>("connectionState")->text(), QStringLiteral("Connected"));
}

void HostWindowSession::loadByMenuAndByDrop() {
    chooseFromMenu(5, "Load GPC Script...");
    typeIntoFileDialog("Load GPC Script", kExamples + QStringLiteral("/rapid_fire.gpc"));
    EXPECT_TRUE(slotSays(5, "Rapid fire 1.00"));
    EXPECT_TRUE(slotSays(5, "loaded"));
    EXPECT_EQ(counts(adapter).loaded_slot, 5U);

    EXPECT_TRUE(dropFromLibrary(6, "remap.gpc"));
    EXPECT_TRUE(slotSays(6, "Left-handed 1.00"));
    EXPECT_TRUE(slotSays(6, "loaded"));
    EXPECT_FALSE(slotText(5).contains(QStringLiteral("loaded")));
    EXPECT_EQ(box(), nullptr);
}

/// The script in slot 6 takes button 21 out.
void HostWindowSession::seeTheScriptAtWork() {
    SharedMemoryAccessor input = block(BlockName::kControllerInput);
    SharedMemoryAccessor report = block(BlockName::kControllerReport);
    ASSERT_TRUE(input.connect());
    ASSERT_TRUE(report.connect());
    int pressed = 0;
    EXPECT_TRUE(eventually([&] {
        std::int64_t ignored = 0;
        ControllerData sent;
        ControllerData passedOn;
        if (input.readData(&sent, sizeof sent, ignored) && sent.buttons[kButton21] > 1) {
            EXPECT_TRUE(report.readData(&passedOn, sizeof passedOn, ignored));
            EXPECT_EQ(passedOn.buttons[kButton21], 0);
            ++pressed;
        }
        return pressed >= 20;
    }));
}

/// What is typed in the window goes to the adapter while it is captured, and is let go of at the end.
void HostWindowSession::playOnTheKeyboard() {
    devhost::InputPublisher input;
    ASSERT_TRUE(input.open(session->memoryBlocks())) << qPrintable(input.errorString());
    input.watch(window->windowHandle());
    auto* const capture = find<QAbstractButton>("captureButton");
    QTest::mouseClick(capture, Qt::LeftButton);
    ASSERT_TRUE(eventually([&] { return status()[QStringLiteral("capturing")].toBool(); }));
    QTest::keyPress(window->windowHandle(), Qt::Key_W);
    EXPECT_TRUE(eventually([&] { return counts(adapter).capture_keyboard_packets > 0; }));
    const std::uint64_t neutral = counts(adapter).capture_neutral_packets;
    QTest::mouseClick(capture, Qt::LeftButton);
    EXPECT_TRUE(eventually([&] { return !status()[QStringLiteral("capturing")].toBool(); }));
    EXPECT_EQ(counts(adapter).capture_neutral_packets, neutral + 1) << "the key is still held on the console";
    QTest::keyRelease(window->windowHandle(), Qt::Key_W);
}

void HostWindowSession::readACompileError() {
    const std::uint64_t before = virtual_adapter_captured_count(adapter);
    const QString broken = write("broken.gpc", "main {\n    set_val(BUTTON_1, nothing);\n}\n");
    EXPECT_TRUE(dropFile(7, broken, kSourceFormat));
    EXPECT_TRUE(readBox("GPC Compilation Failed").startsWith(QStringLiteral("Line 2, column 23: ")));
    EXPECT_EQ(virtual_adapter_captured_count(adapter), before) << "something was sent";
    EXPECT_TRUE(slotText(7).contains(QStringLiteral("Empty")));
}

void HostWindowSession::refuseWhatDoesNotFit() {
    const std::uint64_t before = virtual_adapter_captured_count(adapter);
    const QString translator = write("large.git", QByteArray(255, 'x'));
    chooseFromMenu(7, "Load Input Translator...");
    typeIntoFileDialog("Load GPC2 Input Translator", translator);
    EXPECT_EQ(readBox("Invalid Input Translator"),
              QStringLiteral("input translator is too large; maximum .git size is 254 bytes"));

    const QString bytecode = write("large.gbc", QByteArray::fromHex("100007") + QByteArray(8190, '\0'));
    EXPECT_TRUE(dropFile(7, bytecode, kBytecodeFormat));
    EXPECT_EQ(readBox("GPC Bytecode"), QStringLiteral("The dropped GBC exceeds the Titan Two 8 KB limit."));
    chooseFromMenu(7, "Load GPC Script...");
    typeIntoFileDialog("Load GPC Script", bytecode);
    EXPECT_EQ(readBox("Invalid GPC Bytecode"),
              QStringLiteral("GBC bytecode exceeds the Titan Two 8 KB limit"));

    EXPECT_FALSE(dropFile(7, QStringLiteral("large.gbc"), kBytecodeFormat)) << "the path is not absolute";
    EXPECT_FALSE(dropFile(7, bytecode, kSourceFormat)) << "the suffix is another format's";
    EXPECT_EQ(virtual_adapter_captured_count(adapter), before) << "something was sent";
}

void HostWindowSession::changeTheProtocolFromEitherSide() {
    auto* const protocols = find<QComboBox>("outputProtocol");
    const int before = protocolShown();
    const std::size_t commands = protocolCommands();
    QTest::keyClick(protocols, protocols->currentIndex() > 0 ? Qt::Key_Up : Qt::Key_Down);
    const int chosen = protocolShown();
    ASSERT_NE(chosen, before);
    EXPECT_TRUE(
        eventually([&] { return counts(adapter).output_protocol == static_cast<std::uint64_t>(chosen); }));
    EXPECT_EQ(protocolCommands(), commands + 1);

    ASSERT_EQ(virtual_adapter_set_output_protocol(adapter, static_cast<unsigned char>(before)), 0);
    EXPECT_TRUE(eventually([&] { return protocolShown() == before; }));
    EXPECT_EQ(protocolCommands(), commands + 1) << "what the adapter said was sent back to it";
}

void HostWindowSession::removeTheScript() {
    chooseFromMenu(6, "Remove GPC Script");
    EXPECT_TRUE(slotSays(6, "Empty"));
    EXPECT_EQ(counts(adapter).script_bytes[5], 0U);
    EXPECT_GT(counts(adapter).script_bytes[4], 0U);
}

void HostWindowSession::unplugAndReplug() {
    virtual_adapter_unplug(adapter);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_replug(adapter, "bus:7");
    ASSERT_TRUE(becomes("connected"));
    EXPECT_TRUE(slotSays(5, "Rapid fire 1.00"));
    EXPECT_TRUE(slotSays(6, "Empty"));
    EXPECT_EQ(find<QComboBox>("deviceList")->currentData().toString(), QStringLiteral("bus:7"));
}

TEST_F(HostWindowSession, FromTheFirstLookToAReconnection) {
    virtual_adapter_add("bus:1", "A", nullptr);
    adapter = virtual_adapter_add("bus:2", "B", nullptr);
    virtual_adapter_set_rates(adapter, 1000, 1000);
    openHost();
    chooseSecondAdapterAndConnect();
    loadByMenuAndByDrop();
    seeTheScriptAtWork();
    playOnTheKeyboard();
    readACompileError();
    refuseWhatDoesNotFit();
    changeTheProtocolFromEitherSide();
    removeTheScript();
    unplugAndReplug();
    EXPECT_EQ(counts(adapter).errors, 0U);
}

TEST_F(HostWindowSession, ShowsLiveDataSoonAfterItIsStarted) {
    constexpr qint64 kLimitMs = 5000;
    adapter = virtual_adapter_add("bus:1", "A", nullptr);
    QElapsedTimer watch;
    watch.start();
    openHost();
    pressRun();
    ASSERT_TRUE(becomes("connected"));
    feed();
    for (const char* const figure : {"Frames", "Latency", "Input states", "Output states"})
        EXPECT_TRUE(eventually([&] { return figureShown(figure) > 0; })) << figure;
    EXPECT_TRUE(slotSays(1, "Rapid Fire"));
    EXPECT_LT(watch.elapsed(), kLimitMs);
}

} // namespace
} // namespace Vantor
