#include "controller_view.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Vantor::devhost {

namespace {

constexpr int kRefreshMs = 33;
constexpr int kWidth = 420;
constexpr int kHeight = 150;
constexpr qreal kGap = 6;
constexpr float kFullScale = 100; // of buttons and axes
constexpr std::size_t kRightStick = 0;
constexpr std::size_t kLeftStick = 2;

std::unique_ptr<SharedMemoryAccessor> attach(const QList<MemoryBlockInfo>& blocks, const char* name) {
    for (const MemoryBlockInfo& info : blocks) {
        if (info.name != QLatin1String(name))
            continue;
        auto block = std::make_unique<SharedMemoryAccessor>(info);
        if (block->connect())
            return block;
    }
    return nullptr;
}

/// 0..1, whatever the record holds.
qreal share(float value) {
    return value >= 0 ? std::min(value, kFullScale) / kFullScale : 0;
}

/// -1..1, whatever the record holds.
qreal deflection(float value) {
    return value >= -kFullScale ? std::min(value, kFullScale) / kFullScale : -1;
}

/// Where a stick is in its circle of radius 1: its axes may both be at their ends, which lies outside.
QPointF placeOfStick(float xAxis, float yAxis) {
    const QPointF place(deflection(xAxis), deflection(yAxis));
    return place / std::max(1.0, std::hypot(place.x(), place.y()));
}

} // namespace

ControllerView::ControllerView(const QList<MemoryBlockInfo>& blocks, QWidget* parent) : QWidget(parent) {
    input.block = attach(blocks, BlockName::kControllerInput);
    output.block = attach(blocks, BlockName::kControllerReport);
    setAccessibleName(tr("Controller"));
    setToolTip(
        tr("Outlined: what the controller sends. Filled: what the adapter passes on. A script makes the "
           "difference."));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    timer.setInterval(kRefreshMs);
    connect(&timer, &QTimer::timeout, this, [this] {
        const bool inputChanged = refresh(input);
        const bool outputChanged = refresh(output);
        if (inputChanged || outputChanged)
            update();
    });
}

bool ControllerView::refresh(Source& source) {
    return source.block != nullptr && source.block->hasNewData(source.sequence) &&
           source.block->readData(&source.record, sizeof source.record, source.sequence);
}

QSize ControllerView::sizeHint() const {
    return {kWidth, kHeight};
}

QSize ControllerView::minimumSizeHint() const {
    return {kWidth / 2, kHeight};
}

void ControllerView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    timer.start();
}

void ControllerView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    timer.stop();
}

void ControllerView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(1, 1, -1, -1);
    const qreal stick = area.height();
    drawStick(painter, {area.left(), area.top(), stick, stick}, kLeftStick, tr("Left"));
    drawStick(painter, {area.right() - stick, area.top(), stick, stick}, kRightStick, tr("Right"));
    drawButtons(painter, area.adjusted(stick + 2 * kGap, 0, -stick - 2 * kGap, 0));
}

void ControllerView::drawStick(QPainter& painter, const QRectF& area, std::size_t xAxis,
                               const QString& name) const {
    const qreal captionHeight = QFontMetricsF(font()).height();
    const QRectF field = area.adjusted(captionHeight / 2, 0, -captionHeight / 2, -captionHeight);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(area, Qt::AlignHCenter | Qt::AlignBottom, name);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawEllipse(field);
    const auto position = [&](const ControllerData& record) {
        const QPointF place = placeOfStick(record.axes[xAxis], record.axes[xAxis + 1]);
        return field.center() + QPointF(place.x() * field.width() / 2, place.y() * field.height() / 2);
    };
    const qreal dot = field.width() / 12;
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.drawEllipse(position(output.record), dot, dot);
    painter.setPen(QPen(palette().color(QPalette::Text), 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(position(input.record), dot + 1.5, dot + 1.5);
}

void ControllerView::drawButtons(QPainter& painter, const QRectF& area) const {
    const qreal captionHeight = QFontMetricsF(font()).height();
    const qreal pitch = area.width() / ControllerData::kButtons;
    for (std::size_t button = 0; button < ControllerData::kButtons; ++button) {
        const QRectF column(area.left() + pitch * static_cast<qreal>(button) + pitch * 0.15, area.top(),
                            pitch * 0.7, area.height() - captionHeight);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(QPalette::Base));
        painter.drawRect(column);
        QRectF filled = column;
        filled.setTop(column.bottom() - column.height() * share(output.record.buttons[button]));
        painter.setBrush(palette().color(QPalette::Highlight));
        painter.drawRect(filled);
        QRectF outlined = column;
        outlined.setTop(column.bottom() - column.height() * share(input.record.buttons[button]));
        painter.setPen(QPen(palette().color(QPalette::Text), 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(outlined);
    }
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(area, Qt::AlignHCenter | Qt::AlignBottom,
                     tr("Buttons 1 to %1: sent, and passed on (filled)").arg(ControllerData::kButtons));
}

} // namespace Vantor::devhost
