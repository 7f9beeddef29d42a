#include "script_library.h"

#include "ui/slot_file_formats.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QRegularExpression>

#include <array>

namespace Vantor::devhost {

namespace {

// From this program's directory: where it is built, and where it is installed.
constexpr std::array kExampleFolders{FERRYLINK_EXAMPLES_FOLDER, "../share/ferrylink/examples"};
constexpr qint64 kHeadBytes = 2048; ///< of a script, read for its title
constexpr int kMaxFiles = 500;

QString formatOf(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (const SlotFileFormat& format : kSlotFileFormats)
        if (suffix == QLatin1String(format.suffix))
            return QString::fromLatin1(format.mimeType);
    return {};
}

/// The script's own name and the first sentence of its comment, or the file's name.
QString titleOf(const QString& path) {
    static const QRegularExpression name(QStringLiteral("METAINFO\\s*\\(\\s*\"([^\"]+)\""));
    static const QRegularExpression comment(QStringLiteral("^//\\s*([^.\\n]+)"),
                                            QRegularExpression::MultilineOption);
    QFile file(path);
    const QString head =
        path.endsWith(QLatin1String(".gpc"), Qt::CaseInsensitive) && file.open(QIODevice::ReadOnly)
            ? QString::fromUtf8(file.read(kHeadBytes))
            : QString();
    const QString said = name.match(head).captured(1);
    const QString about = comment.match(head).captured(1).trimmed();
    const QString title = said.isEmpty() ? QFileInfo(path).fileName() : said;
    return about.isEmpty() ? title : title + u'\n' + about;
}

} // namespace

ScriptLibrary::ScriptLibrary(QWidget* parent) : QListWidget(parent) {
    setObjectName(QStringLiteral("scriptLibrary"));
    setAccessibleName(tr("Scripts"));
    setToolTip(tr("Drag a script onto one of the panel's memory slots"));
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
    setDefaultDropAction(Qt::CopyAction);
    setAlternatingRowColors(true);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSpacing(2);
}

void ScriptLibrary::showFolder(const QString& folder) {
    clear();
    if (folder.isEmpty())
        return;
    const QDir directory(folder);
    const QStringList files = directory.entryList(
        {QStringLiteral("*.gpc"), QStringLiteral("*.gbc"), QStringLiteral("*.git")}, QDir::Files, QDir::Name);
    for (const QString& file : files.first(qMin<qsizetype>(files.size(), kMaxFiles)))
        addFile(directory.absoluteFilePath(file));
}

void ScriptLibrary::addFile(const QString& path) {
    auto* item = new QListWidgetItem(titleOf(path), this);
    item->setData(Qt::UserRole, path);
    item->setToolTip(QDir::toNativeSeparators(path));
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled);
}

QString ScriptLibrary::examplesFolder() {
    const QDir here(QCoreApplication::applicationDirPath());
    for (const char* const folder : kExampleFolders)
        if (const QString path = QDir::cleanPath(here.absoluteFilePath(QString::fromUtf8(folder)));
            QFileInfo(path).isDir())
            return path;
    return {};
}

QStringList ScriptLibrary::mimeTypes() const {
    QStringList formats;
    for (const SlotFileFormat& format : kSlotFileFormats)
        formats += QString::fromLatin1(format.mimeType);
    return formats;
}

QMimeData* ScriptLibrary::mimeData(const QList<QListWidgetItem*>& items) const {
    if (items.isEmpty())
        return nullptr;
    const QString path = items.first()->data(Qt::UserRole).toString();
    auto* dragged = new QMimeData;
    dragged->setData(formatOf(path), path.toUtf8());
    return dragged;
}

} // namespace Vantor::devhost
