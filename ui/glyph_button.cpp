#include "ui/glyph_button.h"

#include <QStyleOptionToolButton>
#include <QStylePainter>

#include <algorithm>
#include <array>

namespace Vantor {

namespace {

void drawReload(QPainter& painter, const QRectF& box) {
    constexpr int kStart = 50 * 16; // sixteenths of a degree, as drawArc() counts
    constexpr int kSpan = 280 * 16;
    painter.drawArc(box, kStart, kSpan);
    const QPointF tip(box.center().x() + box.width() * 0.32, box.center().y() - box.height() * 0.38);
    const double arm = box.width() * 0.34;
    painter.drawLine(tip, tip + QPointF(0, -arm));
    painter.drawLine(tip, tip + QPointF(-arm, 0));
}

void drawRun(QPainter& painter, const QRectF& box) {
    const std::array<QPointF, 3> triangle{QPointF(box.left() + box.width() * 0.15, box.top()),
                                          QPointF(box.right(), box.center().y()),
                                          QPointF(box.left() + box.width() * 0.15, box.bottom())};
    painter.setBrush(painter.pen().color());
    painter.drawPolygon(triangle.data(), static_cast<int>(triangle.size()));
}

void drawMore(QPainter& painter, const QRectF& box) {
    painter.setBrush(painter.pen().color());
    const double radius = box.width() * 0.07;
    for (const double x : {box.left() + radius, box.center().x(), box.right() - radius})
        painter.drawEllipse(QPointF(x, box.center().y()), radius, radius);
}

void drawCross(QPainter& painter, const QRectF& box) {
    painter.drawLine(box.topLeft(), box.bottomRight());
    painter.drawLine(box.bottomLeft(), box.topRight());
}

} // namespace

void drawGlyph(QPainter& painter, Glyph glyph, const QRectF& area) {
    const double side = std::min(area.width(), area.height());
    QRectF box(0, 0, side, side);
    box.moveCenter(area.center());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(painter.pen().color(), std::max(1.2, side / 8));
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    const double inset = pen.widthF() / 2;
    box.adjust(inset, inset, -inset, -inset);
    switch (glyph) {
    case Glyph::reload:
        drawReload(painter, box);
        break;
    case Glyph::run:
        drawRun(painter, box);
        break;
    case Glyph::more:
        drawMore(painter, box);
        break;
    case Glyph::cross:
        drawCross(painter, box);
        break;
    }
    painter.restore();
}

GlyphButton::GlyphButton(Glyph sign, QWidget* parent) : ThemedToolButton(parent), glyph(sign) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize GlyphButton::sizeHint() const {
    const int side = fontMetrics().height() + fontMetrics().height() / 3;
    return {side, side};
}

void GlyphButton::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    option.text.clear();
    option.icon = {};
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    const double inset = width() * 0.26;
    drawGlyph(painter, glyph, QRectF(rect()).adjusted(inset, inset, -inset, -inset));
}

} // namespace Vantor
