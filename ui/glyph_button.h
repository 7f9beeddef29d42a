// Small flat buttons whose sign is drawn in the palette's colours: sharp at every scale, visible in every
// theme. GUI thread only.

#pragma once

#include "host/run_status_card.h"

class QPainter;
class QRectF;

namespace Vantor {

enum class Glyph { reload, run, more, cross };

/// Draws into the largest square in the middle of `area`, with the painter's pen colour.
void drawGlyph(QPainter& painter, Glyph glyph, const QRectF& area);

class GlyphButton : public ThemedToolButton {
    Q_OBJECT

public:
    explicit GlyphButton(Glyph sign, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Glyph glyph;
};

} // namespace Vantor
