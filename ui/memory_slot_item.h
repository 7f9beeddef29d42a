// One of the adapter's memory slots: its number, what it holds, whether the adapter runs it, and everything
// that can be done with it: by menu, key, button, double click, or a file dropped on it. It asks; it does
// nothing itself. GUI thread only.

#pragma once

#include "device/titan_script_info.h"
#include "ui/slot_action.h"
#include "ui/slot_files.h"

#include <QFrame>
#include <QPointer>

class QMenu;

namespace Vantor {

class ElidedLabel;
class GlyphButton;

/// The dynamic property "hasContent" says whether the slot holds anything, for the host's style sheets.
class MemorySlotItem : public QFrame {
    Q_OBJECT

public:
    /// `slotNumber` as the adapter counts: 1..9.
    explicit MemorySlotItem(int slotNumber, QWidget* parent = nullptr);

    void setContent(const TitanScriptInfo& info);
    void setEmpty();
    /// Nothing is known of the slot yet.
    void setUnknown();
    void setLoaded(bool isLoaded);
    /// Whether an adapter is there to run or clear the slot. Files can be chosen without one: compiling shows
    /// what is wrong with a script.
    void setAvailable(bool isAvailable);
    /// The part of a transfer into this slot that is done, 0..1; negative = none is under way.
    void setTransferShare(double share);

signals:
    void actionRequested(Vantor::SlotAction action, int slotIndex);
    void fileDropped(int slotIndex, const Vantor::DroppedFile& file);
    /// Something was dropped that must not go into a slot.
    void dropRefused();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    enum class Content { unknown, empty, occupied };

    void buildLayout();
    void buildButtons();
    void present(Content what, const QString& titleText, const QString& detailsText);
    void describe();
    void request(SlotAction action);
    void runOrFill();
    void openMenu(const QPoint& globalPosition);
    void openMenuHere();
    void setDropTarget(bool isTarget);
    QRectF badgeArea() const;

    int number = 0;
    Content content = Content::unknown;
    bool loaded = false;
    bool available = false;
    bool dropTarget = false;
    double transferShare = -1;
    ElidedLabel* title = nullptr;
    ElidedLabel* details = nullptr;
    ElidedLabel* mark = nullptr;
    GlyphButton* run = nullptr;
    GlyphButton* more = nullptr;
    QPointer<QMenu> menu;
};

} // namespace Vantor
