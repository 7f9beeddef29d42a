#include "ui/history_plot.h"

#include "ui/panel_colours.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace Vantor {

namespace {

constexpr int kMsPerSecond = 1000;
constexpr int kGridLines = 3;
constexpr double kLineWidth = 1.6;

/// The next of 1, 2, 5, 10, 20, ... that is not below `value`, so that the scale stays put while values vary.
double niceCeiling(double value) {
    if (value <= 0)
        return 0;
    const double decade = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0})
        if (value <= step * decade)
            return step * decade;
    return 10 * decade;
}

bool isUsable(double value) {
    return std::isfinite(value) && value >= 0;
}

} // namespace

HistoryPlot::HistoryPlot(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("historyPlot"));
    setAccessibleName(tr("History of frame rate and latency"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    describe();
}

QSize HistoryPlot::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 30, fontMetrics().height() * 6};
}

QSize HistoryPlot::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 10, sizeHint().height()};
}

void HistoryPlot::addSample(double frameHz, double latencyMs, std::int64_t nowMs) {
    const std::int64_t second = nowMs / kMsPerSecond;
    if (!isUsable(frameHz) || !isUsable(latencyMs) || second < 0 || second < newest)
        return;
    Point& point = points[static_cast<std::size_t>(second % kSeconds)];
    if (point.second == second && point.frameHz == frameHz && point.latencyMs == latencyMs)
        return; // told again, as owners do that read more often than once a second
    point = {second, frameHz, latencyMs};
    newest = second;
    describe();
    update();
}

const HistoryPlot::Point* HistoryPlot::pointAt(int age) const {
    const std::int64_t second = newest - age;
    if (second < 0)
        return nullptr;
    const Point& point = points[static_cast<std::size_t>(second % kSeconds)];
    return point.second == second ? &point : nullptr;
}

void HistoryPlot::describe() {
    double maxHz = 0;
    double maxMs = 0;
    for (int age = 0; age < kSeconds; ++age) {
        if (const Point* const point = pointAt(age)) {
            maxHz = std::max(maxHz, point->frameHz);
            maxMs = std::max(maxMs, point->latencyMs);
        }
    }
    if (const double top = niceCeiling(maxHz); top != topHz || hzScale.isEmpty()) {
        topHz = top;
        hzScale = tr("%1 Hz").arg(topHz);
    }
    if (const double top = niceCeiling(maxMs); top != topMs || msScale.isEmpty()) {
        topMs = top;
        msScale = tr("%1 ms").arg(topMs);
    }
    const QString summary = pointAt(0) == nullptr
                                ? tr("Nothing measured yet")
                                : tr("Last minute: up to %1 frames per second, latency up to %2 ms")
                                      .arg(maxHz, 0, 'f', 0)
                                      .arg(maxMs, 0, 'f', 3);
    setAccessibleDescription(summary);
    setToolTip(summary);
}

QRectF HistoryPlot::curveArea() const {
    const double text = fontMetrics().height();
    return QRectF(rect()).adjusted(3, text + 2, -3, -3);
}

double HistoryPlot::xAt(const QRectF& area, int age) const {
    return area.right() - area.width() * age / (kSeconds - 1);
}

bool HistoryPlot::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* const help = static_cast<QHelpEvent*>(event);
    const QString text = textAt(help->pos().x());
    QToolTip::showText(help->globalPos(), text.isEmpty() ? toolTip() : text + u'\n' + toolTip(), this);
    return true;
}

QString HistoryPlot::textAt(double x) const {
    const QRectF area = curveArea();
    if (area.width() <= 0)
        return {};
    const double share = std::clamp((area.right() - x) / area.width(), 0.0, 1.0);
    const int age = static_cast<int>(std::lround(share * (kSeconds - 1)));
    const Point* const point = pointAt(age);
    if (point == nullptr)
        return {};
    return tr("%1 s ago: %2 Hz, %3 ms")
        .arg(age)
        .arg(point->frameHz, 0, 'f', 0)
        .arg(point->latencyMs, 0, 'f', 3);
}

void HistoryPlot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor base = palette().color(QPalette::Base);
    const QColor frames = toneOn(palette(), Tone::accent, QPalette::Base);
    const QColor latency = toneOn(palette(), Tone::second, QPalette::Base);

    painter.setPen(blended(palette().color(QPalette::Text), base, 0.25));
    painter.setBrush(base);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    const QRectF area = curveArea();
    if (area.width() <= 0 || area.height() <= 0)
        return;
    drawGrid(painter, area);
    drawCurve(painter, area, {&Point::frameHz, topHz, true}, frames);
    drawCurve(painter, area, {&Point::latencyMs, topMs, false}, latency);
    drawScales(painter, frames, latency);
}

void HistoryPlot::drawGrid(QPainter& painter, const QRectF& area) const {
    painter.setPen(blended(palette().color(QPalette::Text), palette().color(QPalette::Base), 0.12));
    for (int line = 0; line < kGridLines; ++line) {
        const double y = std::round(area.top() + area.height() * line / kGridLines) + 0.5;
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
}

void HistoryPlot::drawCurve(QPainter& painter, const QRectF& area, const Curve& curve,
                            const QColor& colour) const {
    if (curve.top <= 0)
        return;
    QColor below = colour;
    below.setAlphaF(0.18F);
    std::array<QPointF, kSeconds + 2> line; // and the two corners below it
    int length = 0;
    const auto drawRun = [&] {
        if (length == 0)
            return;
        const auto last = static_cast<std::size_t>(length);
        if (curve.filled) {
            line[last] = {line[last - 1].x(), area.bottom()};
            line[last + 1] = {line[0].x(), area.bottom()};
            painter.setPen(Qt::NoPen);
            painter.setBrush(below);
            painter.drawPolygon(line.data(), length + 2);
        }
        painter.setPen(QPen(colour, kLineWidth));
        painter.setBrush(Qt::NoBrush);
        if (length == 1)
            painter.drawPoint(line[0]);
        else
            painter.drawPolyline(line.data(), length);
        length = 0;
    };
    for (int age = kSeconds - 1; age >= 0; --age) {
        const Point* const point = pointAt(age);
        if (point == nullptr) {
            drawRun();
            continue;
        }
        const double y = area.bottom() - area.height() * (point->*curve.value) / curve.top;
        line[static_cast<std::size_t>(length++)] = {xAt(area, age), y};
    }
    drawRun();
}

void HistoryPlot::drawScales(QPainter& painter, const QColor& frames, const QColor& latency) const {
    const QRectF header = QRectF(rect()).adjusted(5, 2, -5, 0);
    painter.setPen(frames);
    painter.drawText(header, Qt::AlignLeft | Qt::AlignTop, hzScale);
    painter.setPen(latency);
    painter.drawText(header, Qt::AlignRight | Qt::AlignTop, msScale);
    painter.setPen(toneOn(palette(), Tone::muted, QPalette::Base));
    painter.drawText(header, Qt::AlignHCenter | Qt::AlignTop, span);
}

} // namespace Vantor
