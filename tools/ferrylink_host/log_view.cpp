#include "log_view.h"

#include <array>

namespace Vantor::devhost {

namespace {

// In the order of LogEntry::Level.
constexpr std::array kLevelNames{"info", "warning", "error"};

} // namespace

LogView::LogView(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setTabChangesFocus(true);
    setMaximumBlockCount(static_cast<int>(LoggingService::kRingEntries));
    setAccessibleName(tr("Log"));
    setToolTip(tr("What the host and its plug-in have logged"));
    setPlaceholderText(tr("Nothing has been logged yet"));
    for (const LogEntry& entry : LoggingService::instance().entries())
        append(entry);
    connect(&LoggingService::instance(), &LoggingService::entryAdded, this, &LogView::append);
}

void LogView::append(const LogEntry& entry) {
    appendPlainText(QStringLiteral("%1  %2  %3: %4")
                        .arg(entry.time.toString(u"hh:mm:ss.zzz"),
                             QString::fromLatin1(kLevelNames[static_cast<std::size_t>(entry.level)]),
                             entry.source, entry.message));
}

} // namespace Vantor::devhost
