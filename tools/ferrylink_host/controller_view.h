// The controller as the adapter sees it and as it leaves the adapter: each value twice, so that what a script
// does to it can be watched. Reads the blocks ControllerInput and ControllerReport while it can be seen. GUI
// thread only.

#pragma once

#include "host/memory_block_info.h"
#include "host/records.h"
#include "host/shared_memory_accessor.h"

#include <QTimer>
#include <QWidget>

#include <memory>

class QPainter;

namespace Vantor::devhost {

class ControllerView : public QWidget {
    Q_OBJECT

public:
    explicit ControllerView(const QList<MemoryBlockInfo>& blocks, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// One of the two blocks, and the record that was last read from it.
    struct Source {
        std::unique_ptr<SharedMemoryAccessor> block;
        std::int64_t sequence = 0;
        ControllerData record;
    };

    bool refresh(Source& source);
    void drawButtons(QPainter& painter, const QRectF& area) const;
    void drawStick(QPainter& painter, const QRectF& area, std::size_t xAxis, const QString& name) const;

    Source input;
    Source output;
    QTimer timer{this};
};

} // namespace Vantor::devhost
