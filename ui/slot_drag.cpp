#include "ui/slot_drag.h"

#include <QMimeData>
#include <QUrl>

#include <algorithm>

namespace Vantor {

namespace {

/// The one local file of a file manager's drag, when its suffix belongs into a slot.
QString draggedFilePath(const QMimeData& data) {
    const QList<QUrl> urls = data.hasUrls() ? data.urls() : QList<QUrl>();
    if (urls.size() != 1 || !urls.first().isLocalFile())
        return {};
    const QString path = urls.first().toLocalFile();
    return slotFileKind(path) ? path : QString();
}

const char* mimeTypeOf(SlotFileKind kind) {
    return std::ranges::find(kSlotFileFormats, kind, &SlotFileFormat::kind)->mimeType;
}

} // namespace

bool isSlotDrag(const QMimeData& data) {
    return hasSlotFileFormat(data) || !draggedFilePath(data).isEmpty();
}

std::optional<DroppedFile> checkedDrop(const QMimeData& data) {
    const QString path = hasSlotFileFormat(data) ? QString() : draggedFilePath(data);
    if (path.isEmpty())
        return droppedFile(data);
    QMimeData translated;
    translated.setData(QString::fromLatin1(mimeTypeOf(*slotFileKind(path))), path.toUtf8());
    return droppedFile(translated);
}

} // namespace Vantor
