#include "ui/slot_file_dialogs.h"

#include <QFileDialog>
#include <QFileInfo>

namespace Vantor {

namespace {

struct DialogText {
    const char* title;
    const char* filter;
};

DialogText textFor(SlotAction action) {
    if (action == SlotAction::loadTranslatorFile)
        return {QT_TRANSLATE_NOOP("Vantor::SlotFileDialogs", "Load GPC2 Input Translator"),
                QT_TRANSLATE_NOOP("Vantor::SlotFileDialogs", "GPC2 Input Translator (*.git);;All Files (*)")};
    return {QT_TRANSLATE_NOOP("Vantor::SlotFileDialogs", "Load GPC Script"),
            QT_TRANSLATE_NOOP("Vantor::SlotFileDialogs",
                              "GPC Scripts (*.gpc *.gbc);;GPC Source (*.gpc);;GPC Bytecode (*.gbc)")};
}

} // namespace

SlotFileDialogs::SlotFileDialogs(QWidget* owner) : QObject(owner), panel(owner) {}

void SlotFileDialogs::ask(SlotAction action, int slotIndex) {
    const DialogText text = textFor(action);
    auto* dialog = new QFileDialog(panel, tr(text.title), lastFolder, tr(text.filter));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this, action, slotIndex](const QString& path) {
        if (path.isEmpty())
            return;
        lastFolder = QFileInfo(path).absolutePath();
        emit fileChosen(action, slotIndex, path);
    });
    dialog->open();
}

} // namespace Vantor
