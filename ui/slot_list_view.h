// The adapter's nine memory slots, for reading. Arrow keys move through them. GUI thread only.

#pragma once

#include "device/titan_script_info.h"

#include <QGroupBox>
#include <QList>

#include <array>

namespace Vantor {

class MemorySlotItem;

class SlotListView : public QGroupBox {
    Q_OBJECT

public:
    static constexpr int kSlots = 9;

    explicit SlotListView(QWidget* parent = nullptr);

    /// Shows a whole listing: slots that it does not name are empty. Entries with an impossible number are
    /// ignored.
    void setScripts(const QList<TitanScriptInfo>& scripts);
    /// 1..9; anything else marks no slot.
    void setLoadedSlot(int slot);
    /// Nothing is known of the slots.
    void clear();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void scrollTo(QWidget* item);

    std::array<MemorySlotItem*, kSlots> items{};
};

} // namespace Vantor
