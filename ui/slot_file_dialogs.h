// Asks for the file that goes into a slot. Entry point: ask(). The dialogs run no event loop of their own,
// belong to the panel and end with it. GUI thread only.

#pragma once

#include "ui/slot_action.h"

#include <QObject>
#include <QString>

class QWidget;

namespace Vantor {

class SlotFileDialogs : public QObject {
    Q_OBJECT

public:
    explicit SlotFileDialogs(QWidget* panel);

    /// `action`: one of the two that load a file.
    void ask(SlotAction action, int slotIndex);

signals:
    void fileChosen(Vantor::SlotAction action, int slotIndex, const QString& path);

private:
    QWidget* panel = nullptr;
    QString lastFolder; ///< of the last file chosen in this session
};

} // namespace Vantor
