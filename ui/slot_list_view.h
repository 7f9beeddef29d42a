// The adapter's nine memory slots. Arrow keys move through them; everything else the items do. GUI thread
// only.

#pragma once

#include "device/titan_script_info.h"
#include "ui/slot_action.h"
#include "ui/slot_files.h"

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
    /// Whether an adapter is there to run or clear slots.
    void setAvailable(bool isAvailable);
    /// The part of a transfer into a slot that is done, 0..1; negative = it is over.
    void setTransferShare(int slotNumber, double share);
    /// Nothing is known of the slots.
    void clear();

signals:
    void actionRequested(Vantor::SlotAction action, int slotIndex);
    void fileDropped(int slotIndex, const Vantor::DroppedFile& file);
    void dropRefused();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void scrollTo(QWidget* item);

    std::array<MemorySlotItem*, kSlots> items{};
};

} // namespace Vantor
