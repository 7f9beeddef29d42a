#include "ui/error_line.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>

namespace Vantor {

ErrorLine::ErrorLine(QWidget* parent) : QFrame(parent), text(new QLabel(this)) {
    setFrameShape(QFrame::StyledPanel);
    setObjectName(QStringLiteral("errorLine"));
    setToolTip(tr("The last error of the bridge"));

    auto* sign = new QLabel(this);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
    sign->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(side, side));
    sign->setAccessibleName(tr("Error"));

    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setAccessibleName(tr("Error message"));

    auto* row = new QHBoxLayout(this);
    row->addWidget(sign, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    hide();
}

void ErrorLine::setMessage(const QString& message) {
    text->setText(message);
    text->setAccessibleDescription(message);
    setVisible(!message.isEmpty());
    if (!message.isEmpty()) {
        QAccessibleEvent alert(text, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

QString ErrorLine::message() const {
    return text->text();
}

} // namespace Vantor
