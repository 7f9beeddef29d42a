// Which adapter the plug-in takes, which it remembers, and how it comes back to one that was lost.

#include "plugin_fixture.h"

#include <algorithm>

namespace Vantor {
namespace {

class Devices : public PluginFixture {
protected:
    void connectTo(int adapter) {
        const std::uint64_t before = statistics(adapter).initialisations;
        const std::uint64_t opens = statistics(adapter).opens;
        start();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_EQ(
            virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, before + 1, kPatienceMs), 1);
        // The outbound thread may be last with its own handle, and an adapter that is gone by then is one
        // that cannot be opened rather than one that is lost.
        ASSERT_TRUE(eventually([&] { return statistics(adapter).opens >= opens + 2; }));
    }
};

TEST_F(Devices, TakesTheRememberedOneElseTheFirst) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    const int b = virtual_adapter_add("bus:2", "B", nullptr);
    settings.setPluginValue(QStringLiteral("ferry_link"), QStringLiteral("selected_device_serial"),
                            QStringLiteral("B"));
    ASSERT_TRUE(bringUp());
    connectTo(b);
    EXPECT_EQ(statistics(a).opens, 0U);
    stop();
    virtual_adapter_unplug(b);
    connectTo(a);
    EXPECT_EQ(storedSerial(), QStringLiteral("B")) << "taking another one is not choosing it";
}

TEST_F(Devices, RemembersWhatTheUserChoosesAndNothingElse) {
    virtual_adapter_add("bus:1", "A", nullptr);
    const int b = virtual_adapter_add("bus:2", "B", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    start();
    stop();
    EXPECT_EQ(storedSerial(), QString());
    QTest::keyClick(deviceList(), Qt::Key_Down);
    EXPECT_EQ(storedSerial(), QStringLiteral("B"));

    // Gone from the bus, but still in the list: nothing to be remembered.
    virtual_adapter_unplug(b);
    QTest::keyClick(deviceList(), Qt::Key_Up);
    QTest::keyClick(deviceList(), Qt::Key_Down);
    EXPECT_EQ(storedSerial(), QStringLiteral("A"));
}

TEST_F(Devices, ReconnectsOnTheSamePathAndOnANewOne) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    connectTo(a);
    std::uint64_t initialisations = 1;
    for (const char* const path : {"bus:1", "bus:7"}) {
        virtual_adapter_unplug(a);
        ASSERT_TRUE(becomes("reconnecting"));
        EXPECT_TRUE(running()) << "stopping must stay possible";
        EXPECT_FALSE(shown("Error message").isEmpty());
        QTest::mouseClick(panel->findChild<QAbstractButton*>(QStringLiteral("refreshButton")),
                          Qt::LeftButton);
        EXPECT_EQ(deviceList()->currentText(), QStringLiteral("No Titan Two devices found"));
        virtual_adapter_replug(a, path);
        ASSERT_TRUE(becomes("connected")) << path;
        EXPECT_EQ(deviceList()->currentData().toString(), QLatin1String(path));
        ++initialisations;
        EXPECT_EQ(
            virtual_adapter_wait(a, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, initialisations, kPatienceMs), 1);
        EXPECT_EQ(shown("Error message"), QString());
    }
}

TEST_F(Devices, FindsAMovedAdapterWithoutAPanelAndWithoutAnythingRemembered) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    virtual_adapter_add("bus:2", "B", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_replug(a, "bus:9");
    ASSERT_TRUE(becomes("connected"));
    EXPECT_EQ(status()[QStringLiteral("device_serial")].toString(), QStringLiteral("A"));
}

TEST_F(Devices, AFreshlyPluggedAdapterThatRefusesAtFirstIsTriedAgain) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_fail(a, VIRTUAL_ADAPTER_OPEN, 1, 2); // both workers' first
    virtual_adapter_replug(a, nullptr);
    EXPECT_TRUE(becomes("connected"));
    EXPECT_GE(statistics(a).open_failures, 1U);
}

// What the other worker still says of an attempt that has failed comes when nothing runs any more.
TEST_F(Devices, AFailedAttemptLeavesNothingThatLooksLikeAConnection) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_replug(a, nullptr);
    const auto announced = followStatus();
    struct Case {
        virtual_adapter_operation operation;
        unsigned kth;
    };
    for (const Case& c : {Case{VIRTUAL_ADAPTER_OPEN, 1}, Case{VIRTUAL_ADAPTER_OPEN, 2},
                          Case{VIRTUAL_ADAPTER_WRITE, 1}, Case{VIRTUAL_ADAPTER_WRITE, 5}}) {
        LoggingService::instance().clear();
        virtual_adapter_fail(a, c.operation, c.kth, 1);
        QMetaObject::invokeMethod(object, "attemptReconnection");
        const auto hasFailed = [] {
            const QList<LogEntry> entries = LoggingService::instance().entries();
            return std::any_of(entries.begin(), entries.end(),
                               [](const LogEntry& entry) { return entry.level == LogEntry::Level::error; });
        };
        ASSERT_TRUE(eventually(hasFailed));
        QCoreApplication::processEvents();
        EXPECT_EQ(connection(), QStringLiteral("reconnecting")) << c.operation << " " << c.kth;
        EXPECT_FALSE(acceptsCommands()) << c.operation << " " << c.kth;
        EXPECT_TRUE(status()[QStringLiteral("firmware")].isNull()) << c.operation << " " << c.kth;
        EXPECT_EQ(*announced, status()) << c.operation << " " << c.kth;
    }
    EXPECT_TRUE(becomes("connected"));
}

// Starting looks the adapters up twice; without the second list the first one's word must do.
TEST_F(Devices, AnAdapterIsKnownAgainElsewhereAlthoughAListFailedAtTheStart) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_ENUMERATE, 2, 1);
    connectTo(a);
    for (const char* const path : {"bus:2", "bus:3"}) {
        virtual_adapter_unplug(a);
        ASSERT_TRUE(becomes("reconnecting"));
        virtual_adapter_replug(a, path);
        virtual_adapter_fail(VIRTUAL_ADAPTER_LIBRARY, VIRTUAL_ADAPTER_ENUMERATE, 2, 1);
        ASSERT_TRUE(becomes("connected")) << path;
    }
}

TEST_F(Devices, StoppingEndsTheSearch) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    stop();
    EXPECT_FALSE(running());
    EXPECT_EQ(connection(), QStringLiteral("disconnected"));
    EXPECT_FALSE(anyTimerRuns());
}

TEST_F(Devices, AShutdownEndsTheSearch) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    plugin->shutdown();
    EXPECT_FALSE(running());
    EXPECT_FALSE(anyTimerRuns());
    EXPECT_EQ(connection(), QStringLiteral("disconnected"));
}

TEST_F(Devices, ARestartTakesTheSearchsPlace) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_replug(a, nullptr);
    QMetaObject::invokeMethod(object, "onRestartBridgeRequested", Q_ARG(QString, QStringLiteral("bus:1")));
    EXPECT_TRUE(becomes("connected"));
    EXPECT_EQ(virtual_adapter_wait(a, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 2, kPatienceMs), 1);
    stop();
    EXPECT_FALSE(anyTimerRuns());
    EXPECT_EQ(statistics(a).opens, 4U) << "the search opened it as well";
}

TEST_F(Devices, AnAdapterChosenDuringTheSearchIsTakenInstead) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    const int b = virtual_adapter_add("bus:2", "B", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    QTest::keyClick(deviceList(), Qt::Key_Down);
    EXPECT_TRUE(becomes("connected"));
    EXPECT_EQ(status()[QStringLiteral("device_serial")].toString(), QStringLiteral("B"));
    EXPECT_EQ(virtual_adapter_wait(b, VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, 1, kPatienceMs), 1);
}

TEST_F(Devices, TheRememberedOneIsTakenWhenAnotherThatStoodInForItIsLost) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    settings.setPluginValue(QStringLiteral("ferry_link"), QStringLiteral("selected_device_serial"),
                            QStringLiteral("B"));
    ASSERT_TRUE(bringUp());
    showPanel();
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_TRUE(becomes("reconnecting"));
    virtual_adapter_add("bus:2", "B", nullptr);
    ASSERT_TRUE(becomes("connected"));
    EXPECT_EQ(status()[QStringLiteral("device_serial")].toString(), QStringLiteral("B"));
    EXPECT_EQ(deviceList()->currentData().toString(), QStringLiteral("bus:2"));
}

TEST_F(Devices, ALossThatIsHeardOnlyAfterTheStopStartsNothing) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    connectTo(a);
    virtual_adapter_unplug(a);
    // The bridge gives up while the event loop stands still, so that its word is still under way.
    ASSERT_EQ(virtual_adapter_wait(a, VIRTUAL_ADAPTER_COUNT_READ_FAILURES, 100, kPatienceMs), 1);
    stop();
    QCoreApplication::processEvents();
    EXPECT_EQ(connection(), QStringLiteral("disconnected"));
    EXPECT_FALSE(anyTimerRuns());

    // Nor does it disturb the next run.
    virtual_adapter_replug(a, nullptr);
    connectTo(a);
    virtual_adapter_unplug(a);
    ASSERT_EQ(virtual_adapter_wait(a, VIRTUAL_ADAPTER_COUNT_READ_FAILURES, 200, kPatienceMs), 1);
    stop();
    virtual_adapter_replug(a, nullptr);
    start();
    EXPECT_TRUE(becomes("connected"));
    EXPECT_FALSE(logged(LogEntry::Level::warning,
                        QStringLiteral("The device was disconnected. Waiting for it to come back.")));
}

TEST_F(Devices, RefreshShowsWhatHasComeAndGone) {
    const int a = virtual_adapter_add("bus:1", "A", nullptr);
    ASSERT_TRUE(bringUp());
    showPanel();
    ASSERT_EQ(deviceList()->count(), 1);
    virtual_adapter_add("bus:2", "B", nullptr);
    virtual_adapter_unplug(a);
    QTest::mouseClick(panel->findChild<QAbstractButton*>(QStringLiteral("refreshButton")), Qt::LeftButton);
    ASSERT_EQ(deviceList()->count(), 1);
    EXPECT_EQ(deviceList()->currentData().toString(), QStringLiteral("bus:2"));
}

} // namespace
} // namespace Vantor
