#include "feeder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace Vantor::devhost {

namespace {

constexpr int kEndPatienceMs = 2000;

QString programFile() {
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("cvfeed"));
}

QStringList argumentsFor(const Options& options, const QString& reportFile) {
    QStringList arguments{QStringLiteral("--until-input-ends"), QStringLiteral("--hz"),
                          QString::number(*options.feedHz, 'g', 12), QStringLiteral("--report"), reportFile};
    if (options.frameBytes)
        arguments << QStringLiteral("--bytes") << QString::number(*options.frameBytes);
    if (options.frames)
        arguments << QStringLiteral("--frames") << QString::number(*options.frames);
    if (options.durationS)
        arguments << QStringLiteral("--duration") << QString::number(*options.durationS, 'g', 12);
    return arguments;
}

std::optional<qint64> optionalInteger(const QJsonValue& value) {
    return value.isDouble() ? std::optional(value.toInteger()) : std::nullopt;
}

} // namespace

Feeder::Feeder(QObject* parent) : QObject(parent) {
    connect(&process, &QProcess::finished, this, &Feeder::onFinished);
    connect(&process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError problem) {
        if (problem != QProcess::FailedToStart)
            return; // finished() follows
        error = QStringLiteral("%1 cannot be started: %2").arg(programFile(), process.errorString());
        conclude();
    });
}

Feeder::~Feeder() {
    process.disconnect(this);
    stop();
}

void Feeder::start(const Options& options) {
    if (!directory.isValid()) {
        error = QStringLiteral("No temporary directory: %1").arg(directory.errorString());
        conclude();
        return;
    }
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardOutputFile(QProcess::nullDevice());
    // The host's own instance, also where that is the ordinary one and the user's environment names another.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VANTOR_INSTANCE"), options.instance);
    process.setProcessEnvironment(environment);
    process.start(programFile(), argumentsFor(options, directory.filePath(QStringLiteral("feed.json"))));
}

void Feeder::stop() {
    if (process.state() == QProcess::NotRunning)
        return;
    process.closeWriteChannel(); // its standard input: asks it to end, on every system
    if (!process.waitForFinished(kEndPatienceMs)) {
        process.kill();
        process.waitForFinished(kEndPatienceMs);
    }
}

void Feeder::onFinished(int exitCode, QProcess::ExitStatus status) {
    readReport();
    if (status == QProcess::CrashExit)
        error = QStringLiteral("cvfeed was killed or crashed.");
    else if (exitCode != 0)
        error = QStringLiteral("cvfeed failed with exit code %1.").arg(exitCode);
    conclude();
}

void Feeder::readReport() {
    QFile file(directory.filePath(QStringLiteral("feed.json")));
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonObject report = QJsonDocument::fromJson(file.readAll()).object();
    const std::optional<qint64> count = optionalInteger(report[QStringLiteral("published")]);
    if (count)
        published = FeedResult{.published = *count,
                               .firstSequence = optionalInteger(report[QStringLiteral("first_sequence")]),
                               .lastSequence = optionalInteger(report[QStringLiteral("last_sequence")]),
                               .unclaimed = optionalInteger(report[QStringLiteral("unclaimed")])};
}

void Feeder::conclude() {
    finishedOnce = true;
    emit finished();
}

} // namespace Vantor::devhost
