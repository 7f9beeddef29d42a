#include "ui/elided_label.h"

#include <QHelpEvent>
#include <QStyle>
#include <QStylePainter>
#include <QToolTip>

namespace Vantor {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText); // the adapter's names are foreign text
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void ElidedLabel::setHint(const QString& text) {
    hint = text;
    setToolTip(text); // also what accessibility tools read as the description
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
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), whole, this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent* event) {
    if (!isCut()) {
        QLabel::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    const QRect area = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, area.width());
    style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(), shown,
                          foregroundRole());
}

} // namespace Vantor
