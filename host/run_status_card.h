// The host's run-control widgets: a card with a run button, a line of metrics and room for more buttons. GUI
// thread only.

#pragma once

#include "host/vantor_core_export.h"

#include <QFrame>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>

class QHBoxLayout;
class QLabel;

namespace Vantor {

class PluginRunController;

/// A flat tool button that follows the palette.
class VANTOR_CORE_EXPORT ThemedToolButton : public QToolButton {
    Q_OBJECT

public:
    explicit ThemedToolButton(QWidget* parent = nullptr);
};

/// "Start <action>" while nothing runs, "Stop <action>" while it does.
class VANTOR_CORE_EXPORT RunControlButton : public QPushButton {
    Q_OBJECT

public:
    explicit RunControlButton(QWidget* parent = nullptr);

    /// What is started and stopped, for example "Bridge".
    void setActionText(const QString& text);
    void setRunning(bool nowRunning);
    bool isRunning() const { return running; }

private:
    void updateText();

    QString actionText;
    bool running = false;
};

class VANTOR_CORE_EXPORT RunStatusCard : public QFrame {
    Q_OBJECT

public:
    explicit RunStatusCard(QWidget* parent = nullptr);

    RunControlButton* runButton() const { return button; }
    void setMetricsText(const QString& text);
    /// Puts another button beside the run button; the card becomes its parent.
    void addPrimaryActionButton(QAbstractButton* action);
    /// The run button asks `controller`, and shows its running state, from now on; a previous one is let go.
    /// Without a controller (null, or since it was destroyed) the button is disabled.
    void attachTo(PluginRunController* controller);

private:
    RunControlButton* button = nullptr;
    QLabel* metrics = nullptr;
    QHBoxLayout* buttons = nullptr;
    QPointer<PluginRunController> attached;
};

} // namespace Vantor
