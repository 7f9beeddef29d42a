// The figures of the last second: frames out, their latency and jitter, reports in and out. GUI thread only.

#pragma once

#include <QGroupBox>
#include <QtGlobal>

namespace Vantor {

class ElidedLabel;

class RatesView : public QGroupBox {
    Q_OBJECT

public:
    explicit RatesView(QWidget* parent = nullptr);

    /// Frames per second; milliseconds from a frame's time stamp to its last write, and their standard
    /// deviation.
    void setFrameRates(quint32 frameHz, double latencyMs, double jitterMs);
    /// Complete controller states per second, by kind.
    void setReportRates(quint32 inputPps, quint32 statePps);
    /// Reports written to the adapter per second.
    void setPacketRate(int packetsPerSecond);
    void clear();

private:
    ElidedLabel* frameRate = nullptr;
    ElidedLabel* latency = nullptr;
    ElidedLabel* jitter = nullptr;
    ElidedLabel* inputRate = nullptr;
    ElidedLabel* stateRate = nullptr;
    ElidedLabel* packetRate = nullptr;
};

} // namespace Vantor
