// The figures of the last second, frames out, their latency and jitter, reports in and out, and the last
// minute as curves. GUI thread only.

#pragma once

#include <QGroupBox>
#include <QtGlobal>

#include <array>

class QGridLayout;

namespace Vantor {

class ElidedLabel;
class HistoryPlot;

class MetricsView : public QGroupBox {
    Q_OBJECT

public:
    explicit MetricsView(QWidget* parent = nullptr);

    /// Frames per second; milliseconds from a frame's time stamp to its last write, and their standard
    /// deviation. Enters the history under the present time.
    void setFrameRates(quint32 frameHz, double latencyMs, double jitterMs);
    /// Complete controller states per second, by kind.
    void setReportRates(quint32 inputPps, quint32 statePps);
    /// Reports written to the adapter per second.
    void setPacketRate(int packetsPerSecond);
    /// Nothing is measured now. The history stays.
    void clear();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    enum Figure { frames, latency, jitter, reportsOut, inputStates, outputStates, figureCount };

    void buildTile(Figure figure);
    void arrangeTiles();

    HistoryPlot* plot = nullptr;
    QGridLayout* grid = nullptr;
    int columns = 0;
    std::array<QWidget*, figureCount> tiles{};
    std::array<ElidedLabel*, figureCount> values{};
};

} // namespace Vantor
