#include "ui/ferry_link_widget.h"

#include "host/run_status_card.h"
#include "ui/device_selector.h"
#include "ui/error_line.h"
#include "ui/kmg_view.h"
#include "ui/rates_view.h"
#include "ui/slot_list_view.h"
#include "ui/status_view.h"

#include <QScrollArea>
#include <QVBoxLayout>

namespace Vantor {

FerryLinkWidget::FerryLinkWidget(PluginRunController* controller, QWidget* parent)
    : QWidget(parent),
      devices(new DeviceSelector(this)),
      runCard(new RunStatusCard(this)),
      restart(new ThemedToolButton(this)),
      error(new ErrorLine(this)),
      status(new StatusView(this)),
      rates(new RatesView(this)),
      slotList(new SlotListView(this)),
      kmg(new KmgView(this)) {
    setObjectName(QStringLiteral("FerryLinkWidget"));
    setWindowTitle(tr("Ferry Link"));
    buildRunCard(controller);
    buildLayout();
    clearRates();
    connect(devices, &DeviceSelector::selectionChanged, this, &FerryLinkWidget::deviceSelectionChanged);
    connect(devices, &DeviceSelector::refreshRequested, this, &FerryLinkWidget::deviceRefreshRequested);
    connect(restart, &QToolButton::clicked, this, &FerryLinkWidget::onRestartClicked);
    connect(kmg, &KmgView::startRequested, this, &FerryLinkWidget::kmgCaptureStartRequested);
    connect(kmg, &KmgView::stopRequested, this, &FerryLinkWidget::kmgCaptureStopRequested);
}

void FerryLinkWidget::buildRunCard(PluginRunController* controller) {
    runCard->runButton()->setActionText(tr("Bridge"));
    runCard->attachTo(controller);
    restart->setObjectName(QStringLiteral("restartButton"));
    restart->setText(tr("Restart"));
    restart->setAccessibleName(tr("Restart Bridge"));
    restart->setToolTip(tr("Restart the Ferry Link connection"));
    runCard->addPrimaryActionButton(restart);
}

void FerryLinkWidget::buildLayout() {
    auto* content = new QWidget(this);
    auto* groups = new QVBoxLayout(content);
    for (QWidget* const group : std::initializer_list<QWidget*>{status, rates, slotList, kmg})
        groups->addWidget(group);
    groups->addStretch(1);
    groups->setContentsMargins(0, 0, 0, 0);

    // The controls stay in sight; what there is to read scrolls where the dock is low.
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setAccessibleName(tr("Device status"));
    scroll->setToolTip(tr("What the device reports; the arrow keys scroll"));
    scroll->setWidget(content);

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(6, 6, 6, 6);
    rows->addWidget(devices);
    rows->addWidget(runCard);
    rows->addWidget(error);
    rows->addWidget(scroll, 1);
}

QString FerryLinkWidget::selectedDevicePath() const {
    return devices->selectedPath();
}

QString FerryLinkWidget::errorMessage() const {
    return error->message();
}

void FerryLinkWidget::onRestartClicked() {
    if (selectedDevicePath().isEmpty())
        emit deviceRefreshRequested();
    const QString path = selectedDevicePath();
    if (path.isEmpty()) {
        setErrorMessage(tr("No Titan Two devices found. Connect one to a USB port and try again."));
        return;
    }
    emit restartBridgeRequested(path);
}

void FerryLinkWidget::setDevices(const QList<TitanDevice>& list, const QString& rememberedSerial) {
    devices->setDevices(list, rememberedSerial);
}

void FerryLinkWidget::selectDevice(const QString& path) {
    devices->selectPath(path);
}

void FerryLinkWidget::setConnectionState(ConnectionState state) {
    status->setConnectionState(state);
    kmg->setAvailable(state == ConnectionState::connected);
}

void FerryLinkWidget::setErrorMessage(const QString& message) {
    error->setMessage(message);
}

void FerryLinkWidget::setFrameRates(quint32 frameHz, double latencyMs, double jitterMs) {
    rates->setFrameRates(frameHz, latencyMs, jitterMs);
    runCard->setMetricsText(tr("%1 Hz, %2 ms").arg(frameHz).arg(latencyMs, 0, 'f', 2));
}

void FerryLinkWidget::setReportRates(quint32 inputPps, quint32 statePps) {
    rates->setReportRates(inputPps, statePps);
}

void FerryLinkWidget::setPacketRate(int packetsPerSecond) {
    rates->setPacketRate(packetsPerSecond);
}

void FerryLinkWidget::setFirmwareVersion(const QString& version) {
    status->setFirmwareVersion(version);
}

void FerryLinkWidget::setLoadedSlot(int slot) {
    status->setLoadedSlot(slot);
    slotList->setLoadedSlot(slot);
}

void FerryLinkWidget::setOutputProtocol(int /*value*/, const QString& name) {
    status->setOutputProtocol(name);
}

void FerryLinkWidget::setUsbPorts(const TitanUsbPortInfo& ports) {
    status->setUsbPorts(ports);
}

void FerryLinkWidget::setScripts(const QList<TitanScriptInfo>& scripts) {
    slotList->setScripts(scripts);
}

void FerryLinkWidget::clearStatus() {
    status->clear();
    slotList->clear();
}

void FerryLinkWidget::setKmgCapturing(bool capturing) {
    kmg->setCapturing(capturing);
}

void FerryLinkWidget::setKmgRates(quint32 keyboardHz, quint32 mouseHz, quint32 controllerHz) {
    kmg->setRates(keyboardHz, mouseHz, controllerHz);
}

void FerryLinkWidget::clearRates() {
    rates->clear();
    runCard->setMetricsText(tr("No frames"));
}

} // namespace Vantor
