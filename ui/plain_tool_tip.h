// Tool tips that show foreign text as it is. Entry point: plainToolTip(). GUI thread.

#pragma once

#include <QString>
#include <QTextDocument>

namespace Vantor {

/// `text` for a tool tip. Tool tips take whatever looks like markup for markup, and would have a script's
/// name fetch pictures, from other computers too.
inline QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

} // namespace Vantor
