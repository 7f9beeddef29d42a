// The host's log as a growing text, in time order. GUI thread only; entries may come from any thread.

#pragma once

#include "host/logging_service.h"

#include <QPlainTextEdit>

namespace Vantor::devhost {

class LogView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit LogView(QWidget* parent = nullptr);

private:
    void append(const LogEntry& entry);
};

} // namespace Vantor::devhost
