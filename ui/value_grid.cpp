#include "ui/value_grid.h"

#include "ui/elided_label.h"

#include <QGridLayout>

namespace Vantor {

ValueGrid::ValueGrid(QWidget* parent) : QWidget(parent), rows(new QGridLayout(this)) {
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setHorizontalSpacing(10);
    rows->setVerticalSpacing(3);
    rows->setColumnStretch(1, 1);
}

ElidedLabel* ValueGrid::addRow(const QString& caption, const QString& hint) {
    const int row = rows->rowCount();
    addCaption(row, caption, hint);
    auto* value = new ElidedLabel(this);
    value->setAccessibleName(caption);
    value->setHint(hint);
    rows->addWidget(value, row, 1);
    setValue(value, {});
    return value;
}

void ValueGrid::addControl(const QString& caption, QWidget* control) {
    const int row = rows->rowCount();
    addCaption(row, caption, control->toolTip());
    rows->addWidget(control, row, 1);
}

void ValueGrid::addCaption(int row, const QString& caption, const QString& hint) {
    auto* name = new ElidedLabel(this);
    name->setText(caption);
    name->setHint(hint);
    name->setTone(Tone::muted);
    name->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    rows->addWidget(name, row, 0);
}

void ValueGrid::setValue(ElidedLabel* label, const QString& value) {
    const QString text = value.isEmpty() ? QStringLiteral("\u2013") : value;
    if (label->text() != text) // a new text, even the same, lays out the whole panel again
        label->setText(text);
}

} // namespace Vantor
