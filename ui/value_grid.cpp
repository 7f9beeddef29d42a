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
    auto* name = new QLabel(caption, this);
    name->setToolTip(hint);
    name->setForegroundRole(QPalette::PlaceholderText);
    auto* value = new ElidedLabel(this);
    value->setAccessibleName(caption);
    value->setHint(hint);
    name->setBuddy(value);
    rows->addWidget(name, row, 0);
    rows->addWidget(value, row, 1);
    setValue(value, {});
    return value;
}

void ValueGrid::setValue(ElidedLabel* label, const QString& value) {
    label->setText(value.isEmpty() ? QStringLiteral("\u2013") : value);
}

} // namespace Vantor
