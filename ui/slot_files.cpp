#include "ui/slot_files.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeData>

#include <filesystem>
#include <span>
#include <string>

namespace Vantor {

namespace {

using platform::RegularFile;

bool hasSuffix(const QString& path, const SlotFileFormat& format) {
    return QFileInfo(path).suffix().compare(QLatin1String(format.suffix), Qt::CaseInsensitive) == 0;
}

const SlotFileFormat* formatOf(const QMimeData& data) {
    for (const SlotFileFormat& format : kSlotFileFormats) {
        if (data.hasFormat(QLatin1String(format.mimeType)))
            return &format;
    }
    return nullptr;
}

std::filesystem::path systemPath(const QString& path) {
    const QByteArray utf8 = path.toUtf8();
    return std::u8string(utf8.begin(), utf8.end());
}

/// Not Qt's idea of it: ":a.gpc" (a resource, for Qt), and on Windows "C:a.gpc" and "/a.gpc" pass for
/// absolute there, but what the system opens by such names depends on its working directory.
bool isAbsolute(const QString& path) {
    const QString name = QDir::fromNativeSeparators(path);
    return systemPath(name).is_absolute() || name.startsWith(QLatin1String("//")); // a server's, on Windows
}

std::shared_ptr<RegularFile> openFile(const QString& path, RegularFile::Links links) {
    // The system would end the path at an embedded zero and open another file than the one that was checked.
    if (path.isEmpty() || path.contains(QChar::Null))
        return nullptr;
    std::error_code error;
    auto file = RegularFile::open(systemPath(path), links, error);
    return file ? std::make_shared<RegularFile>(std::move(*file)) : nullptr;
}

} // namespace

std::optional<SlotFileKind> slotFileKind(const QString& path) {
    for (const SlotFileFormat& format : kSlotFileFormats) {
        if (hasSuffix(path, format))
            return format.kind;
    }
    return std::nullopt;
}

bool hasSlotFileFormat(const QMimeData& data) {
    return formatOf(data) != nullptr;
}

std::optional<DroppedFile> droppedFile(const QMimeData& data) {
    const SlotFileFormat* const format = formatOf(data);
    if (format == nullptr)
        return std::nullopt;
    const QString path = QString::fromUtf8(data.data(QLatin1String(format->mimeType)));
    if (path.isEmpty() || !isAbsolute(path) || !hasSuffix(path, *format))
        return std::nullopt;
    auto file = openFile(path, RegularFile::Links::refuse);
    if (!file || file->size() > kMaxDroppedBytes)
        return std::nullopt;
    return DroppedFile{format->kind, path, std::move(file)};
}

std::optional<QByteArray> readSlotFile(RegularFile& file, std::size_t limit, QString& error) {
    const std::size_t wanted = limit + 1;
    QByteArray content(static_cast<qsizetype>(wanted), Qt::Uninitialized);
    std::error_code fault;
    const std::size_t length = file.read(std::as_writable_bytes(std::span(content.data(), wanted)), fault);
    if (fault) {
        error = QString::fromLocal8Bit(fault.message());
        return std::nullopt;
    }
    content.truncate(static_cast<qsizetype>(length));
    return content;
}

std::shared_ptr<RegularFile> openSlotFile(const QString& path) {
    return openFile(path, RegularFile::Links::follow);
}

} // namespace Vantor
