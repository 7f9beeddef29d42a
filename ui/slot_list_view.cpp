#include "ui/slot_list_view.h"

#include "ui/memory_slot_item.h"

#include <QKeyEvent>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace Vantor {

SlotListView::SlotListView(QWidget* parent) : QGroupBox(tr("Memory Slots"), parent) {
    auto* rows = new QVBoxLayout(this);
    rows->setSpacing(2);
    for (int i = 0; i < kSlots; ++i) {
        auto* item = new MemorySlotItem(i + 1, this);
        // One stop for the tab key, as in any list; the arrow keys do the rest.
        item->setFocusPolicy(i == 0 ? Qt::StrongFocus : Qt::ClickFocus);
        item->installEventFilter(this);
        connect(item, &MemorySlotItem::actionRequested, this, &SlotListView::actionRequested);
        connect(item, &MemorySlotItem::fileDropped, this, &SlotListView::fileDropped);
        connect(item, &MemorySlotItem::dropRefused, this, &SlotListView::dropRefused);
        rows->addWidget(item);
        items[static_cast<std::size_t>(i)] = item;
    }
}

void SlotListView::setScripts(const QList<TitanScriptInfo>& scripts) {
    std::array<const TitanScriptInfo*, kSlots> contents{};
    for (const TitanScriptInfo& script : scripts)
        if (script.slot >= 1 && script.slot <= kSlots)
            contents[static_cast<std::size_t>(script.slot - 1)] = &script;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (contents[i] != nullptr)
            items[i]->setContent(*contents[i]);
        else
            items[i]->setEmpty();
    }
}

void SlotListView::setLoadedSlot(int slot) {
    for (std::size_t i = 0; i < items.size(); ++i)
        items[i]->setLoaded(static_cast<int>(i) + 1 == slot);
}

void SlotListView::setAvailable(bool isAvailable) {
    for (MemorySlotItem* const item : items)
        item->setAvailable(isAvailable);
}

void SlotListView::setTransferShare(int slotNumber, double share) {
    if (slotNumber >= 1 && slotNumber <= kSlots)
        items[static_cast<std::size_t>(slotNumber - 1)]->setTransferShare(share);
}

void SlotListView::clear() {
    for (MemorySlotItem* const item : items)
        item->setUnknown();
    setLoadedSlot(0);
}

/// Only the tab key makes a scroll area follow the focus by itself.
void SlotListView::scrollTo(QWidget* item) {
    for (QWidget* above = parentWidget(); above != nullptr; above = above->parentWidget())
        if (auto* const area = qobject_cast<QScrollArea*>(above))
            area->ensureWidgetVisible(item);
}

bool SlotListView::eventFilter(QObject* watched, QEvent* event) {
    const auto here = std::find(items.begin(), items.end(), watched);
    if (here == items.end() || event->type() != QEvent::KeyPress)
        return QGroupBox::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    auto target = here;
    if (key == Qt::Key_Down && here + 1 != items.end())
        ++target;
    else if (key == Qt::Key_Up && here != items.begin())
        --target;
    else if (key == Qt::Key_Home)
        target = items.begin();
    else if (key == Qt::Key_End)
        target = items.end() - 1;
    else
        return QGroupBox::eventFilter(watched, event);
    (*target)->setFocus(Qt::OtherFocusReason);
    scrollTo(*target);
    return true;
}

} // namespace Vantor
