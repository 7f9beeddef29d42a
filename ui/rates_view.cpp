#include "ui/rates_view.h"

#include "ui/elided_label.h"
#include "ui/value_grid.h"

#include <QVBoxLayout>

namespace Vantor {

namespace {

constexpr int kMsDecimals = 3;

} // namespace

RatesView::RatesView(QWidget* parent) : QGroupBox(tr("Rates"), parent) {
    auto* grid = new ValueGrid(this);
    frameRate = grid->addRow(tr("Frames"), tr("CVData frames forwarded to the device per second"));
    latency = grid->addRow(tr("Latency"), tr("Mean time from a frame's time stamp to the device write"));
    jitter = grid->addRow(tr("Jitter"), tr("Standard deviation of the latency"));
    packetRate = grid->addRow(tr("Reports out"), tr("Reports written to the device per second"));
    inputRate = grid->addRow(tr("Input states"), tr("Controller input states received per second"));
    stateRate = grid->addRow(tr("Output states"), tr("Controller output states received per second"));
    auto* rows = new QVBoxLayout(this);
    rows->addWidget(grid);
}

void RatesView::setFrameRates(quint32 frameHz, double latencyMs, double jitterMs) {
    ValueGrid::setValue(frameRate, tr("%1 Hz").arg(frameHz));
    ValueGrid::setValue(latency, tr("%1 ms").arg(latencyMs, 0, 'f', kMsDecimals));
    ValueGrid::setValue(jitter, tr("%1 ms").arg(jitterMs, 0, 'f', kMsDecimals));
}

void RatesView::setReportRates(quint32 inputPps, quint32 statePps) {
    ValueGrid::setValue(inputRate, tr("%1 /s").arg(inputPps));
    ValueGrid::setValue(stateRate, tr("%1 /s").arg(statePps));
}

void RatesView::setPacketRate(int packetsPerSecond) {
    ValueGrid::setValue(packetRate, tr("%1 /s").arg(packetsPerSecond));
}

void RatesView::clear() {
    for (ElidedLabel* const label : {frameRate, latency, jitter, packetRate, inputRate, stateRate})
        ValueGrid::setValue(label, {});
}

} // namespace Vantor
