#include "host_run.h"

#include "host/logging_service.h"
#include "host/plugin_run_controller.h"
#include "host/records.h"
#include "plugin_session.h"
#include "virtual_adapter_library.h"

namespace Vantor::devhost {

namespace {

constexpr int kConnectLimitMs = 5000;
constexpr int kCaptureLimitMs = 5000;
/// How long the plug-in may take to notice that the adapter is gone, or back.
constexpr int kNoticeLimitMs = 5000;
/// How long the last frames may take from the producer to the adapter, and how often that is looked at: an
/// adapter that is plugged into the same process announces nothing.
constexpr int kLastFrameLimitMs = 500;
constexpr int kLastFramePollMs = 5;

/// Why the plug-in gave up, in its own words; empty when it has not complained.
QString lastPluginError() {
    QString message;
    for (const LogEntry& entry : LoggingService::instance().entries())
        if (entry.level == LogEntry::Level::error && entry.source == QLatin1String("FerryLink"))
            message = entry.message;
    return message;
}

} // namespace

HostRun::HostRun(const Options& runOptions, PluginSession& pluginSession,
                 VirtualAdapterLibrary* virtualAdapter)
    : options(runOptions),
      session(pluginSession),
      adapter(virtualAdapter),
      loads(runOptions.loads, pluginSession) {
    connect(&session, &PluginSession::statusChanged, this, &HostRun::onStatusChanged);
    connect(&feeder, &Feeder::finished, this, &HostRun::onFeedFinished);
    connectLimit.setSingleShot(true);
    connect(&connectLimit, &QTimer::timeout, this, [this] {
        fail(QStringLiteral("The plug-in did not connect to an adapter within %1 s.")
                 .arg(kConnectLimitMs / 1000));
        end();
    });
    connect(&loads, &SlotLoads::finished, this, &HostRun::startCapture);
    captureLimit.setSingleShot(true);
    connect(&captureLimit, &QTimer::timeout, this,
            [this] { startWork(); }); // judge() finds that it is missing
    noticeLimit.setSingleShot(true);
    connect(&noticeLimit, &QTimer::timeout, this, [this] { end(); }); // judge() finds what is missing
    lastFramePoll.setInterval(kLastFramePollMs);
    connect(&lastFramePoll, &QTimer::timeout, this, &HostRun::waitForLastFrame);
}

void HostRun::begin() {
    sinceBegin.start();
    connection = session.status()[QStringLiteral("connection")].toString();
    if (!options.startsByItself())
        return;
    connectLimit.start(kConnectLimitMs);
    session.runController()->requestStart();
    if (!session.runController()->isRunning())
        onStopped();
}

// ---- What the plug-in says ----

void HostRun::onStatusChanged() {
    const QJsonObject status = session.status();
    if (status[QStringLiteral("capturing")].toBool()) {
        capturedOnce = true;
        if (captureLimit.isActive())
            startWork();
    }
    const QString now = status[QStringLiteral("connection")].toString();
    if (now == connection)
        return;
    const QString before = connection;
    connection = now;
    if (now == QLatin1String("reconnecting") && before == QLatin1String("connected"))
        onLost();
    else if (now == QLatin1String("connected"))
        onConnected();
    else if (now == QLatin1String("disconnected") && !over)
        onStopped();
}

void HostRun::onLost() {
    ++disconnections;
    if (!unplugged || options.replugAfterMs)
        return;
    noticeLimit.stop();
    endIfDone();
}

void HostRun::onConnected() {
    if (connectedOnce) {
        onReconnected();
        return;
    }
    connectedOnce = true;
    connectLimit.stop();
    loads.begin();
}

void HostRun::startCapture() {
    if (over)
        return;
    if (!options.capture.any()) {
        startWork();
        return;
    }
    captureLimit.start(kCaptureLimitMs);
    if (!session.startCapture(options.capture)) {
        fail(QStringLiteral("The plug-in does not know how to capture."));
        startWork();
    }
}

void HostRun::startWork() {
    captureLimit.stop();
    if (workStarted || over)
        return;
    workStarted = true;
    if (options.feeds())
        startFeed();
    else if (options.durationS)
        QTimer::singleShot(static_cast<int>(*options.durationS * 1000), this, [this] {
            durationOver = true;
            endIfDone();
        });
    if (options.unplugAfterMs)
        QTimer::singleShot(*options.unplugAfterMs, this, &HostRun::unplug);
}

void HostRun::onReconnected() {
    if (disconnections > reconnections)
        ++reconnections;
    if (replugged && noticeLimit.isActive()) {
        noticeLimit.stop();
        reconnectionMs = sinceReplug.elapsed();
        if (options.feeds() && !feeder.hasFinished())
            framesAtReconnection = static_cast<qint64>(adapter->statistics().frames_intact);
    }
    endIfDone();
}

void HostRun::startFeed() {
    const QString rate = *options.feedHz > 0 ? QStringLiteral("at %1 Hz").arg(*options.feedHz)
                                             : QStringLiteral("as fast as it can");
    LoggingService::instance().info(QStringLiteral("Host"), QStringLiteral("Starting cvfeed, %1").arg(rate));
    feeder.start(options);
}

void HostRun::onStopped() {
    // In a window the user may start it again; a run without one is over.
    if (!options.headless && !options.isBounded())
        return;
    if (!interrupted) {
        const QString why = lastPluginError();
        fail(why.isEmpty() ? QStringLiteral("The plug-in stopped the bridge, or could not start it.")
                           : QStringLiteral("The bridge does not run: %1").arg(why));
    }
    end();
}

// ---- What the run was told to do ----

void HostRun::unplug() {
    if (over)
        return;
    unplugged = adapter->unplug();
    LoggingService::instance().info(QStringLiteral("Host"),
                                    QStringLiteral("Unplugged the simulated adapter"));
    if (options.replugAfterMs)
        QTimer::singleShot(*options.replugAfterMs, this, &HostRun::replug);
    else
        noticeLimit.start(kNoticeLimitMs);
}

void HostRun::replug() {
    if (over)
        return;
    replugged = adapter->replug();
    LoggingService::instance().info(
        QStringLiteral("Host"), QStringLiteral("Plugged the simulated adapter in again, on another path"));
    sinceReplug.start();
    noticeLimit.start(kNoticeLimitMs);
}

void HostRun::onFeedFinished() {
    sinceFeedEnd.start();
    if (!feeder.errorString().isEmpty()) {
        fail(feeder.errorString());
        if (options.headless || options.isBounded())
            end();
        return;
    }
    endIfDone();
}

void HostRun::endIfDone() {
    if (over || !options.isBounded())
        return;
    if (options.feeds() ? !feeder.hasFinished() : !durationOver)
        return;
    if ((options.unplugAfterMs && !unplugged) || (options.replugAfterMs && !replugged) ||
        noticeLimit.isActive())
        return;
    if (adapter != nullptr && options.feeds() && !lastFramePoll.isActive())
        lastFramePoll.start();
    else if (!lastFramePoll.isActive())
        end();
}

void HostRun::waitForLastFrame() {
    const std::optional<FeedResult>& fed = feeder.result();
    const bool arrived = fed && fed->lastSequence &&
                         adapter->statistics().last_sequence == static_cast<quint64>(*fed->lastSequence);
    if (arrived || sinceFeedEnd.elapsed() > kLastFrameLimitMs)
        end();
}

void HostRun::interrupt() {
    interrupted = true;
    if (options.isBounded() && !over)
        fail(QStringLiteral("Interrupted before its end."));
    end();
}

void HostRun::fail(const QString& what) {
    failures += what;
    LoggingService::instance().error(QStringLiteral("Host"), what);
}

void HostRun::end() {
    if (over)
        return;
    over = true;
    for (QTimer* const timer : {&connectLimit, &captureLimit, &noticeLimit, &lastFramePoll})
        timer->stop();
    emit ended();
}

// ---- The report ----

RunReport HostRun::finish() {
    over = true;
    feeder.disconnect(this);
    feeder.stop();
    RunReport report;
    report.virtualAdapter = adapter != nullptr;
    report.seconds = static_cast<double>(sinceBegin.elapsed()) / 1000;
    collectPublished(report);
    collectFrames(report);
    report.loads = loads.outcomes();
    report.captureAsked = options.capture.any();
    report.captureStarted = capturedOnce;
    report.disconnections = disconnections;
    report.reconnections = reconnections;
    report.reconnectionMs = reconnectionMs;
    judge(report);
    report.failures = failures;
    for (const LogEntry& entry : LoggingService::instance().entries())
        if (entry.level == LogEntry::Level::error)
            report.errors += entry.source + QStringLiteral(": ") + entry.message;
    return report;
}

void HostRun::collectPublished(RunReport& report) const {
    report.rates = session.rates();
    report.status = session.status();
    const auto writes = [this](const char* block) {
        const qint64 records = session.recordsWritten(block);
        return records < 0 ? std::nullopt : std::optional(records);
    };
    report.controllerInputWrites = writes(BlockName::kControllerInput);
    report.controllerReportWrites = writes(BlockName::kControllerReport);
}

void HostRun::collectFrames(RunReport& report) const {
    if (adapter == nullptr) {
        report.frames = FrameFigures::from(feeder.result(), nullptr);
        return;
    }
    const virtual_adapter_statistics statistics = adapter->statistics();
    report.frames = FrameFigures::from(feeder.result(), &statistics);
    report.takeStatistics(statistics);
}

/// Holds what happened against what was asked for.
void HostRun::judge(const RunReport& report) {
    if (interrupted)
        return; // whatever is missing, the user wanted it so
    judgeFrames(report);
    judgeRequests(report.loads);
    judgeConnection(report);
    if (adapter != nullptr)
        for (const QString& text : adapter->protocolErrors())
            fail(QStringLiteral("The adapter received what it does not understand: %1").arg(text));
}

void HostRun::judgeFrames(const RunReport& report) {
    const FrameFigures& frames = report.frames;
    const bool forwarded = adapter != nullptr ? frames.forwarded.value_or(0) > 0
                                              : report.rates[QStringLiteral("cv_hz")].toInteger() > 0;
    if (options.feeds() && connectedOnce && !forwarded)
        fail(QStringLiteral("No frame was forwarded to the adapter."));
    if (options.frames && frames.published.value_or(0) != *options.frames && connectedOnce)
        fail(QStringLiteral("Of %1 frames %2 were published.")
                 .arg(*options.frames)
                 .arg(frames.published.value_or(0)));
    if (!frames.balance())
        fail(QStringLiteral("%1 forwarded and %2 overwritten frames do not make %3 published ones.")
                 .arg(*frames.forwarded)
                 .arg(*frames.overwritten)
                 .arg(*frames.published));
    if (frames.corrupt.value_or(0) + frames.repeated.value_or(0) + frames.outOfOrder.value_or(0) > 0)
        fail(QStringLiteral("Frames arrived corrupt, repeated or out of order."));
}

void HostRun::judgeRequests(const QList<LoadOutcome>& outcomes) {
    for (const LoadOutcome& load : outcomes)
        if (!load.ok)
            fail(QStringLiteral("%1 was not loaded into slot %2: %3")
                     .arg(load.file, QString::number(load.slot), load.error));
    if (outcomes.size() < options.loads.size() && connectedOnce)
        fail(QStringLiteral("Of %1 files %2 were loaded before the end.")
                 .arg(options.loads.size())
                 .arg(outcomes.size()));
    if (options.capture.any() && !capturedOnce && connectedOnce)
        fail(QStringLiteral("The plug-in did not capture."));
}

void HostRun::judgeConnection(const RunReport& report) {
    if (options.unplugAfterMs && !unplugged && connectedOnce)
        fail(QStringLiteral("The run ended before the adapter was unplugged."));
    if (unplugged && disconnections == 0)
        fail(QStringLiteral("The plug-in did not notice that the adapter was unplugged."));
    if (options.replugAfterMs && connectedOnce && !reconnectionMs)
        fail(replugged ? QStringLiteral("The plug-in did not reconnect to the adapter.")
                       : QStringLiteral("The run ended before the adapter was plugged in again."));
    if (framesAtReconnection && report.frames.intact.value_or(0) <= *framesAtReconnection)
        fail(QStringLiteral("No frame was forwarded after the reconnection."));
    const QString serial = report.status[QStringLiteral("device_serial")].toString();
    if (!options.serial.isEmpty() && connectedOnce && serial != options.serial)
        fail(QStringLiteral("No adapter has the serial number %1; the plug-in took %2.")
                 .arg(options.serial, serial));
}

} // namespace Vantor::devhost
