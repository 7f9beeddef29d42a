// Warning boxes that get in nobody's way: they belong to the panel, never run an event loop of their own,
// leave the panel usable and end with it. Entry point: showWarning(). GUI thread only.

#pragma once

#include <QString>

class QWidget;

namespace Vantor {

enum class WarningText {
    prose,
    listing, ///< lines of a tool's output: they keep their shape, and scroll when there are many
};

/// Shows `text`, plain and selectable, under `title`, with a button that copies it. Of the boxes with that
/// title that are still open it replaces one with the same text, a listing each, and prose the oldest when
/// there are many.
void showWarning(QWidget* panel, const QString& title, const QString& text, WarningText kind);

} // namespace Vantor
