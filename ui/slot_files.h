// Which files may go into a memory slot, and what a drop must look like. Entry points: droppedFile(),
// slotFileKind(). Checks are made on the opened file, never on its name alone. GUI thread; no widgets.

#pragma once

#include "platform/regular_file.h"
#include "ui/slot_file_formats.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <optional>

class QMimeData;

namespace Vantor {

/// Larger files cannot be dropped.
inline constexpr std::size_t kMaxDroppedBytes = 65536;

/// By the suffix alone, whatever its case.
std::optional<SlotFileKind> slotFileKind(const QString& path);

/// A file that passed the checks of a drop, open for reading at its start, so that what was checked is what
/// will be read. Copies share the one file: read it once.
struct DroppedFile {
    SlotFileKind kind = SlotFileKind::gpcSource;
    QString path; ///< absolute
    std::shared_ptr<platform::RegularFile> file;
};

/// For a drag on its way: whether the data has one of the three formats. Touches no file.
bool hasSlotFileFormat(const QMimeData& data);

/// For a drop: the path is not empty and absolute, names a readable regular file of at most kMaxDroppedBytes
/// (no symbolic link, so that the suffix is the file's own), and its suffix is that of the format.
/// Empty otherwise: the drop is to be ignored.
std::optional<DroppedFile> droppedFile(const QMimeData& data);

/// An opened file's content, at most `limit` + 1 bytes: more than `limit` means that it is larger. Empty:
/// `error` has the system's text.
std::optional<QByteArray> readSlotFile(platform::RegularFile& file, std::size_t limit, QString& error);

/// Opens a file that the user has picked; a link is followed. Null when it cannot be opened or is not a
/// regular file.
std::shared_ptr<platform::RegularFile> openSlotFile(const QString& path);

} // namespace Vantor
