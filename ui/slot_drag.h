// What a drag over a slot may carry: our own formats, or the one local file of a file manager's drag, which
// goes through the same checks. Entry points: isSlotDrag() while it hovers, checkedDrop() when it falls. GUI
// thread.

#pragma once

#include "ui/slot_files.h"

#include <optional>

class QMimeData;

namespace Vantor {

/// By formats and names alone; touches no file.
bool isSlotDrag(const QMimeData& data);

/// The file, opened and checked as droppedFile() does; empty when it must not go into a slot.
std::optional<DroppedFile> checkedDrop(const QMimeData& data);

} // namespace Vantor
