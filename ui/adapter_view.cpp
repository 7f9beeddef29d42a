#include "ui/adapter_view.h"

#include "device/protocol_names.h"
#include "ui/calm_combo_box.h"
#include "ui/elided_label.h"
#include "ui/value_grid.h"

#include <QAbstractItemView>
#include <QGroupBox>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace Vantor {

namespace {

struct PortRow {
    const char* caption;
    const char* hint;
};

// In the order of TitanUsbPortInfo's fields.
constexpr std::array<PortRow, 4> kPortRows{{
    {QT_TRANSLATE_NOOP("Vantor::AdapterView", "IN A"),
     QT_TRANSLATE_NOOP("Vantor::AdapterView", "What speaks on the device's input port A")},
    {QT_TRANSLATE_NOOP("Vantor::AdapterView", "IN B"),
     QT_TRANSLATE_NOOP("Vantor::AdapterView", "What speaks on the device's input port B")},
    {QT_TRANSLATE_NOOP("Vantor::AdapterView", "OUT"),
     QT_TRANSLATE_NOOP("Vantor::AdapterView", "What the device's output port is connected to")},
    {QT_TRANSLATE_NOOP("Vantor::AdapterView", "PROG"),
     QT_TRANSLATE_NOOP("Vantor::AdapterView", "The programming port, which leads to this computer")},
}};

} // namespace

AdapterView::AdapterView(QWidget* parent) : QWidget(parent) {
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(buildAdapter());
    rows->addWidget(buildUsbPorts());
    setAvailable(false);
}

QWidget* AdapterView::buildAdapter() {
    auto* group = new QGroupBox(tr("Device"), this);
    auto* grid = new ValueGrid(group);
    buildProtocols(grid);
    grid->addControl(tr("Output"), protocols);
    loadedSlot = grid->addRow(tr("Loaded slot"), tr("The memory slot that the device runs"));
    firmware = grid->addRow(tr("Firmware"), tr("Firmware version of the device"));
    auto* rows = new QVBoxLayout(group);
    rows->addWidget(grid);
    return group;
}

void AdapterView::buildProtocols(QWidget* parent) {
    protocols = new CalmComboBox(parent);
    protocols->setObjectName(QStringLiteral("outputProtocol"));
    protocols->setAccessibleName(tr("Output protocol"));
    protocols->setPlaceholderText(QStringLiteral("\u2013"));
    // A long name must not dictate the dock's width.
    protocols->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    protocols->setMinimumContentsLength(3);
    protocols->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    for (const std::uint8_t value : consoleProtocols())
        protocols->addItem(protocolName(value), static_cast<int>(value));
    protocols->setCurrentIndex(-1);
    protocols->view()->setMinimumWidth(
        protocols->view()->sizeHintForColumn(0)); // whole names in a narrow dock
    // Only the user activates; following a report stays silent.
    connect(protocols, &QComboBox::activated, this, [this](int index) {
        emit outputProtocolChosen(protocols->itemData(index).toInt(), protocols->itemText(index));
    });
}

QWidget* AdapterView::buildUsbPorts() {
    auto* group = new QGroupBox(tr("USB Ports"), this);
    auto* grid = new ValueGrid(group);
    for (std::size_t i = 0; i < kPortRows.size(); ++i)
        ports[i] = grid->addRow(tr(kPortRows[i].caption), tr(kPortRows[i].hint));
    auto* rows = new QVBoxLayout(group);
    rows->addWidget(grid);
    return group;
}

void AdapterView::setFirmwareVersion(const QString& version) {
    ValueGrid::setValue(firmware, version);
}

void AdapterView::setLoadedSlot(int slot) {
    ValueGrid::setValue(loadedSlot, slot == 0 ? tr("None") : QString::number(slot));
}

void AdapterView::setOutputProtocol(int value, const QString& name) {
    const int index = protocols->findData(value);
    if (index < 0) {
        protocols->setToolTip(
            tr("The device reports an output protocol without an entry here: %1").arg(name));
        return;
    }
    reportedIndex = index;
    select(index);
    describeProtocols();
}

void AdapterView::setUsbPorts(const TitanUsbPortInfo& info) {
    const std::array<QString, 4> names{info.inputA, info.inputB, info.output, info.prog};
    for (std::size_t i = 0; i < names.size(); ++i)
        ValueGrid::setValue(ports[i], names[i]);
}

void AdapterView::setAvailable(bool isAvailable) {
    protocols->setEnabled(isAvailable);
    describeProtocols();
}

void AdapterView::describeProtocols() {
    protocols->setToolTip(protocols->isEnabled() ? tr("The protocol that the device speaks to the console")
                                                 : tr("The output protocol can be chosen while connected"));
}

void AdapterView::revertOutputProtocol() {
    select(reportedIndex);
}

void AdapterView::select(int index) {
    const QSignalBlocker silence(protocols);
    protocols->setCurrentIndex(index);
}

void AdapterView::clear() {
    for (ElidedLabel* const label : {firmware, loadedSlot})
        ValueGrid::setValue(label, {});
    reportedIndex = -1;
    select(-1);
    setUsbPorts({});
}

} // namespace Vantor
