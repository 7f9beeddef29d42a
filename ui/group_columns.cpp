#include "ui/group_columns.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace Vantor {

namespace {

constexpr int kWideCharacters = 90; // of average width

} // namespace

GroupColumns::GroupColumns(QWidget* parent) : QWidget(parent) {
    auto* sides = new QHBoxLayout(this);
    sides->setContentsMargins(0, 0, 0, 0);
    for (QVBoxLayout*& column : columns) {
        column = new QVBoxLayout;
        sides->addLayout(column, 1);
    }
    // An empty second column takes no part of the width.
    sides->setStretch(1, 0);
    sides->setSpacing(0);
}

void GroupColumns::addGroup(QWidget* group, int wideColumn) {
    group->setParent(this);
    groups.push_back({group, wideColumn});
    arrange();
}

QSize GroupColumns::minimumSizeHint() const {
    int width = 0;
    for (const Group& group : groups)
        width = std::max(width, group.widget->minimumSizeHint().width());
    return {width, QWidget::minimumSizeHint().height()};
}

void GroupColumns::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool nowWide = width() >= fontMetrics().averageCharWidth() * kWideCharacters;
    if (nowWide == isWide)
        return;
    isWide = nowWide;
    arrange();
}

void GroupColumns::arrange() {
    for (QVBoxLayout* const column : columns)
        while (QLayoutItem* const item = column->takeAt(0))
            delete item; // the items only; the groups stay
    for (const Group& group : groups)
        columns[static_cast<std::size_t>(isWide ? group.wideColumn : 0)]->addWidget(group.widget);
    auto* const sides = static_cast<QHBoxLayout*>(layout());
    sides->setStretch(1, isWide ? 1 : 0);
    sides->setSpacing(isWide ? fontMetrics().averageCharWidth() : 0);
    for (QVBoxLayout* const column : columns)
        column->addStretch(1);
}

} // namespace Vantor
