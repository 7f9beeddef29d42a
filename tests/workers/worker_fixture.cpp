#include "tests/workers/worker_fixture.h"

#include "host/logging_service.h"

namespace Vantor::test {

bool hasWarning(const QString& text) {
    const QList<LogEntry> entries = LoggingService::instance().entries();
    return std::any_of(entries.begin(), entries.end(), [&](const LogEntry& entry) {
        return entry.level == LogEntry::Level::warning && entry.source == QLatin1String("FerryLink") &&
               entry.message.contains(text);
    });
}

void clearLog() {
    LoggingService::instance().clear();
}

} // namespace Vantor::test
