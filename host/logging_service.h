// The host's log: every entry goes to stderr and into a ring that a panel can show. Any thread.

#pragma once

#include "host/vantor_core_export.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

namespace Vantor {

struct LogEntry {
    enum class Level { info, warning, error };
    Level level = Level::info;
    QDateTime time;
    QString source; ///< who says it, for example "FerryLink"
    QString message;
};

class VANTOR_CORE_EXPORT LoggingService : public QObject {
    Q_OBJECT

public:
    static constexpr qsizetype kRingEntries = 1000;
    /// Longer messages are cut, so that the ring has an upper bound in bytes too.
    static constexpr qsizetype kMaxMessageCharacters = 4096;

    static LoggingService& instance();

    void info(const QString& source, const QString& message);
    void warning(const QString& source, const QString& message);
    void error(const QString& source, const QString& message);

    /// The last entries, oldest first, at most kRingEntries.
    QList<LogEntry> entries() const;
    void clear();

    /// Whether entries also go to stderr; true at first.
    void setStderrEnabled(bool enabled);

signals:
    /// From the thread that logs; connect with a context object in the thread that shows it.
    void entryAdded(const Vantor::LogEntry& entry);

private:
    LoggingService();
    ~LoggingService() override;

    void add(LogEntry::Level level, const QString& source, const QString& message);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Vantor

Q_DECLARE_METATYPE(Vantor::LogEntry)
