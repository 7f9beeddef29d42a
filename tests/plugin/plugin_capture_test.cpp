// Capture through the plug-in: when it may start, that it ends with the bridge, and that neither takes the
// other down.

#include "host/records.h"
#include "plugin_fixture.h"

namespace Vantor {
namespace {

const QString kNotConnected =
    QStringLiteral("Start the bridge, and wait until it is connected, before capturing input.");
constexpr std::uint8_t kCapturePacket = 0x52;
constexpr std::size_t kFirstKeyOffset = 1 + 6; // behind the report id
constexpr std::uint8_t kVirtualKeyA = 0x41;
constexpr std::uint8_t kUsageA = 0x04;

class Capture : public PluginFixture {
protected:
    /// Connected, with the initialisation behind it.
    void connectToAdapter() {
        adapter = virtual_adapter_add("bus:1", "A", nullptr);
        ASSERT_TRUE(bringUp());
        showPanel();
        start();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
    }
    void capture(bool keys, bool mouse, bool controller) {
        startCapture(keys, mouse, controller);
        ASSERT_TRUE(eventually([this] { return capturing(); }));
    }
    void hold(std::uint8_t key) {
        KeyboardData record;
        record.keys[key] = 1;
        ASSERT_TRUE(keyboard.connect());
        ASSERT_TRUE(keyboard.writeData(&record, sizeof record));
    }
    /// The key usage in the newest capture packet; -1 when none has come.
    int lastKey() const {
        int key = -1;
        for (const Report& report : received(adapter))
            if (report[1] == kCapturePacket)
                key = report[kFirstKeyOffset];
        return key;
    }
    std::int64_t recordsIn(const char* name) const {
        SharedMemoryAccessor reader = block(name);
        std::int64_t sequence = 0;
        ControllerData record;
        EXPECT_TRUE(reader.connect());
        reader.readData(&record, sizeof record, sequence);
        return sequence;
    }

    int adapter = -1;
    SharedMemoryAccessor keyboard = block(BlockName::kKeyboardRawInput);
};

TEST_F(Capture, IsRefusedWithoutAConnectionAndWithoutAnythingToCapture) {
    ASSERT_TRUE(bringUp());
    showPanel();
    startCapture(true, true, true);
    EXPECT_EQ(shown("Error message"), kNotConnected);
    EXPECT_TRUE(logged(LogEntry::Level::error, kNotConnected, "KMGCapture"));

    connectToAdapter();
    startCapture(false, false, false);
    EXPECT_EQ(shown("Error message"),
              QStringLiteral("Choose the keyboard, the mouse or the controller to be captured."));
    QCoreApplication::processEvents();
    EXPECT_FALSE(capturing());
    EXPECT_EQ(connection(), QStringLiteral("connected"));
    EXPECT_EQ(statistics(adapter).open_handles, 2U) << "the bridge's and the outbound thread's";
}

TEST_F(Capture, CarriesTheKeyboardAndLetsGoOfItAtTheEnd) {
    connectToAdapter();
    capture(true, false, false);
    hold(kVirtualKeyA);
    EXPECT_TRUE(eventually([this] { return lastKey() == kUsageA; }));
    QMetaObject::invokeMethod(object, "onKMGCaptureStopRequested");
    EXPECT_FALSE(capturing());
    EXPECT_EQ(lastKey(), 0) << "the key is still held on the console";
    EXPECT_EQ(connection(), QStringLiteral("connected"));
    EXPECT_EQ(statistics(adapter).open_handles, 2U);
}

TEST_F(Capture, OfTheControllerKeepsTheBridgeFromPublishingItsInput) {
    connectToAdapter();
    for (const bool controller : {true, false}) {
        capture(true, false, controller);
        const std::int64_t inputs = recordsIn(BlockName::kControllerInput);
        const std::int64_t reports = recordsIn(BlockName::kControllerReport);
        EXPECT_TRUE(eventually([&] { return recordsIn(BlockName::kControllerReport) > reports + 20; }));
        // One that was being written when the capture began may still come.
        EXPECT_EQ(recordsIn(BlockName::kControllerInput) <= inputs + 1, controller);
        QMetaObject::invokeMethod(object, "onKMGCaptureStopRequested");
        const std::int64_t afterwards = recordsIn(BlockName::kControllerInput);
        EXPECT_TRUE(eventually([&] { return recordsIn(BlockName::kControllerInput) > afterwards + 2; }));
    }
}

TEST_F(Capture, EndsBeforeTheBridgeDoesWhateverEndsThat) {
    adapter = virtual_adapter_add("bus:1", "A", nullptr);
    for (const QLatin1String ending :
         {QLatin1String("stop"), QLatin1String("restart"), QLatin1String("shutdown")}) {
        const std::uint64_t closings = statistics(adapter).closing_packets;
        const std::uint64_t initialisations = statistics(adapter).initialisations;
        ASSERT_TRUE(bringUp());
        start();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, initialisations + 1,
                                       kPatienceMs),
                  1);
        capture(true, false, false);
        hold(kVirtualKeyA);
        ASSERT_TRUE(eventually([this] { return lastKey() == kUsageA; })) << ending.data();
        if (ending == QLatin1String("stop"))
            stop();
        else if (ending == QLatin1String("restart"))
            QMetaObject::invokeMethod(object, "onRestartBridgeRequested",
                                      Q_ARG(QString, QStringLiteral("bus:1")));
        else
            plugin->shutdown();
        EXPECT_FALSE(capturing()) << ending.data();
        EXPECT_EQ(lastKey(), 0) << ending.data();
        EXPECT_EQ(statistics(adapter).closing_packets, closings + 1) << ending.data();
        EXPECT_EQ(statistics(adapter).errors, 0U) << ending.data();
        stop();
        hold(0); // no key has this code
    }
}

TEST_F(Capture, ThatFailsEndsAloneAndCanBeStartedAgain) {
    connectToAdapter();
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_OPEN, 1, 1);
    startCapture(true, false, false);
    const QString error = QStringLiteral("Failed to open Titan Two for KMG capture");
    EXPECT_TRUE(eventually([&] { return shown("Error message") == error; }));
    EXPECT_TRUE(logged(LogEntry::Level::error, error, "KMGCapture"));
    EXPECT_FALSE(capturing());
    EXPECT_EQ(connection(), QStringLiteral("connected"));
    capture(true, false, false);
    EXPECT_EQ(shown("Error message"), QString()) << "it works now";
}

TEST_F(Capture, EndsWithALostAdapterAndDoesNotComeBackByItself) {
    connectToAdapter();
    capture(true, true, true);
    virtual_adapter_unplug(adapter);
    ASSERT_TRUE(becomes("reconnecting"));
    EXPECT_FALSE(capturing());
    EXPECT_EQ(statistics(adapter).open_handles, 0U);
    virtual_adapter_replug(adapter, "bus:2");
    ASSERT_TRUE(becomes("connected"));
    EXPECT_FALSE(capturing());
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 2, kPatienceMs), 1);
    capture(true, false, false);
    hold(kVirtualKeyA);
    EXPECT_TRUE(eventually([this] { return lastKey() == kUsageA; }));
}

} // namespace
} // namespace Vantor
