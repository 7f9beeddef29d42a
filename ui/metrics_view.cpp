#include "ui/metrics_view.h"

#include "ui/elided_label.h"
#include "ui/history_plot.h"
#include "ui/value_grid.h"

#include <QGridLayout>
#include <QVBoxLayout>

#include <chrono>

namespace Vantor {

namespace {

struct TileText {
    const char* caption;
    const char* hint;
    Tone tone;
};

// In the order of MetricsView::Figure; the two that have curves wear their colours.
constexpr std::array<TileText, 6> kTileTexts{{
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Frames"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "CVData frames forwarded to the device per second"),
     Tone::accent},
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Latency"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "Mean time from a frame's time stamp to the device write"),
     Tone::second},
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Jitter"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "Standard deviation of the latency"), Tone::normal},
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Reports out"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "Reports written to the device per second"), Tone::normal},
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Input states"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "Controller input states received per second"), Tone::normal},
    {QT_TRANSLATE_NOOP("Vantor::MetricsView", "Output states"),
     QT_TRANSLATE_NOOP("Vantor::MetricsView", "Controller output states received per second"), Tone::normal},
}};

constexpr int kMsDecimals = 3;
constexpr double kCaptionScale = 0.85; // of the ordinary font size
constexpr double kValueScale = 1.08;
constexpr int kTileCharacters = 14; // what a tile must hold without cutting
constexpr int kWideColumns = 3;
constexpr int kNarrowColumns = 2;

std::int64_t steadyNowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

MetricsView::MetricsView(QWidget* parent)
    : QGroupBox(tr("Performance"), parent), plot(new HistoryPlot(this)), grid(new QGridLayout) {
    for (int figure = 0; figure < figureCount; ++figure)
        buildTile(static_cast<Figure>(figure));
    grid->setHorizontalSpacing(fontMetrics().averageCharWidth());
    grid->setVerticalSpacing(fontMetrics().height() / 4);
    auto* rows = new QVBoxLayout(this);
    rows->addWidget(plot);
    rows->addLayout(grid);
    arrangeTiles();
    clear();
}

void MetricsView::buildTile(Figure figure) {
    const TileText& text = kTileTexts[static_cast<std::size_t>(figure)];
    auto* tile = new QWidget(this);
    auto* caption = new ElidedLabel(tile);
    caption->setText(tr(text.caption));
    caption->setHint(tr(text.hint));
    caption->setTone(Tone::muted);
    caption->setFontScale(kCaptionScale);
    auto* value = new ElidedLabel(tile);
    value->setAccessibleName(tr(text.caption));
    value->setHint(tr(text.hint));
    value->setTone(text.tone);
    value->setFontScale(kValueScale, true);
    auto* rows = new QVBoxLayout(tile);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(value);
    rows->addWidget(caption);
    tiles[figure] = tile;
    values[figure] = value;
}

void MetricsView::resizeEvent(QResizeEvent* event) {
    QGroupBox::resizeEvent(event);
    arrangeTiles();
}

void MetricsView::arrangeTiles() {
    const int tileWidth = fontMetrics().averageCharWidth() * kTileCharacters;
    const int wanted = width() >= kWideColumns * tileWidth ? kWideColumns : kNarrowColumns;
    if (wanted == columns)
        return;
    columns = wanted;
    for (int figure = 0; figure < figureCount; ++figure)
        grid->addWidget(tiles[static_cast<std::size_t>(figure)], figure / columns, figure % columns);
    for (int column = 0; column < kWideColumns; ++column)
        grid->setColumnStretch(column, column < columns ? 1 : 0);
}

void MetricsView::setFrameRates(quint32 frameHz, double latencyMs, double jitterMs) {
    ValueGrid::setValue(values[frames], tr("%1 Hz").arg(frameHz));
    ValueGrid::setValue(values[latency], tr("%1 ms").arg(latencyMs, 0, 'f', kMsDecimals));
    ValueGrid::setValue(values[jitter], tr("%1 ms").arg(jitterMs, 0, 'f', kMsDecimals));
    plot->addSample(frameHz, latencyMs, steadyNowMs());
}

void MetricsView::setReportRates(quint32 inputPps, quint32 statePps) {
    ValueGrid::setValue(values[inputStates], tr("%1 /s").arg(inputPps));
    ValueGrid::setValue(values[outputStates], tr("%1 /s").arg(statePps));
}

void MetricsView::setPacketRate(int packetsPerSecond) {
    ValueGrid::setValue(values[reportsOut], tr("%1 /s").arg(packetsPerSecond));
}

void MetricsView::clear() {
    for (ElidedLabel* const value : values)
        ValueGrid::setValue(value, {});
}

} // namespace Vantor
