// The run-control widgets. Colours come from the palette alone, so that light and dark themes both fit.

#include "host/run_status_card.h"

#include "host/plugin_run_controller.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace Vantor {

ThemedToolButton::ThemedToolButton(QWidget* parent) : QToolButton(parent) {
    setAutoRaise(true);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setFocusPolicy(Qt::StrongFocus);
}

RunControlButton::RunControlButton(QWidget* parent) : QPushButton(parent) {
    updateText();
}

void RunControlButton::setActionText(const QString& text) {
    actionText = text;
    updateText();
}

void RunControlButton::setRunning(bool nowRunning) {
    running = nowRunning;
    updateText();
}

void RunControlButton::updateText() {
    const QString label = (running ? tr("Stop %1") : tr("Start %1")).arg(actionText).trimmed();
    setText(label);
    setAccessibleName(label);
    setToolTip(running ? tr("Running. Click to stop.") : tr("Stopped. Click to start."));
}

RunStatusCard::RunStatusCard(QWidget* parent)
    : QFrame(parent),
      button(new RunControlButton(this)),
      metrics(new QLabel(this)),
      buttons(new QHBoxLayout) {
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName(tr("Run controls"));

    metrics->setAccessibleName(tr("Metrics"));
    metrics->setToolTip(tr("What was measured in the last second"));
    metrics->setTextFormat(Qt::PlainText);
    metrics->setWordWrap(true);
    metrics->setTextInteractionFlags(Qt::TextSelectableByMouse);

    buttons->addWidget(button, 1);
    auto* rows = new QVBoxLayout(this);
    rows->addLayout(buttons);
    rows->addWidget(metrics);

    connect(button, &QPushButton::clicked, this, [this] {
        PluginRunController* const controller = attached.data();
        if (controller == nullptr)
            return;
        if (controller->isRunning())
            controller->requestStop();
        else
            controller->requestStart();
    });
    attachTo(nullptr);
}

void RunStatusCard::setMetricsText(const QString& text) {
    metrics->setText(text);
}

void RunStatusCard::addPrimaryActionButton(QAbstractButton* action) {
    if (action != nullptr)
        buttons->addWidget(action);
}

void RunStatusCard::attachTo(PluginRunController* controller) {
    if (attached)
        attached->disconnect(this);
    attached = controller;
    button->setEnabled(controller != nullptr);
    button->setRunning(controller != nullptr && controller->isRunning());
    if (controller == nullptr)
        return;
    connect(controller, &PluginRunController::runningChanged, this,
            [this](bool nowRunning) { button->setRunning(nowRunning); });
    connect(controller, &QObject::destroyed, this, [this] { attachTo(nullptr); });
}

} // namespace Vantor
