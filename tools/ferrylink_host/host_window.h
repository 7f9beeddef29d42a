// The host's window: the plug-in's panel in a dock, the run controls and the log. GUI thread only.

#pragma once

#include <QMainWindow>

namespace Vantor::devhost {

class PluginSession;

class HostWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `session` is open and outlives the window, which owns the panel.
    explicit HostWindow(PluginSession& session);

private:
    QWidget* buildCentre(PluginSession& session);
};

} // namespace Vantor::devhost
