// The host's window: the plug-in's panel in a dock, and beside it the host's run controls, scripts to drag
// onto the panel's slots, the controller's values, and the log. What is typed and moved in it can be
// captured. GUI thread only.

#pragma once

#include <QMainWindow>

namespace Vantor::devhost {

class PluginSession;
class ScriptLibrary;

class HostWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `session` is open and outlives the window, which owns the panel.
    explicit HostWindow(PluginSession& session);

signals:
    /// The user closes the window.
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildCentre(PluginSession& session);
    QWidget* buildScripts();
    void chooseFolder();

    ScriptLibrary* library = nullptr;
};

} // namespace Vantor::devhost
