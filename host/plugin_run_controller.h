// Between the host's run controls and a plug-in: requests go down, the running state comes back. GUI thread
// only.

#pragma once

#include "host/vantor_core_export.h"

#include <QObject>

namespace Vantor {

class VANTOR_CORE_EXPORT PluginRunController : public QObject {
    Q_OBJECT

public:
    explicit PluginRunController(QObject* parent = nullptr);

    bool isRunning() const { return running; }
    /// The plug-in says whether its work runs; run controls follow.
    void setRunning(bool nowRunning);

public slots:
    /// The host, or a button, asks. Asking for what is already so does nothing.
    void requestStart();
    void requestStop();

signals:
    void startRequested();
    void stopRequested();
    void runningChanged(bool running);

private:
    bool running = false;
};

} // namespace Vantor
