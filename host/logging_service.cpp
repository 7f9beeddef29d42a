// The ring and its lock. Formatting and writing happen under the lock too, so that lines and entries keep one
// order; no real-time loop logs.

#include "host/logging_service.h"

#include <QMutex>
#include <QMutexLocker>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

constexpr std::array kLevelNames{"info", "warning", "error"};

QByteArray stderrLine(const LogEntry& entry) {
    const QString time = entry.time.toString(u"yyyy-MM-dd hh:mm:ss.zzz");
    const QString level = QString::fromLatin1(kLevelNames[static_cast<std::size_t>(entry.level)]);
    return u"%1 [%2] %3: %4\n"_s.arg(time, level, entry.source, entry.message).toLocal8Bit();
}

} // namespace

struct LoggingService::Private {
    mutable QMutex mutex; ///< guards the rest
    QList<LogEntry> ring;
    bool stderrEnabled = true;
};

LoggingService& LoggingService::instance() {
    // Never destroyed: other libraries may log while the process ends.
    static auto* const service = new LoggingService;
    return *service;
}

LoggingService::LoggingService() : d(std::make_unique<Private>()) {
    qRegisterMetaType<Vantor::LogEntry>();
}

LoggingService::~LoggingService() = default;

void LoggingService::info(const QString& source, const QString& message) {
    add(LogEntry::Level::info, source, message);
}

void LoggingService::warning(const QString& source, const QString& message) {
    add(LogEntry::Level::warning, source, message);
}

void LoggingService::error(const QString& source, const QString& message) {
    add(LogEntry::Level::error, source, message);
}

void LoggingService::add(LogEntry::Level level, const QString& source, const QString& message) {
    LogEntry entry{
        .level = level, .time = {}, .source = source, .message = message.left(kMaxMessageCharacters)};
    {
        const QMutexLocker lock(&d->mutex);
        entry.time =
            QDateTime::currentDateTime(); // under the lock, so that times never run backwards in the ring
        if (d->ring.size() >= kRingEntries)
            d->ring.removeFirst();
        d->ring.append(entry);
        if (d->stderrEnabled) {
            const QByteArray line = stderrLine(entry);
            std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
        }
    }
    // Outside the lock, so that a receiver may log or read the entries.
    emit entryAdded(entry);
}

QList<LogEntry> LoggingService::entries() const {
    const QMutexLocker lock(&d->mutex);
    return d->ring;
}

void LoggingService::clear() {
    const QMutexLocker lock(&d->mutex);
    d->ring.clear();
}

void LoggingService::setStderrEnabled(bool enabled) {
    const QMutexLocker lock(&d->mutex);
    d->stderrEnabled = enabled;
}

} // namespace Vantor
