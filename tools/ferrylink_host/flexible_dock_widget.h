// The dock that holds a plug-in's panel. Plug-ins find it by its class name and hand it actions through the
// invokable method, so neither may be renamed. GUI thread only.

#pragma once

#include <QDockWidget>

class QAction;
class QHBoxLayout;
class QLabel;

namespace Vantor {

class FlexibleDockWidget : public QDockWidget {
    Q_OBJECT

public:
    explicit FlexibleDockWidget(const QString& title, QWidget* parent = nullptr);

    /// Shows the action as a button in the title bar. The action stays its maker's, and takes its button with
    /// it.
    Q_INVOKABLE void addPluginAction(QAction* action);

private:
    QHBoxLayout* titleButtons = nullptr;
};

} // namespace Vantor
