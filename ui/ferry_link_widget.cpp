#include "ui/ferry_link_widget.h"

#include "host/run_status_card.h"
#include "ui/adapter_view.h"
#include "ui/connection_banner.h"
#include "ui/device_selector.h"
#include "ui/empty_view.h"
#include "ui/error_line.h"
#include "ui/group_columns.h"
#include "ui/kmg_view.h"
#include "ui/metrics_view.h"
#include "ui/slot_file_dialogs.h"
#include "ui/slot_list_view.h"
#include "ui/slot_operations.h"
#include "ui/transfer_view.h"
#include "ui/warning_box.h"

#include <QScrollArea>
#include <QVBoxLayout>

namespace Vantor {

namespace {

constexpr int kLiveListMs = 2000;

} // namespace

FerryLinkWidget::FerryLinkWidget(PluginRunController* controller, QWidget* parent)
    : QWidget(parent),
      devices(new DeviceSelector(this)),
      runCard(new RunStatusCard(this)),
      restart(new ThemedToolButton(this)),
      banner(new ConnectionBanner(this)),
      error(new ErrorLine(this)),
      transfer(new TransferView(this)),
      fileDialogs(new SlotFileDialogs(this)) {
    setObjectName(QStringLiteral("FerryLinkWidget"));
    setWindowTitle(tr("Ferry Link"));
    liveList.setInterval(kLiveListMs);
    buildRunCard(controller);
    buildLayout();
    connectViews();
    clearRates();
    updateEmptiness();
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
    auto* choice = new QVBoxLayout(content);
    choice->setContentsMargins(0, 0, 0, 0);
    empty = new EmptyView(content);
    groups = buildGroups();
    choice->addWidget(empty);
    choice->addWidget(groups);
    choice->addStretch(1);

    // The controls stay in sight; the rest scrolls where the dock is low.
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setAccessibleName(tr("Device status"));
    scroll->setToolTip(tr("What the device holds and reports; the arrow keys scroll"));
    scroll->setWidget(content);

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(6, 6, 6, 6);
    for (QWidget* const part : std::initializer_list<QWidget*>{devices, runCard, banner, error})
        rows->addWidget(part);
    rows->addWidget(scroll, 1);
    rows->addWidget(transfer); // at the foot: above the slots, it would move them from under the mouse
}

QWidget* FerryLinkWidget::buildGroups() {
    auto* parts = new GroupColumns(this);
    slotList = new SlotListView(parts);
    metrics = new MetricsView(parts);
    kmg = new KmgView(parts);
    adapter = new AdapterView(parts);
    parts->addGroup(slotList, 0);
    parts->addGroup(metrics, 1);
    parts->addGroup(kmg, 0);
    parts->addGroup(adapter, 1);
    return parts;
}

void FerryLinkWidget::connectViews() {
    connect(devices, &DeviceSelector::selectionChanged, this, &FerryLinkWidget::deviceSelectionChanged);
    connect(devices, &DeviceSelector::refreshRequested, this, &FerryLinkWidget::deviceRefreshRequested);
    connect(empty, &EmptyView::refreshRequested, this, &FerryLinkWidget::deviceRefreshRequested);
    connect(&liveList, &QTimer::timeout, this, &FerryLinkWidget::deviceRefreshRequested);
    connect(restart, &QToolButton::clicked, this, &FerryLinkWidget::onRestartClicked);
    connect(kmg, &KmgView::startRequested, this, &FerryLinkWidget::kmgCaptureStartRequested);
    connect(kmg, &KmgView::stopRequested, this, &FerryLinkWidget::kmgCaptureStopRequested);
    connect(adapter, &AdapterView::outputProtocolChosen, this, &FerryLinkWidget::onProtocolChosen);
    connect(slotList, &SlotListView::actionRequested, this, &FerryLinkWidget::onSlotAction);
    connect(slotList, &SlotListView::fileDropped, this, [this](int slotIndex, const DroppedFile& file) {
        if (operations)
            operations->loadDroppedFile(slotIndex, file);
    });
    connect(slotList, &SlotListView::dropRefused, this, [this] {
        transfer->showNotice(
            tr("Only readable .gpc, .gbc and .git files of up to 64 KB can be dropped here"));
    });
    connect(fileDialogs, &SlotFileDialogs::fileChosen, this, &FerryLinkWidget::onFileChosen);
    connect(transfer, &TransferView::cancelRequested, this, [this] {
        if (operations)
            operations->cancel(MemorySlotOperations::Notice::silent);
    });
}

// ---- Memory slots and output protocol ----

void FerryLinkWidget::setSlotOperations(MemorySlotOperations* newOperations) {
    if (operations)
        operations->disconnect(this);
    forgetTransfer();
    operations = newOperations;
    if (operations)
        connectOperations();
}

void FerryLinkWidget::connectOperations() {
    MemorySlotOperations* const source = operations;
    connect(source, &MemorySlotOperations::memorySlotLoadRequested, this,
            &FerryLinkWidget::memorySlotLoadRequested);
    connect(source, &MemorySlotOperations::failed, this, &FerryLinkWidget::showWarningBox);
    connect(source, &MemorySlotOperations::transferStarted, this,
            [this](int slotNumber, const QString& fileName, int reports) {
                transferSlot = slotNumber;
                transfer->start(slotNumber, fileName, reports);
                onTransferProgress(0, reports);
            });
    connect(source, &MemorySlotOperations::transferProgressed, this, &FerryLinkWidget::onTransferProgress);
    connect(source, &MemorySlotOperations::transferFinished, this,
            [this](int slotNumber, const QString& fileName, bool transferred, bool slotLoaded) {
                transferSlot = 0;
                slotList->setTransferShare(slotNumber, -1);
                transfer->finish(slotNumber, fileName, transferred, slotLoaded);
            });
    connect(source, &QObject::destroyed, this, &FerryLinkWidget::forgetTransfer);
}

/// One that nobody will finish any more.
void FerryLinkWidget::forgetTransfer() {
    if (transferSlot == 0)
        return;
    slotList->setTransferShare(transferSlot, -1);
    transferSlot = 0;
    transfer->forget();
}

void FerryLinkWidget::onTransferProgress(int sent, int reports) {
    transfer->setProgress(sent, reports);
    slotList->setTransferShare(transferSlot, reports > 0 ? static_cast<double>(sent) / reports : 0);
}

void FerryLinkWidget::onSlotAction(SlotAction action, int slotIndex) {
    if (action == SlotAction::loadScriptFile || action == SlotAction::loadTranslatorFile) {
        fileDialogs->ask(action, slotIndex);
        return;
    }
    if (!operations)
        return;
    if (action == SlotAction::removeScript)
        operations->removeScript(slotIndex);
    else if (action == SlotAction::removeInputTranslator)
        operations->removeInputTranslator(slotIndex);
    else
        operations->loadSlot(slotIndex);
}

void FerryLinkWidget::onFileChosen(SlotAction action, int slotIndex, const QString& path) {
    if (!operations)
        return;
    if (action == SlotAction::loadTranslatorFile) // its dialog shows all files, whatever their suffix
        operations->loadInputTranslator(slotIndex, path);
    else if (slotFileKind(path) == SlotFileKind::gpcBytecode)
        operations->loadBytecode(slotIndex, path);
    else
        operations->loadGpcSource(slotIndex, path);
}

void FerryLinkWidget::onProtocolChosen(int value, const QString& name) {
    if (!operations || !operations->setOutputProtocol(value, name))
        adapter->revertOutputProtocol();
}

void FerryLinkWidget::showWarningBox(const QString& title, const QString& text) {
    const bool isListing = title == MemorySlotOperations::tr("GPC Compilation Failed");
    showWarning(this, title, text, isListing ? WarningText::listing : WarningText::prose);
}

// ---- Devices and connection ----

QString FerryLinkWidget::selectedDevicePath() const {
    return devices->selectedPath();
}

QString FerryLinkWidget::errorMessage() const {
    return error->message();
}

QSize FerryLinkWidget::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 46, fontMetrics().height() * 52};
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
    updateEmptiness();
}

void FerryLinkWidget::selectDevice(const QString& path) {
    devices->selectPath(path);
}

void FerryLinkWidget::setConnectionState(ConnectionState state) {
    connection = state;
    const bool connected = state == ConnectionState::connected;
    banner->setState(state);
    adapter->setAvailable(connected);
    slotList->setAvailable(connected);
    kmg->setAvailable(connected);
    updateEmptiness();
    updateLiveList();
}

void FerryLinkWidget::updateEmptiness() {
    const bool nothingThere = devices->isEmpty() && connection == ConnectionState::disconnected;
    empty->setVisible(nothingThere);
    groups->setVisible(!nothingThere);
    banner->setVisible(!nothingThere);
}

void FerryLinkWidget::updateLiveList() {
    // Never while frames run: enumerating takes milliseconds of the USB stack.
    if (isVisible() && connection == ConnectionState::disconnected)
        liveList.start();
    else
        liveList.stop();
}

void FerryLinkWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updateLiveList();
}

void FerryLinkWidget::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    updateLiveList();
}

void FerryLinkWidget::setErrorMessage(const QString& message) {
    error->setMessage(message);
}

// ---- What the adapter and the workers say ----

void FerryLinkWidget::setFrameRates(quint32 frameHz, double latencyMs, double jitterMs) {
    metrics->setFrameRates(frameHz, latencyMs, jitterMs);
    runCard->setMetricsText(tr("%1 Hz, %2 ms").arg(frameHz).arg(latencyMs, 0, 'f', 2));
}

void FerryLinkWidget::setReportRates(quint32 inputPps, quint32 statePps) {
    metrics->setReportRates(inputPps, statePps);
}

void FerryLinkWidget::setPacketRate(int packetsPerSecond) {
    metrics->setPacketRate(packetsPerSecond);
}

void FerryLinkWidget::setFirmwareVersion(const QString& version) {
    adapter->setFirmwareVersion(version);
}

void FerryLinkWidget::setLoadedSlot(int slot) {
    adapter->setLoadedSlot(slot);
    slotList->setLoadedSlot(slot);
}

void FerryLinkWidget::setOutputProtocol(int value, const QString& name) {
    adapter->setOutputProtocol(value, name);
}

void FerryLinkWidget::setUsbPorts(const TitanUsbPortInfo& ports) {
    adapter->setUsbPorts(ports);
}

void FerryLinkWidget::setScripts(const QList<TitanScriptInfo>& scripts) {
    slotList->setScripts(scripts);
}

void FerryLinkWidget::clearStatus() {
    adapter->clear();
    slotList->clear();
}

void FerryLinkWidget::setKmgCapturing(bool capturing) {
    kmg->setCapturing(capturing);
}

void FerryLinkWidget::setKmgRates(quint32 keyboardHz, quint32 mouseHz, quint32 controllerHz) {
    kmg->setRates(keyboardHz, mouseHz, controllerHz);
}

void FerryLinkWidget::clearRates() {
    metrics->clear();
    runCard->setMetricsText(tr("No frames"));
}

} // namespace Vantor
