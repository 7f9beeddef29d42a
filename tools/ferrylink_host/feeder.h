// Runs cvfeed, the frame producer, as a process of its own, and reads what it says it published. GUI thread
// only.

#pragma once

#include "command_line.h"

#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>

namespace Vantor::devhost {

/// What the producer wrote into its own report.
struct FeedResult {
    qint64 published = 0;
    std::optional<qint64> firstSequence; ///< not set when nothing was published
    std::optional<qint64> lastSequence;
    std::optional<qint64> unclaimed =
        std::nullopt; ///< frames that nobody had begun to take when the next came
};

class Feeder : public QObject {
    Q_OBJECT

public:
    explicit Feeder(QObject* parent = nullptr);
    ~Feeder() override; ///< ends the process

    /// Starts the producer found beside this program.
    void start(const Options& options);
    /// Asks it to end and waits for that, a little; it is killed when it does not.
    void stop();
    bool hasFinished() const { return finishedOnce; }

    /// What it published; not set before its end, or when it left no report.
    const std::optional<FeedResult>& result() const { return published; }
    /// Why it failed; empty when it did not.
    QString errorString() const { return error; }

signals:
    /// It has ended, or could not be started.
    void finished();

private:
    void onFinished(int exitCode, QProcess::ExitStatus status);
    void readReport();
    void conclude();

    QTemporaryDir directory;
    QProcess process;
    bool finishedOnce = false;
    std::optional<FeedResult> published;
    QString error;
};

} // namespace Vantor::devhost
