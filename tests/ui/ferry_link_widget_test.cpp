// The panel as a user has it: what it shows for what it is told, and what it asks for when clicked and typed
// into.

#include "tests/ui/panel_fixture.h"

#include <QComboBox>
#include <QScrollArea>
#include <QSignalSpy>

namespace Vantor {
namespace {

TEST_F(Panel, WithoutAdaptersSaysSoAndRestartLooksAgainBeforeItComplains) {
    auto* list = child<QComboBox>("deviceList");
    EXPECT_EQ(list->currentText(), QStringLiteral("No Titan Two devices found"));
    EXPECT_FALSE(list->isEnabled());
    EXPECT_EQ(panel.selectedDevicePath(), QString());

    QSignalSpy refreshes(&panel, &FerryLinkWidget::deviceRefreshRequested);
    QSignalSpy restarts(&panel, &FerryLinkWidget::restartBridgeRequested);
    click(child<QAbstractButton>("restartButton"));
    EXPECT_EQ(refreshes.count(), 1);
    EXPECT_EQ(restarts.count(), 0);
    EXPECT_TRUE(panel.errorMessage().startsWith(QStringLiteral("No Titan Two devices found")));
    EXPECT_TRUE(child<QWidget>("errorLine")->isVisible());

    // An owner that answers the refresh with an adapter gets it restarted at once.
    QObject::connect(&panel, &FerryLinkWidget::deviceRefreshRequested, &panel, [this] {
        panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
    });
    click(child<QAbstractButton>("restartButton"));
    ASSERT_EQ(restarts.count(), 1);
    EXPECT_EQ(restarts.first().first().toString(), QStringLiteral("/dev/a"));
}

TEST_F(Panel, KeepsTheSelectionWhereItCanAndNeverClaimsThatTheUserMadeIt) {
    const TitanDevice a = adapter(QStringLiteral("/dev/a"), QStringLiteral("A"));
    const TitanDevice b = adapter(QStringLiteral("/dev/b"), QStringLiteral("B"));
    const TitanDevice aMoved = adapter(QStringLiteral("/dev/c"), QStringLiteral("A"));
    struct Case {
        const char* what;
        QList<TitanDevice> before;
        const char* selected;
        QList<TitanDevice> after;
        const char* remembered;
        const char* expected;
    };
    const std::vector<Case> cases{
        {"nothing known: the first", {}, "", {a, b}, "", "/dev/a"},
        {"the remembered one", {}, "", {a, b}, "B", "/dev/b"},
        {"a remembered one that is absent: the first", {}, "", {a, b}, "Z", "/dev/a"},
        {"the selected path stays, whatever is remembered", {a, b}, "/dev/a", {b, a}, "B", "/dev/a"},
        {"a moved adapter is followed by its serial number", {a, b}, "/dev/a", {b, aMoved}, "B", "/dev/c"},
        {"a selected one that is gone: the remembered", {a, b}, "/dev/a", {b}, "B", "/dev/b"},
        {"all gone", {a, b}, "/dev/b", {}, "B", ""},
    };
    QSignalSpy selections(&panel, &FerryLinkWidget::deviceSelectionChanged);
    for (const Case& c : cases) {
        panel.setDevices({}, {});
        panel.setDevices(c.before, {});
        panel.selectDevice(QString::fromLatin1(c.selected));
        panel.setDevices(c.after, QString::fromLatin1(c.remembered));
        EXPECT_EQ(panel.selectedDevicePath(), QString::fromLatin1(c.expected)) << c.what;
    }
    EXPECT_EQ(selections.count(), 0);
}

TEST_F(Panel, TellsOfASelectionMadeWithTheKeyboard) {
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A")),
                      adapter(QStringLiteral("/dev/b"), QStringLiteral("B"))},
                     {});
    QSignalSpy selections(&panel, &FerryLinkWidget::deviceSelectionChanged);
    QTest::keyClick(child<QComboBox>("deviceList"), Qt::Key_Down);
    EXPECT_EQ(selections.count(), 1);
    EXPECT_EQ(panel.selectedDevicePath(), QStringLiteral("/dev/b"));
}

TEST_F(Panel, RunButtonAsksTheControllerAndFollowsIt) {
    QSignalSpy starts(controller.get(), &PluginRunController::startRequested);
    QSignalSpy stops(controller.get(), &PluginRunController::stopRequested);
    click(button(QStringLiteral("Start Bridge")));
    EXPECT_EQ(starts.count(), 1);
    controller->setRunning(true);
    click(button(QStringLiteral("Stop Bridge")));
    EXPECT_EQ(stops.count(), 1);

    controller.reset();
    QAbstractButton* const orphan = button(QStringLiteral("Start Bridge"));
    ASSERT_NE(orphan, nullptr);
    EXPECT_FALSE(orphan->isEnabled());
}

TEST_F(Panel, RestartsTheSelectedAdapterFromTheKeyboard) {
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
    QSignalSpy restarts(&panel, &FerryLinkWidget::restartBridgeRequested);
    auto* restart = child<QAbstractButton>("restartButton");
    restart->setFocus();
    QTest::keyClick(restart, Qt::Key_Space);
    ASSERT_EQ(restarts.count(), 1);
    EXPECT_EQ(restarts.first().first().toString(), QStringLiteral("/dev/a"));
}

TEST_F(Panel, ShowsWhatIsKnownAndDashesForTheRest) {
    const QString dash = QStringLiteral("\u2013");
    EXPECT_EQ(value(QStringLiteral("Connection")), QStringLiteral("Disconnected"));
    EXPECT_EQ(value(QStringLiteral("Firmware")), dash);

    TitanUsbPortInfo ports;
    ports.inputA = QStringLiteral("Playstation 4");
    ports.inputB = QStringLiteral("Disconnected");
    ports.output = QStringLiteral("Xbox One");
    ports.prog = QStringLiteral("Vantor");
    panel.setConnectionState(ConnectionState::reconnecting);
    panel.setFirmwareVersion(QStringLiteral("1.2.3.4"));
    panel.setOutputProtocol(13, QStringLiteral("Playstation 5"));
    panel.setUsbPorts(ports);
    panel.setLoadedSlot(0);
    panel.setFrameRates(1000, 0.0523, 0.0104);
    panel.setReportRates(250, 125);
    panel.setPacketRate(3000);
    const std::vector<std::pair<const char*, const char*>> rows{{"Connection", "Reconnecting\u2026"},
                                                                {"Firmware", "1.2.3.4"},
                                                                {"IN A", "Playstation 4"},
                                                                {"IN B", "Disconnected"},
                                                                {"OUT", "Xbox One"},
                                                                {"PROG", "Vantor"},
                                                                {"Loaded slot", "None"},
                                                                {"Frames", "1000 Hz"},
                                                                {"Latency", "0.052 ms"},
                                                                {"Jitter", "0.010 ms"},
                                                                {"Input states", "250 /s"},
                                                                {"Output states", "125 /s"},
                                                                {"Reports out", "3000 /s"}};
    for (const auto& [caption, expected] : rows)
        EXPECT_EQ(value(QString::fromLatin1(caption)), QString::fromUtf8(expected)) << caption;

    panel.clearStatus();
    panel.clearRates();
    for (std::size_t i = 1; i < rows.size(); ++i) // the connection's state is not the adapter's to say
        EXPECT_EQ(value(QString::fromLatin1(rows[i].first)), dash) << rows[i].first;
}

TEST_F(Panel, ListsNineSlotsAndIgnoresImpossibleOnes) {
    panel.setScripts({script(0, QStringLiteral("zero"), {}, {}, {}),
                      script(2, QStringLiteral("Rapid Fire"), QStringLiteral("1.05"), QStringLiteral("Me"),
                             QStringLiteral("[RK] x")),
                      script(9, {}, {}, {}, QStringLiteral("[M] aim")),
                      script(10, QStringLiteral("ten"), {}, {}, {}),
                      script(-3, QStringLiteral("minus"), {}, {}, {})});
    panel.setLoadedSlot(2);
    EXPECT_EQ(slotText(1), QStringLiteral("Slot 1, Empty"));
    EXPECT_EQ(slotText(2), QStringLiteral("Slot 2, Rapid Fire 1.05, by Me \u00B7 [RK] x, loaded"));
    EXPECT_EQ(slotText(9), QStringLiteral("Slot 9, [M] aim"));
    EXPECT_EQ(slotText(10), QStringLiteral("(no such slot)"));

    panel.setLoadedSlot(9);
    panel.setScripts({});
    EXPECT_EQ(slotText(2), QStringLiteral("Slot 2, Empty"));
    EXPECT_EQ(slotText(9), QStringLiteral("Slot 9, Empty, loaded"));
}

TEST_F(Panel, FitsANarrowDockWhateverTheAdapterIsCalled) {
    const QString endless(400, QLatin1Char('W'));
    panel.setDevices({adapter(QStringLiteral("/dev/a"), endless)}, {});
    TitanUsbPortInfo ports;
    ports.inputA = ports.inputB = ports.output = ports.prog = endless;
    panel.setUsbPorts(ports);
    panel.setFirmwareVersion(endless);
    panel.setScripts({script(1, endless, endless, endless, endless)});
    panel.setErrorMessage(QStringLiteral("Failed to complete initialization sequence"));
    panel.setFrameRates(4000000000U, 123456.789, 123456.789);
    panel.resize(220, 900);
    QApplication::processEvents();
    EXPECT_EQ(panel.width(), 220);
    const auto* const scroll = panel.findChild<QScrollArea*>();
    EXPECT_LE(scroll->widget()->width(), scroll->viewport()->width())
        << "the content is cut off on the right";
}

TEST_F(Panel, IsWorkedWithTheKeyboardAloneAndNamesEveryControl) {
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
    child<QComboBox>("deviceList")->setFocus();
    QStringList visited;
    for (int i = 0; i < 20; ++i) {
        QWidget* const here = QApplication::focusWidget();
        ASSERT_NE(here, nullptr);
        EXPECT_FALSE(here->accessibleName().isEmpty()) << qPrintable(here->objectName());
        EXPECT_FALSE(here->toolTip().isEmpty()) << qPrintable(here->accessibleName());
        if (visited.contains(here->accessibleName()))
            break;
        visited += here->accessibleName();
        QTest::keyClick(here, Qt::Key_Tab);
    }
    EXPECT_EQ(visited.join(QStringLiteral("; ")).toStdString(),
              QStringLiteral("Device; Refresh device list; Start Bridge; Restart Bridge; Slot 1, \u2013; "
                             "Keyboard; Mouse; Controller; Device status")
                  .toStdString());
}

TEST_F(Panel, ArrowKeysMoveThroughTheSlotsAndStopAtTheEnds) {
    QWidget* slot = nullptr;
    for (QWidget* const widget : panel.findChildren<QWidget*>())
        if (widget->accessibleName().startsWith(QStringLiteral("Slot 1,")))
            slot = widget;
    ASSERT_NE(slot, nullptr);
    panel.setScripts({});
    slot->setFocus();
    const std::vector<std::pair<Qt::Key, const char*>> steps{
        {Qt::Key_Up, "Slot 1, Empty"},   {Qt::Key_Down, "Slot 2, Empty"}, {Qt::Key_End, "Slot 9, Empty"},
        {Qt::Key_Down, "Slot 9, Empty"}, {Qt::Key_Up, "Slot 8, Empty"},   {Qt::Key_Home, "Slot 1, Empty"}};
    for (const auto& [key, expected] : steps) {
        QTest::keyClick(QApplication::focusWidget(), key);
        EXPECT_EQ(QApplication::focusWidget()->accessibleName(), QString::fromLatin1(expected));
    }
}

} // namespace
} // namespace Vantor
