#include "ui/memory_slot_item.h"

#include "ui/elided_label.h"

#include <QGridLayout>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace Vantor {

namespace {

constexpr double kDetailsScale = 0.88; // of the ordinary font size

/// What there is to say about a slot besides its title, most important first.
QString detailsOf(const TitanScriptInfo& info) {
    QStringList parts;
    if (!info.author.isEmpty())
        parts += MemorySlotItem::tr("by %1").arg(info.author);
    if (!info.inputTranslator.isEmpty() && !info.name.isEmpty())
        parts += info.inputTranslator;
    return parts.join(QStringLiteral(" \u00B7 "));
}

QString titleOf(const TitanScriptInfo& info) {
    if (info.name.isEmpty())
        return info.inputTranslator;
    return info.version.isEmpty() ? info.name : info.name + u' ' + info.version;
}

} // namespace

MemorySlotItem::MemorySlotItem(int slotNumber, QWidget* parent)
    : QFrame(parent),
      number(slotNumber),
      numberLabel(new QLabel(QString::number(slotNumber), this)),
      title(new ElidedLabel(this)),
      details(new ElidedLabel(this)),
      mark(new QLabel(tr("Loaded"), this)) {
    setFocusPolicy(Qt::StrongFocus);
    numberLabel->setAlignment(Qt::AlignCenter);
    numberLabel->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("00")));
    numberLabel->setForegroundRole(QPalette::PlaceholderText);
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * kDetailsScale);
    details->setFont(small);
    details->setForegroundRole(QPalette::PlaceholderText);
    QFont markFont = small;
    markFont.setBold(true);
    mark->setFont(markFont);
    mark->setForegroundRole(QPalette::Link);
    mark->hide();

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(4, 3, 4, 3);
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(0);
    grid->setColumnStretch(1, 1);
    grid->addWidget(numberLabel, 0, 0, 2, 1, Qt::AlignTop);
    grid->addWidget(title, 0, 1);
    grid->addWidget(mark, 0, 2);
    grid->addWidget(details, 1, 1, 1, 2);
    setUnknown();
}

void MemorySlotItem::setContent(const TitanScriptInfo& info) {
    occupied = true;
    title->setText(titleOf(info));
    title->setForegroundRole(QPalette::WindowText);
    details->setText(detailsOf(info));
    details->setVisible(!details->text().isEmpty());
    describe();
}

void MemorySlotItem::setEmpty() {
    showWithoutContent(tr("Empty"));
}

void MemorySlotItem::setUnknown() {
    showWithoutContent(QStringLiteral("\u2013"));
}

void MemorySlotItem::showWithoutContent(const QString& text) {
    occupied = false;
    title->setText(text);
    title->setForegroundRole(QPalette::PlaceholderText);
    details->clear();
    details->hide();
    describe();
}

void MemorySlotItem::setLoaded(bool isLoaded) {
    loaded = isLoaded;
    mark->setVisible(loaded);
    QFont weight = title->font();
    weight.setBold(loaded);
    title->setFont(weight);
    describe();
}

void MemorySlotItem::describe() {
    QStringList parts{tr("Slot %1").arg(number), title->text()};
    if (!details->text().isEmpty())
        parts += details->text();
    if (loaded)
        parts += tr("loaded");
    setAccessibleName(parts.join(QStringLiteral(", ")));
    setToolTip(accessibleName());
}

void MemorySlotItem::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    if (!hasFocus())
        return;
    QStylePainter painter(this);
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.backgroundColor = palette().color(QPalette::Window);
    painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
}

} // namespace Vantor
