#include "ui/elided_label.h"

#include "ui/plain_tool_tip.h"

#include <QHelpEvent>
#include <QStylePainter>
#include <QToolTip>

namespace Vantor {

namespace {

/// More than readable text needs, because slots and banners are tinted behind their labels.
constexpr double kLabelContrast = 1.2 * kTextContrast;

} // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText); // the adapter's names are foreign text
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void ElidedLabel::setHint(const QString& text) {
    hint = text;
    setToolTip(plainToolTip(text)); // also what accessibility tools read as the description
}

void ElidedLabel::setTone(Tone wanted) {
    tone = wanted;
    update();
}

void ElidedLabel::setFontScale(double scale, bool bold) {
    QFont scaled = parentWidget() == nullptr ? font() : parentWidget()->font();
    if (scaled.pointSizeF() > 0) // else the font is in pixels, and stays as it is
        scaled.setPointSizeF(scaled.pointSizeF() * scale);
    scaled.setBold(bold);
    setFont(scaled);
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 3, QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::isCut() const {
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || !isCut())
        return QLabel::event(event);
    const QString whole = hint.isEmpty() ? text() : text() + u'\n' + hint;
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(whole), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    const QRect area = contentsRect();
    const QString shown = isCut() ? fontMetrics().elidedText(text(), Qt::ElideRight, area.width()) : text();
    painter.setPen(isEnabled() ? toneOn(palette(), tone, QPalette::Window, kLabelContrast)
                               : palette().color(QPalette::WindowText));
    painter.drawText(area, static_cast<int>(alignment()) | Qt::TextSingleLine, shown);
}

} // namespace Vantor
