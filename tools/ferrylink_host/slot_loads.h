// Has the plug-in load files into slots, one after the other, and sees each through until the adapter says
// that it has it. Entry point: begin(). GUI thread only.

#pragma once

#include "command_line.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

namespace Vantor::devhost {

class PluginSession;

struct LoadOutcome {
    int slot = 0;
    QString file; ///< as it was asked for
    bool ok = false;
    QString error; ///< why not
};

class SlotLoads : public QObject {
    Q_OBJECT

public:
    /// `session` outlives it.
    SlotLoads(QList<LoadRequest> loadRequests, PluginSession& pluginSession);

    /// To be called once, when the plug-in is connected. What can be sent is sent as soon as the adapter has
    /// said which scripts it holds.
    void begin();
    /// Of those that are over; a request that is not among them was never begun.
    const QList<LoadOutcome>& outcomes() const { return results; }
    bool isFinished() const { return results.size() == requests.size(); }

signals:
    /// Every request has an outcome; once.
    void finished();

private:
    enum class Step { waitingForAdapter, sending, waitingForSlot };

    void look();
    void send();
    void followTransfer();
    bool adapterHasSlot() const;
    void conclude(const QString& error);
    const LoadRequest& current() const { return requests[results.size()]; }

    const QList<LoadRequest> requests;
    PluginSession& session;
    QList<LoadOutcome> results;
    Step step = Step::waitingForAdapter;
    int listingsBefore = 0; ///< the adapter had listed its scripts so often when the current request was sent
    QTimer limit;           ///< of the current request
};

} // namespace Vantor::devhost
