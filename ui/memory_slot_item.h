// One of the adapter's memory slots: its number, what it holds, and whether the adapter runs it. GUI thread
// only.

#pragma once

#include "device/titan_script_info.h"

#include <QFrame>

class QLabel;

namespace Vantor {

class ElidedLabel;

class MemorySlotItem : public QFrame {
    Q_OBJECT
    Q_PROPERTY(bool hasContent READ hasContent)

public:
    /// `slotNumber` as the adapter counts: 1..9.
    explicit MemorySlotItem(int slotNumber, QWidget* parent = nullptr);

    void setContent(const TitanScriptInfo& info);
    void setEmpty();
    /// Nothing is known of the slot yet.
    void setUnknown();
    void setLoaded(bool isLoaded);
    bool hasContent() const { return occupied; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showWithoutContent(const QString& text);
    void describe();

    int number = 0;
    bool occupied = false;
    bool loaded = false;
    QLabel* numberLabel = nullptr;
    ElidedLabel* title = nullptr;
    ElidedLabel* details = nullptr;
    QLabel* mark = nullptr;
};

} // namespace Vantor
