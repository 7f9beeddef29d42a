// The panel's colours, all of them worked out from the palette, so that light and dark themes, and whatever a
// host does to its palette, stay readable. Entry point: toneOn(). Pure functions.

#pragma once

#include <QColor>
#include <QPalette>

namespace Vantor {

/// What a colour says.
enum class Tone {
    normal,
    muted,  ///< captions and second lines
    accent, ///< what the adapter runs, the first curve
    second, ///< the second curve
    good,
    caution,
    bad,
};

/// The contrast of text that anybody can read, and of shapes; see contrastRatio().
inline constexpr double kTextContrast = 4.5;
inline constexpr double kShapeContrast = 3.0;

/// From 1 (the same) to 21 (black on white), as accessibility guidelines measure it. Alpha is ignored.
double contrastRatio(const QColor& a, const QColor& b);

/// `share` of `over` on top of the rest of `under`, opaque; 0..1.
QColor blended(const QColor& over, const QColor& under, double share);

/// `wanted`, made as much darker or lighter as it takes to stand out against `background` by `ratio`.
QColor readableOn(const QColor& background, const QColor& wanted, double ratio);

/// The colour of `tone` for text or shapes on the colour that the palette has for `background`.
QColor toneOn(const QPalette& palette, Tone tone, QPalette::ColorRole background = QPalette::Window,
              double ratio = kTextContrast);

} // namespace Vantor
