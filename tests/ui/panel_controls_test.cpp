// The rest of the panel's controls: output protocol, input capture, messages, the live device list, and that
// everybody can find and read them.

#include "tests/ui/panel_fixture.h"
#include "ui/slot_operations.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QWheelEvent>
#include <gmock/gmock.h>

namespace Vantor {
namespace {

using testing::IsEmpty;

class Controls : public Panel {
protected:
    QComboBox* protocols() { return child<QComboBox>("outputProtocol"); }
    void connectProtocols(bool accepts) {
        connectAdapter();
        operations =
            std::make_unique<MemorySlotOperations>([this, accepts](std::span<const std::uint8_t> packet) {
                sent.emplace_back(packet.begin(), packet.end());
                return accepts;
            });
        panel.setSlotOperations(operations.get());
    }
    QMessageBox* box(const QString& title) {
        for (QMessageBox* const candidate : panel.findChildren<QMessageBox*>())
            if (candidate->windowTitle() == title && candidate->isVisible())
                return candidate;
        return nullptr;
    }
    static void settle() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    std::vector<std::vector<std::uint8_t>> sent;
    std::unique_ptr<MemorySlotOperations> operations;
};

TEST_F(Controls, AReportedProtocolIsFollowedWithoutAnEcho) {
    connectProtocols(true);
    EXPECT_EQ(protocols()->currentIndex(), -1) << "nothing reported yet";
    struct Case {
        int reported;
        int selected;
    };
    for (const Case& c : std::vector<Case>{{3, 3}, {13, 13}, {7, 13}, {0, 13}, {255, 13}, {2, 2}}) {
        panel.setOutputProtocol(c.reported, QStringLiteral("named"));
        EXPECT_EQ(protocols()->currentData().toInt(), c.selected) << c.reported;
    }
    EXPECT_THAT(sent, IsEmpty());
    panel.clearStatus();
    EXPECT_EQ(protocols()->currentIndex(), -1);
}

TEST_F(Controls, AChosenProtocolIsSentAndTakenBackWhenItCannotBe) {
    connectProtocols(true);
    panel.setOutputProtocol(3, QStringLiteral("Playstation 4"));
    QTest::keyClick(protocols(), Qt::Key_Down);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0][0], 0x02);
    EXPECT_EQ(sent[0][6], 4);

    connectProtocols(false);
    QTest::keyClick(protocols(), Qt::Key_Down);
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(protocols()->currentData().toInt(), 3) << "what the adapter reported last";

    panel.setConnectionState(ConnectionState::reconnecting);
    EXPECT_FALSE(protocols()->isEnabled());
}

TEST_F(Controls, ScrollingPastTheSelectorsChoosesNothing) {
    connectProtocols(true);
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A")),
                      adapter(QStringLiteral("/dev/b"), QStringLiteral("B"))},
                     {});
    panel.setOutputProtocol(3, QStringLiteral("Playstation 4"));
    for (QComboBox* const list : {protocols(), child<QComboBox>("deviceList")}) {
        const int before = list->currentIndex();
        QWheelEvent wheel({5, 5}, list->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(list, &wheel);
        EXPECT_EQ(list->currentIndex(), before) << qPrintable(list->objectName());
    }
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(Controls, CaptureIsAskedForWithWhatIsTicked) {
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
    auto* const keyboard = child<QCheckBox>("captureKeyboard");
    auto* const mouse = child<QCheckBox>("captureMouse");
    auto* const pad = child<QCheckBox>("captureController");
    auto* const toggle = child<QPushButton>("captureButton");
    EXPECT_FALSE(toggle->isEnabled()) << "not connected";
    panel.setConnectionState(ConnectionState::connected);
    QSignalSpy starts(&panel, &FerryLinkWidget::kmgCaptureStartRequested);
    QSignalSpy stops(&panel, &FerryLinkWidget::kmgCaptureStopRequested);
    keyboard->setChecked(false);
    mouse->setChecked(false);
    EXPECT_FALSE(toggle->isEnabled()) << "nothing to capture";
    QTest::keyClick(mouse, Qt::Key_Space);
    QTest::keyClick(pad, Qt::Key_Space);
    click(toggle);
    ASSERT_EQ(starts.count(), 1);
    EXPECT_EQ(starts.first(), (QList<QVariant>{false, true, true}));

    panel.setKmgCapturing(true);
    panel.setKmgRates(7, 125, 60);
    EXPECT_FALSE(mouse->isVisible());
    EXPECT_EQ(value(QStringLiteral("Mouse rate")), QStringLiteral("Mouse: 125 Hz"));
    EXPECT_EQ(value(QStringLiteral("Controller rate")), QStringLiteral("Controller: 60 Hz"));
    panel.setConnectionState(ConnectionState::reconnecting);
    click(toggle);
    EXPECT_EQ(stops.count(), 1) << "what runs can be ended without a connection too";
    panel.setKmgCapturing(false);
    EXPECT_TRUE(mouse->isVisible());
}

TEST_F(Controls, CompileErrorsCanBeReadSelectedAndCopied) {
    const QString title = QStringLiteral("GPC Compilation Failed");
    panel.showWarningBox(title, QStringLiteral("Line 1, column 2: first"));
    const QPointer<QMessageBox> first = box(title);
    ASSERT_NE(first, nullptr);
    const QString text = QStringLiteral("In a.gph:\nLine 3, column 7: second");
    panel.showWarningBox(title, text);
    settle();
    EXPECT_EQ(first, nullptr) << "replaced";
    QMessageBox* const second = box(title);
    ASSERT_NE(second, nullptr);
    EXPECT_FALSE(second->isModal());
    EXPECT_EQ(second->text(), text);
    const auto* const view = second->findChild<QPlainTextEdit*>(QStringLiteral("warningText"));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->toPlainText(), text);
    EXPECT_TRUE(view->isVisible());

    click(second->findChild<QPushButton*>(QStringLiteral("copyButton")));
    EXPECT_EQ(QApplication::clipboard()->text(), text);
    ASSERT_NE(box(title), nullptr) << "copying leaves it open";
    QTest::keyClick(second, Qt::Key_Escape);
    settle();
    EXPECT_EQ(panel.findChild<QMessageBox*>(), nullptr);
}

TEST_F(Controls, AMessageStaysUntilItIsReadUnlessItIsSaidAgain) {
    const QString title = QStringLiteral("GPC Bytecode");
    const auto texts = [&] {
        QStringList all;
        for (const QMessageBox* const shown : panel.findChildren<QMessageBox*>())
            all += shown->text();
        return all;
    };
    panel.showWarningBox(title, QStringLiteral("Failed to load a.gbc into slot 1."));
    panel.showWarningBox(title, QStringLiteral("Failed to load b.gbc into slot 2."));
    panel.showWarningBox(title, QStringLiteral("Failed to load a.gbc into slot 1."));
    settle();
    EXPECT_EQ(texts(), (QStringList{QStringLiteral("Failed to load b.gbc into slot 2."),
                                    QStringLiteral("Failed to load a.gbc into slot 1.")}));
    for (int i = 0; i < 100; ++i)
        panel.showWarningBox(title, QString::number(i));
    settle();
    EXPECT_EQ(texts().size(), 8);
    EXPECT_EQ(texts().last(), QStringLiteral("99"));
}

TEST_F(Controls, AHugeMessageStaysSmallerThanTheScreen) {
    panel.showWarningBox(QStringLiteral("GPC Compilation Failed"), QString(60000, QLatin1Char('x')));
    QMessageBox* const shown = box(QStringLiteral("GPC Compilation Failed"));
    ASSERT_NE(shown, nullptr);
    EXPECT_LT(shown->height(), 600);
    EXPECT_LT(shown->width(), 900);
}

TEST_F(Controls, BoxesEndWithThePanel) {
    auto other = std::make_unique<FerryLinkWidget>(nullptr);
    other->show();
    other->showWarningBox(QStringLiteral("GPC Script"), QStringLiteral("Could not open a.gpc."));
    const QPointer<QMessageBox> shown = other->findChild<QMessageBox*>();
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->text(), QStringLiteral("Could not open a.gpc."));
    other.reset();
    EXPECT_EQ(shown, nullptr);
}

TEST_F(Controls, LooksForAdaptersOnlyInSightAndWhileDisconnected) {
    auto* const timer = panel.findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_NE(timer, nullptr);
    struct Case {
        ConnectionState state;
        bool visible;
        bool looks;
    };
    for (const Case& c : std::vector<Case>{{ConnectionState::disconnected, true, true},
                                           {ConnectionState::disconnected, false, false},
                                           {ConnectionState::connecting, true, false},
                                           {ConnectionState::connected, true, false},
                                           {ConnectionState::reconnecting, true, false},
                                           {ConnectionState::disconnected, true, true}}) {
        panel.setVisible(c.visible);
        panel.setConnectionState(c.state);
        EXPECT_EQ(timer->isActive(), c.looks) << static_cast<int>(c.state) << c.visible;
    }
    QSignalSpy refreshes(&panel, &FerryLinkWidget::deviceRefreshRequested);
    timer->setInterval(0);
    EXPECT_TRUE(refreshes.wait());
}

TEST_F(Controls, TheGuideForTheFirstAdapterGivesWayToTheGroups) {
    auto* const guide = child<QWidget>("emptyView");
    EXPECT_TRUE(guide->isVisible());
    EXPECT_FALSE(slot(1)->isVisible());
    QSignalSpy refreshes(&panel, &FerryLinkWidget::deviceRefreshRequested);
    click(button(QStringLiteral("Look Again")));
    EXPECT_EQ(refreshes.count(), 1);
    panel.setDevices({adapter(QStringLiteral("/dev/a"), QStringLiteral("A"))}, {});
    EXPECT_FALSE(guide->isVisible());
    EXPECT_TRUE(slot(1)->isVisible());
    panel.setConnectionState(ConnectionState::reconnecting);
    panel.setDevices({}, {});
    EXPECT_FALSE(guide->isVisible()) << "unplugged while in use: what was known stays in sight";
}

TEST_F(Controls, EveryControlHasANameAndATip) {
    connectAdapter();
    panel.setErrorMessage(QStringLiteral("something"));
    panel.showWarningBox(QStringLiteral("GPC Compilation Failed"), QStringLiteral("Line 1, column 1: x"));
    for (const bool capturing : {false, true}) {
        panel.setKmgCapturing(capturing);
        for (const QWidget* const widget : panel.findChildren<QWidget*>()) {
            const bool isControl = (widget->focusPolicy() & Qt::TabFocus) != 0 ||
                                   qobject_cast<const QAbstractButton*>(widget) != nullptr;
            const bool isPrivate = widget->objectName().startsWith(QStringLiteral("qt_"));
            if (!isControl || isPrivate || widget->window() == nullptr || !widget->isVisible())
                continue;
            EXPECT_FALSE(widget->accessibleName().isEmpty())
                << widget->metaObject()->className() << qPrintable(widget->objectName());
            EXPECT_FALSE(widget->toolTip().isEmpty())
                << widget->metaObject()->className() << qPrintable(widget->objectName());
        }
    }
}

} // namespace
} // namespace Vantor
