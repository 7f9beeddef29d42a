// The plug-in from initialize() to shutdown(): starting, failing, stopping and restarting the bridge, and
// what is on the adapter's wire when it ends.

#include "plugin_fixture.h"
#include "simulator/test_frame.h"
#include "tools/ferrylink_host/flexible_dock_widget.h"

#include <QToolButton>

#include <algorithm>

namespace Vantor {
namespace {

const QString kNoDevice =
    QStringLiteral("No Titan Two devices found. Connect one to a USB port and start again.");

class Lifecycle : public PluginFixture {
protected:
    void publishFrame() {
        std::array<std::uint8_t, 200> frame{};
        simulator::fillTestFrame(frame, ++sequence, 0);
        ASSERT_TRUE(producer.connect());
        ASSERT_TRUE(producer.writeData(frame.data(), frame.size(), 0));
    }

    SharedMemoryAccessor producer = block(BlockName::kCVData);
    std::uint64_t sequence = 0;
};

TEST_F(Lifecycle, BridgesFramesStatesAndStatusReports) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    start();
    ASSERT_TRUE(becomes("connected"));
    EXPECT_TRUE(running());
    EXPECT_EQ(status()[QStringLiteral("device_serial")].toString(), QStringLiteral("A"));
    for (const char* const key : {"firmware", "loaded_slot", "output_protocol", "usb_ports", "slots"})
        EXPECT_TRUE(eventually([&] { return !status()[QLatin1String(key)].isNull(); })) << key;
    EXPECT_EQ(shown("Firmware"), status()[QStringLiteral("firmware")].toString());
    EXPECT_EQ(shown("PROG"), QStringLiteral("Vantor"));

    publishFrame();
    EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_FRAMES_INTACT, 1, kPatienceMs), 1);
    for (const char* const name : {BlockName::kControllerInput, BlockName::kControllerReport}) {
        SharedMemoryAccessor reader = block(name);
        ASSERT_TRUE(reader.connect());
        EXPECT_TRUE(eventually([&] { return reader.hasNewData(0); })) << name;
    }
    EXPECT_TRUE(eventually([&] { return shown("Input states").endsWith(QStringLiteral(" /s")); }));
}

// What a run counts as overwritten is whatever is missing between the frames that arrived. Where the producer
// waits for each frame's arrival none can be overwritten, so here a lost one has no excuse.
TEST_F(Lifecycle, LosesNoFrameThatTheProducerDoesNotOverwrite) {
    constexpr std::uint64_t kFrames = 5000;
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    start();
    ASSERT_TRUE(becomes("connected"));
    for (std::uint64_t frame = 1; frame <= kFrames; ++frame) {
        publishFrame();
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_FRAMES_INTACT, frame, kPatienceMs), 1)
            << "frame " << frame;
    }
    stop();
    const virtual_adapter_statistics counts = statistics(adapter);
    EXPECT_EQ(counts.frames_intact, kFrames);
    EXPECT_EQ(counts.frames_missing + counts.frames_corrupt + counts.frames_repeated +
                  counts.frames_out_of_order,
              0U);
    EXPECT_EQ(counts.errors, 0U);
}

TEST_F(Lifecycle, InitialisationOfHidapiFailsOnceAndWorksTheNextTime) {
    virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_INIT, 1, 1);
    EXPECT_FALSE(bringUp());
    EXPECT_TRUE(logged(LogEntry::Level::error, QStringLiteral("Failed to initialize HIDAPI")));
    start(); // there is nothing to start yet
    EXPECT_FALSE(running());
    EXPECT_TRUE(plugin->initialize());
}

TEST_F(Lifecycle, WithoutAnAdapterSaysSoAndFindsOneThatComesLater) {
    ASSERT_TRUE(bringUp());
    showPanel();
    start();
    EXPECT_FALSE(running());
    EXPECT_EQ(shown("Error message"), kNoDevice);
    EXPECT_TRUE(logged(LogEntry::Level::error, kNoDevice));

    virtual_adapter_add("bus:1", "A", nullptr);
    start();
    EXPECT_TRUE(becomes("connected"));
    EXPECT_EQ(shown("Error message"), QString());
}

TEST_F(Lifecycle, AFailingWorkerEndsBothIsShownAndCanBeStartedAgain) {
    struct Case {
        virtual_adapter_operation operation;
        unsigned kth;
        const char* message;
    };
    const std::vector<Case> cases{
        {VIRTUAL_ADAPTER_OPEN, 1, "Failed to open Titan Two device"},
        {VIRTUAL_ADAPTER_WRITE, 1, "Failed to initialize Titan Two device"},
        {VIRTUAL_ADAPTER_WRITE, 2, "Failed to initialize Titan Two device"},
        {VIRTUAL_ADAPTER_WRITE, 3, "Failed to complete initialization sequence"},
        {VIRTUAL_ADAPTER_WRITE, 4, "Failed to complete initialization sequence"},
        {VIRTUAL_ADAPTER_WRITE, 5, "Failed to complete initialization sequence"},
    };
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    for (const Case& c : cases) {
        virtual_adapter_fail(adapter, c.operation, c.kth, VIRTUAL_ADAPTER_FOREVER);
        start();
        ASSERT_TRUE(eventually([&] { return !running(); })) << c.message;
        EXPECT_TRUE(
            eventually([&] { return logged(LogEntry::Level::error, QString::fromLatin1(c.message)); }));
        EXPECT_FALSE(shown("Error message").isEmpty());
        EXPECT_EQ(connection(), QStringLiteral("disconnected")) << c.message;
        EXPECT_EQ(statistics(adapter).open_handles, 0U) << c.message;
        EXPECT_FALSE(anyTimerRuns()) << c.message;

        virtual_adapter_fail(adapter, c.operation, 1, 0);
        start();
        EXPECT_TRUE(becomes("connected")) << c.message;
        EXPECT_EQ(shown("Error message"), QString());
        stop();
        LoggingService::instance().clear();
    }
}

TEST_F(Lifecycle, APathThatLeadsNowhereIsAFailureToOpen) {
    virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    for (const char* const path : {"", "bus:9"}) {
        QMetaObject::invokeMethod(object, "onStartBridgeRequested", Q_ARG(QString, QLatin1String(path)));
        ASSERT_TRUE(eventually([&] { return !running(); })) << path;
        for (const char* const message :
             {"Failed to open Titan Two device", "Failed to open Titan Two device for output"})
            EXPECT_TRUE(eventually([&] {
                return logged(LogEntry::Level::error, QString::fromLatin1(message));
            })) << path
                << message;
        EXPECT_EQ(connection(), QStringLiteral("disconnected"));
        EXPECT_FALSE(anyTimerRuns());
        LoggingService::instance().clear();
    }
}

TEST_F(Lifecycle, AnAdapterThatFailsOnBothSidesAtOnceIsLostOnce) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    start();
    ASSERT_TRUE(becomes("connected"));
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 1, VIRTUAL_ADAPTER_FOREVER);
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_READ, 1, VIRTUAL_ADAPTER_FOREVER);
    // Four packets each. The event loop stands still meanwhile, so that both workers' word comes together.
    for (unsigned failures = 4; failures <= 100; failures += 4) {
        publishFrame();
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_WRITE_FAILURES, failures, kPatienceMs),
                  1);
    }
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_READ_FAILURES, 100, kPatienceMs), 1);
    EXPECT_TRUE(becomes("reconnecting"));
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 1, 0);
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_READ, 1, 0);
    EXPECT_TRUE(becomes("connected"));
    const QList<LogEntry> entries = LoggingService::instance().entries();
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                            [](const LogEntry& entry) { return entry.level == LogEntry::Level::warning; }),
              1);
}

TEST_F(Lifecycle, AnAdapterWithoutSerialNumberIsAcceptedFromThePanel) {
    virtual_adapter_add("bus:1", nullptr, nullptr);
    virtual_adapter_add("bus:2", "", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down}) {
        QTest::keyClick(deviceList(), key);
        start();
        EXPECT_TRUE(becomes("connected"));
        stop();
    }
}

TEST_F(Lifecycle, NothingFollowsTheStopPacketAtShutdown) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    start();
    ASSERT_TRUE(becomes("connected"));
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
    for (int i = 0; i < 20; ++i)
        publishFrame();
    plugin->shutdown();
    plugin->shutdown();

    const std::vector<Report> reports = received(adapter);
    ASSERT_GE(reports.size(), 7U);
    // Packet byte n lies behind the report id.
    const Report& last = reports.back();
    EXPECT_EQ(last[1], 0xF1);
    EXPECT_EQ(last[1 + 37], 0x80) << "the last report is not the stop packet";
    EXPECT_EQ(last[1 + 38], 0x00);
    // Frames that were under way may still come behind the bridge's own farewell.
    EXPECT_TRUE(std::any_of(reports.begin(), reports.end(), [](const Report& report) {
        return report[1] == 0xF1 && report[1 + 38] == 0x80;
    })) << "the bridge's closing packet is missing";
    EXPECT_EQ(statistics(adapter).reports_since_stop, 0U);
    EXPECT_FALSE(running());
    EXPECT_EQ(connection(), QStringLiteral("disconnected"));
}

TEST_F(Lifecycle, AShutdownDuringTheInitialisationEndsWithTheStopPacketToo) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    for (const std::uint64_t writes : {0U, 1U, 3U}) { // right behind the start, then between two packets
        const std::uint64_t before = statistics(adapter).writes;
        ASSERT_TRUE(bringUp());
        start();
        ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_WRITES, before + writes, kPatienceMs),
                  1);
        plugin->shutdown();
        const Report last = received(adapter).back();
        EXPECT_EQ(last[1], 0xF1);
        EXPECT_EQ(last[1 + 37], 0x80) << "the last report is not the stop packet";
        EXPECT_EQ(statistics(adapter).reports_since_stop, 0U);
        EXPECT_EQ(statistics(adapter).open_handles, 0U);
    }
}

TEST_F(Lifecycle, ComesUpAgainAfterAShutdown) {
    virtual_adapter_add("bus:1", "A", nullptr);
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(bringUp());
        ASSERT_TRUE(plugin->initialize()) << "a second call changes nothing";
        start();
        EXPECT_TRUE(becomes("connected"));
        plugin->shutdown();
        start(); // nobody is there to do it
        EXPECT_FALSE(running());
    }
}

TEST_F(Lifecycle, RestartClosesTheAdapterAndInitialisesItAgain) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    start();
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
    QTest::mouseClick(restartButton(), Qt::LeftButton);
    EXPECT_TRUE(running()) << "the run controls may not flicker";
    EXPECT_EQ(statistics(adapter).closing_packets, 1U);
    EXPECT_TRUE(eventually([&] { return statistics(adapter).initialisations == 2; }));
    EXPECT_TRUE(becomes("connected"));
}

TEST_F(Lifecycle, AShutdownOrStopInTheRestartsPauseIsFinal) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    start();
    ASSERT_TRUE(becomes("connected"));
    QMetaObject::invokeMethod(object, "onRestartBridgeRequested", Q_ARG(QString, QStringLiteral("bus:1")));
    ASSERT_TRUE(anyTimerRuns());
    stop();
    EXPECT_FALSE(anyTimerRuns());
    QMetaObject::invokeMethod(object, "onRestartBridgeRequested", Q_ARG(QString, QStringLiteral("bus:1")));
    plugin->shutdown();
    EXPECT_FALSE(anyTimerRuns());
    EXPECT_EQ(statistics(adapter).initialisations, 1U);
}

TEST_F(Lifecycle, ARestartOutlivesTheErrorOfTheRunThatItEnds) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    virtual_adapter_fail(adapter, VIRTUAL_ADAPTER_WRITE, 1, 1);
    start();
    // Has failed, but nobody has heard of it yet.
    ASSERT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_WRITE_FAILURES, 1, kPatienceMs), 1);
    QMetaObject::invokeMethod(object, "onRestartBridgeRequested", Q_ARG(QString, QStringLiteral("bus:1")));
    EXPECT_TRUE(becomes("connected"));
    EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
}

TEST_F(Lifecycle, PanelAndPluginEndInEitherOrder) {
    virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    start();
    ASSERT_TRUE(becomes("connected"));
    panel.reset();
    EXPECT_TRUE(eventually(
        [&] { return !object->property("rates").toJsonObject()[QStringLiteral("input_pps")].isNull(); }));
    showPanel();
    EXPECT_EQ(shown("Connection"), QStringLiteral("Connected"))
        << "a later panel knows what an earlier one knew";
    removePlugin();
    QTest::mouseClick(restartButton(), Qt::LeftButton); // nobody answers, and nothing falls over
}

TEST_F(Lifecycle, HandsItsRestartActionToTheHostsDock) {
    const int adapter = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    FlexibleDockWidget dock(QStringLiteral("Ferry Link"));
    dock.show();
    auto* inBetween = new QWidget(&dock);
    plugin->createPanel(inBetween);
    QToolButton* button = nullptr;
    ASSERT_TRUE(
        eventually([&] { return (button = dock.titleBarWidget()->findChild<QToolButton*>()) != nullptr; }));
    EXPECT_EQ(button->text(), QStringLiteral("Restart Bridge"));
    EXPECT_EQ(button->toolTip(), QStringLiteral("Restart the Ferry Link connection"));
    QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_TRUE(eventually([&] { return statistics(adapter).initialisations == 1; }));

    delete inBetween;
    EXPECT_TRUE(eventually([&] { return dock.titleBarWidget()->findChild<QToolButton*>() == nullptr; }))
        << "the button outlives the panel that it restarts";
}

} // namespace
} // namespace Vantor
