// The last minute of frame rate and latency as two curves. Entry point: addSample(). It keeps one point per
// second in fixed storage and repaints only when one arrives while it can be seen. GUI thread only.

#pragma once

#include <QString>
#include <QWidget>

#include <array>
#include <cstdint>

class QPainter;

namespace Vantor {

class HistoryPlot : public QWidget {
    Q_OBJECT

public:
    static constexpr int kSeconds = 60;

    explicit HistoryPlot(QWidget* parent = nullptr);

    /// `nowMs`: milliseconds of a monotonic clock. The last sample of a second counts; seconds without one
    /// are gaps. Values that are not finite, or negative, are ignored.
    void addSample(double frameHz, double latencyMs, std::int64_t nowMs);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Point {
        std::int64_t second = -1; ///< of the clock; says whether the point is still one of the last minute
        double frameHz = 0;
        double latencyMs = 0;
    };
    /// What distinguishes the two curves.
    struct Curve {
        double Point::*value;
        double top; ///< the value at the upper edge
        bool filled;
    };

    /// The point of `age` seconds before the newest; null for a gap.
    const Point* pointAt(int age) const;
    QRectF curveArea() const;
    double xAt(const QRectF& area, int age) const;
    void drawGrid(QPainter& painter, const QRectF& area) const;
    void drawCurve(QPainter& painter, const QRectF& area, const Curve& curve, const QColor& colour) const;
    void drawScales(QPainter& painter, const QColor& frames, const QColor& latency) const;
    void describe();
    QString textAt(double x) const;

    std::array<Point, kSeconds> points{}; ///< a second's place is its number modulo the size
    std::int64_t newest = -1;
    double topHz = 0;
    double topMs = 0;
    QString hzScale; ///< made when the scale changes, not when it is painted
    QString msScale;
    QString span = tr("%1 s").arg(kSeconds);
};

} // namespace Vantor
