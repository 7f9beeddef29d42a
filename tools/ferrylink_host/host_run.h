// One run of the host, from the bridge's start to the report: loads, captures, feeds, unplugs and replugs as
// told, in this order, watches what the plug-in says of its connection, and decides when the run is over and
// what did not happen. GUI thread only.

#pragma once

#include "command_line.h"
#include "feeder.h"
#include "run_report.h"
#include "slot_loads.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace Vantor::devhost {

class PluginSession;
class VirtualAdapterLibrary;

class HostRun : public QObject {
    Q_OBJECT

public:
    /// `adapter` is null over USB. All three outlive the run.
    HostRun(const Options& runOptions, PluginSession& pluginSession, VirtualAdapterLibrary* adapter);

    /// Starts the bridge, unless that is left to the user.
    void begin();
    /// The user wants the run to end.
    void interrupt();
    /// Ends the feed and says what the run came to. To be called once, before the plug-in is shut down, since
    /// what it publishes goes with it.
    RunReport finish();

signals:
    /// The run is over; finish() is next.
    void ended();

private:
    void onStatusChanged();
    void onLost();
    void onConnected();
    void onReconnected();
    void onFeedFinished();
    void onStopped();
    void startCapture();
    void startWork();
    void startFeed();
    void unplug();
    void replug();
    void endIfDone();
    void waitForLastFrame();
    void fail(const QString& what);
    void end();

    void collectFrames(RunReport& report) const;
    void collectPublished(RunReport& report) const;
    void judge(const RunReport& report);
    void judgeFrames(const RunReport& report);
    void judgeRequests(const QList<LoadOutcome>& outcomes);
    void judgeConnection(const RunReport& report);

    const Options& options;
    PluginSession& session;
    VirtualAdapterLibrary* const adapter;
    Feeder feeder;
    QString connection; ///< the plug-in's word for it
    SlotLoads loads;
    bool connectedOnce = false;
    bool workStarted = false; ///< loading and the start of the capture are over
    bool capturedOnce = false;
    bool durationOver = false;
    bool unplugged = false;
    bool replugged = false;
    bool interrupted = false;
    bool over = false;
    int disconnections = 0;
    int reconnections = 0;
    std::optional<qint64> reconnectionMs;
    std::optional<qint64> framesAtReconnection; ///< when the producer was still at work then
    QStringList failures;
    QElapsedTimer sinceBegin;
    QElapsedTimer sinceReplug;
    QTimer connectLimit;
    QTimer captureLimit;
    QTimer noticeLimit;
    QTimer lastFramePoll;
    QElapsedTimer sinceFeedEnd;
};

} // namespace Vantor::devhost
