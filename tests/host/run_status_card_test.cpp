#include "host/plugin_run_controller.h"
#include "host/run_status_card.h"

#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace Vantor {
namespace {

class RunStatusCardTest : public testing::Test {
protected:
    RunStatusCardTest() {
        card.runButton()->setActionText("Bridge");
        card.show();
        record(*controller, "");
    }

    void record(PluginRunController& source, const QString& name) {
        QObject::connect(&source, &PluginRunController::startRequested, &card,
                         [=, this] { requests += name + "start "; });
        QObject::connect(&source, &PluginRunController::stopRequested, &card,
                         [=, this] { requests += name + "stop "; });
    }

    void click() { QTest::mouseClick(card.runButton(), Qt::LeftButton); }

    QString text() const { return card.runButton()->text(); }

    RunStatusCard card;
    std::unique_ptr<PluginRunController> controller = std::make_unique<PluginRunController>();
    QString requests;
};

TEST_F(RunStatusCardTest, TheButtonAsksAndFollowsTheController) {
    card.attachTo(controller.get());
    EXPECT_EQ(text(), "Start Bridge");
    click();
    EXPECT_EQ(requests, "start ");
    EXPECT_EQ(text(), "Start Bridge") << "asking is not yet running";
    controller->setRunning(true);
    EXPECT_EQ(text(), "Stop Bridge");
    EXPECT_EQ(card.runButton()->accessibleName(), "Stop Bridge");
    QTest::keyClick(card.runButton(), Qt::Key_Space);
    controller->setRunning(false);
    EXPECT_EQ(requests, "start stop ");
    EXPECT_EQ(text(), "Start Bridge");
}

TEST_F(RunStatusCardTest, AnotherControllerReplacesTheFirst) {
    PluginRunController other;
    other.setRunning(true);
    record(other, "other ");
    card.attachTo(controller.get());
    card.attachTo(&other);
    EXPECT_EQ(text(), "Stop Bridge");
    controller->setRunning(true);
    controller->setRunning(false);
    EXPECT_EQ(text(), "Stop Bridge");
    click();
    EXPECT_EQ(requests, "other stop ");
}

TEST_F(RunStatusCardTest, WithoutAControllerTheButtonIsDisabled) {
    EXPECT_FALSE(card.runButton()->isEnabled());
    controller->setRunning(true);
    card.attachTo(controller.get());
    EXPECT_TRUE(card.runButton()->isEnabled());
    controller.reset();
    EXPECT_FALSE(card.runButton()->isEnabled());
    EXPECT_EQ(text(), "Start Bridge");
    click();
    EXPECT_EQ(requests, "");
}

TEST_F(RunStatusCardTest, MoreButtonsAndPlainMetricsFindTheirPlace) {
    auto* restart = new ThemedToolButton;
    card.addPrimaryActionButton(restart);
    card.addPrimaryActionButton(nullptr);
    EXPECT_EQ(restart->parentWidget(), &card);
    QCoreApplication::processEvents(); // a layout shows what is added later
    EXPECT_TRUE(restart->isVisible());
    card.setMetricsText("<b>60 Hz</b>");
    bool shown = false;
    for (const QLabel* label : card.findChildren<QLabel*>())
        shown = shown || (label->text() == "<b>60 Hz</b>" && label->textFormat() == Qt::PlainText);
    EXPECT_TRUE(shown);
}

TEST(PluginRunController, AskingForWhatIsSoDoesNothing) {
    PluginRunController controller;
    QString signalled;
    QObject::connect(&controller, &PluginRunController::stopRequested, [&] { signalled += "stop "; });
    QObject::connect(&controller, &PluginRunController::startRequested, [&] { signalled += "start "; });
    QObject::connect(&controller, &PluginRunController::runningChanged,
                     [&](bool running) { signalled += running ? "on " : "off "; });
    controller.requestStop();
    controller.setRunning(false);
    controller.setRunning(true);
    controller.setRunning(true);
    controller.requestStart();
    controller.requestStop();
    EXPECT_EQ(signalled, "on stop ");
}

} // namespace
} // namespace Vantor
