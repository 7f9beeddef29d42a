#include "ui/status_view.h"

#include "ui/elided_label.h"
#include "ui/value_grid.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace Vantor {

namespace {

struct StateLook {
    const char* text;
    QRgb colour; ///< mid tones that stand out on light and on dark palettes
};

// In the order of ConnectionState.
constexpr std::array<StateLook, 4> kStateLooks{{
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "Disconnected"), 0xff8a8a8a},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "Connecting\u2026"), 0xffd08a00},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "Connected"), 0xff2f9e55},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "Reconnecting\u2026"), 0xffd08a00},
}};

struct PortRow {
    const char* caption;
    const char* hint;
};

constexpr std::array<PortRow, 4> kPortRows{{
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "IN A"),
     QT_TRANSLATE_NOOP("Vantor::StatusView", "What speaks on the adapter's input port A")},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "IN B"),
     QT_TRANSLATE_NOOP("Vantor::StatusView", "What speaks on the adapter's input port B")},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "OUT"),
     QT_TRANSLATE_NOOP("Vantor::StatusView", "What the adapter's output port is connected to")},
    {QT_TRANSLATE_NOOP("Vantor::StatusView", "PROG"),
     QT_TRANSLATE_NOOP("Vantor::StatusView", "The programming port, which leads to this computer")},
}};

} // namespace

StatusView::StatusView(QWidget* parent) : QWidget(parent) {
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(buildConnection());
    rows->addWidget(buildUsbPorts());
    setConnectionState(ConnectionState::disconnected);
}

QWidget* StatusView::buildConnection() {
    auto* group = new QGroupBox(tr("Status"), this);
    stateDot = new QLabel(QStringLiteral("\u25CF"), group);
    stateDot->setAccessibleName(tr("Connection sign"));
    stateText = new ElidedLabel(group);
    stateText->setObjectName(QStringLiteral("connectionState"));
    stateText->setAccessibleName(tr("Connection"));
    stateText->setHint(tr("The connection to the selected device"));
    QFont bold = stateText->font();
    bold.setBold(true);
    stateText->setFont(bold);

    auto* stateRow = new QHBoxLayout;
    stateRow->addWidget(stateDot);
    stateRow->addWidget(stateText, 1);

    auto* grid = new ValueGrid(group);
    firmware = grid->addRow(tr("Firmware"), tr("Firmware version of the device"));
    loadedSlot = grid->addRow(tr("Loaded slot"), tr("The memory slot that the device runs"));
    outputProtocol = grid->addRow(tr("Output"), tr("The protocol that the device speaks to the console"));

    auto* rows = new QVBoxLayout(group);
    rows->addLayout(stateRow);
    rows->addWidget(grid);
    return group;
}

QWidget* StatusView::buildUsbPorts() {
    auto* group = new QGroupBox(tr("USB Ports"), this);
    auto* grid = new ValueGrid(group);
    for (std::size_t i = 0; i < kPortRows.size(); ++i)
        ports[i] = grid->addRow(tr(kPortRows[i].caption), tr(kPortRows[i].hint));
    auto* rows = new QVBoxLayout(group);
    rows->addWidget(grid);
    return group;
}

void StatusView::setConnectionState(ConnectionState state) {
    const StateLook& look = kStateLooks[static_cast<std::size_t>(state)];
    stateText->setText(tr(look.text));
    QPalette colours = stateDot->palette();
    colours.setColor(QPalette::WindowText, QColor(look.colour));
    stateDot->setPalette(colours);
}

void StatusView::setFirmwareVersion(const QString& version) {
    ValueGrid::setValue(firmware, version);
}

void StatusView::setLoadedSlot(int slot) {
    ValueGrid::setValue(loadedSlot, slot == 0 ? tr("None") : QString::number(slot));
}

void StatusView::setOutputProtocol(const QString& name) {
    ValueGrid::setValue(outputProtocol, name);
}

void StatusView::setUsbPorts(const TitanUsbPortInfo& info) {
    const std::array<QString, 4> names{info.inputA, info.inputB, info.output, info.prog};
    for (std::size_t i = 0; i < names.size(); ++i)
        ValueGrid::setValue(ports[i], names[i]);
}

void StatusView::clear() {
    for (ElidedLabel* const label : {firmware, loadedSlot, outputProtocol})
        ValueGrid::setValue(label, {});
    setUsbPorts({});
}

} // namespace Vantor
