#include "plugin/ferry_link_plugin.h"

#include "device/titan_device_manager.h"
#include "host/logging_service.h"
#include "host/plugin_run_controller.h"
#include "plugin/dock_action.h"
#include "plugin/plugin_description.h"
#include "plugin/slot_transfer.h"
#include "plugin/worker_set.h"
#include "ui/ferry_link_widget.h"
#include "ui/slot_operations.h"

#include <hidapi/hidapi.h>

#include <utility>

namespace Vantor {

namespace {

constexpr int kReconnectionIntervalMs = 1000;
constexpr int kRestartPauseMs = 200;
constexpr int kDockActionDelayMs = 100;
/// The workers publish once a second; reading four times as often keeps what is
/// shown at most 1.25 s old.
constexpr int kRatesIntervalMs = 250;

QString logSource() {
    return QStringLiteral("FerryLink");
}

QString captureLogSource() {
    return QStringLiteral("KMGCapture");
}

} // namespace

FerryLinkPlugin::FerryLinkPlugin(QObject* parent)
    : QObject(parent),
      controller(new PluginRunController(this)),
      slotOperations(new MemorySlotOperations(
          [this](std::span<const std::uint8_t> packet) { return workers && workers->sendPacket(packet); },
          this)),
      slotTransfer(new SlotTransfer(*slotOperations, this)) {
    connectTimers();
    connect(controller, &PluginRunController::startRequested, this, &FerryLinkPlugin::startOnChosenDevice);
    connect(controller, &PluginRunController::stopRequested, this, &FerryLinkPlugin::onStopBridgeRequested);
    connect(slotOperations, &MemorySlotOperations::failed, this, &FerryLinkPlugin::onSlotOperationFailed);
    connect(slotTransfer, &SlotTransfer::changed, this, &FerryLinkPlugin::transferChanged);
}

void FerryLinkPlugin::connectTimers() {
    reconnectionTimer.setInterval(kReconnectionIntervalMs);
    connect(&reconnectionTimer, &QTimer::timeout, this, &FerryLinkPlugin::attemptReconnection);
    restartTimer.setInterval(kRestartPauseMs);
    restartTimer.setSingleShot(true);
    connect(&restartTimer, &QTimer::timeout, this,
            [this] { onStartBridgeRequested(choice.rememberedPath()); });
    ratesTimer.setInterval(kRatesIntervalMs);
    connect(&ratesTimer, &QTimer::timeout, this, &FerryLinkPlugin::publishRates);
}

FerryLinkPlugin::~FerryLinkPlugin() {
    FerryLinkPlugin::shutdown();
}

QString FerryLinkPlugin::name() const {
    return QStringLiteral("ferrylink");
}

QJsonObject FerryLinkPlugin::metadata() const {
    return runTimeMetadata();
}

QStringList FerryLinkPlugin::requiredInputBlocks() const {
    return requiredBlocks();
}

QStringList FerryLinkPlugin::requiredOutputBlocks() const {
    return requiredBlocks();
}

void FerryLinkPlugin::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    memoryBlocks = blocks;
    if (workers)
        workers->setMemoryBlocks(memoryBlocks);
}

void FerryLinkPlugin::setSettingsManager(SettingsManager* settings) {
    choice.setSettings(settings);
}

PluginRunController* FerryLinkPlugin::runController() {
    return controller;
}

// ---- Lifecycle ----

bool FerryLinkPlugin::initialize() {
    if (initialized)
        return true;
    if (hid_init() != 0) {
        LoggingService::instance().error(logSource(), QStringLiteral("Failed to initialize HIDAPI"));
        return false;
    }
    deviceManager = new TitanDeviceManager(this);
    workers = std::make_unique<WorkerSet>(rates);
    workers->setMemoryBlocks(memoryBlocks);
    connectWorkers();
    initialized = true;
    refreshPanelDevices();
    return true;
}

void FerryLinkPlugin::connectWorkers() {
    WorkerSet* const set = workers.get();
    connect(set, &WorkerSet::failed, this, &FerryLinkPlugin::onBridgeError);
    connect(set, &WorkerSet::bridgeStarted, this, &FerryLinkPlugin::onBridgeStarted);
    connect(set, &WorkerSet::bridgeStopped, this, &FerryLinkPlugin::onBridgeStopped);
    connect(set, &WorkerSet::connectionStatusChanged, this, &FerryLinkPlugin::onConnectionStatusChanged);
    connect(set, &WorkerSet::deviceDisconnected, this, &FerryLinkPlugin::onDeviceDisconnected);
    connect(set, &WorkerSet::outboundReady, this, [this] {
        status.acceptsCommands = workers->acceptsPackets(); // it may have ended since
        emit statusChanged();
    });
    connect(set, &WorkerSet::packetRateChanged, this, [this](int packetsPerSecond) {
        if (panel && wanted)
            panel->setPacketRate(packetsPerSecond);
    });
    connect(set, &WorkerSet::captureStarted, this, [this] {
        showError({}); // of an attempt before
        setCapturing(true);
    });
    connect(set, &WorkerSet::captureStopped, this, &FerryLinkPlugin::endCapture);
    connect(set, &WorkerSet::captureFailed, this, &FerryLinkPlugin::onCaptureFailed);
    connectStatusReports();
}

void FerryLinkPlugin::connectStatusReports() {
    // Each keeps a value, shows it and says that the status has changed.
    const auto keep = [this](auto signal, auto AdapterStatus::*field, auto show) {
        connect(workers.get(), signal, this, [this, field, show](const auto& value) {
            resumingConnection = false;
            status.*field = value;
            if (panel)
                show(*panel, value);
            emit statusChanged();
        });
    };
    keep(&WorkerSet::firmwareVersionReceived, &AdapterStatus::firmwareVersion,
         [](FerryLinkWidget& shown, const QString& version) { shown.setFirmwareVersion(version); });
    keep(&WorkerSet::loadedSlotChanged, &AdapterStatus::loadedSlot,
         [](FerryLinkWidget& shown, int slot) { shown.setLoadedSlot(slot); });
    keep(
        &WorkerSet::outputProtocolReceived, &AdapterStatus::outputProtocol,
        [](FerryLinkWidget& shown, int value) { shown.setOutputProtocol(value, outputProtocolName(value)); });
    keep(&WorkerSet::usbPortInfoReceived, &AdapterStatus::usbPorts,
         [](FerryLinkWidget& shown, const TitanUsbPortInfo& ports) { shown.setUsbPorts(ports); });
    connect(workers.get(), &WorkerSet::scriptInfoReceived, this, [this] { ++status.listings; });
    keep(&WorkerSet::scriptInfoReceived, &AdapterStatus::scripts,
         [](FerryLinkWidget& shown, const QList<TitanScriptInfo>& scripts) { shown.setScripts(scripts); });
}

void FerryLinkPlugin::shutdown() {
    if (!initialized)
        return;
    wanted = false;
    resumingConnection = false;
    reconnectionTimer.stop();
    restartTimer.stop();
    endCapture();
    deviceManager->disconnectDevice();
    slotOperations->cancel(MemorySlotOperations::Notice::silent);
    stopWorkers();
    // After the workers: nothing may follow the stop packet on the wire.
    deviceManager->shutDown();
    workers->dropNews();
    workers.reset();
    delete deviceManager;
    deviceManager = nullptr;
    hid_exit();
    initialized = false;
    controller->setRunning(false);
    updateConnection();
    refreshPanelDevices();
}

// ---- Starting and stopping the bridge ----

void FerryLinkPlugin::startOnChosenDevice() {
    const QList<TitanDevice> devices = refreshPanelDevices();
    const QString path = panel ? panel->selectedDevicePath() : choice.pathToStartOn(devices);
    resumingConnection = false;
    if (path.isEmpty()) {
        const QString error = tr("No Titan Two devices found. Connect one to a USB "
                                 "port and start again.");
        LoggingService::instance().error(logSource(), error);
        endWork(error);
        return;
    }
    choice.remember(path, findDevice(devices, path));
    onStartBridgeRequested(path);
}

void FerryLinkPlugin::onStartBridgeRequested(const QString& devicePath) {
    if (!workers)
        return;
    reconnectionTimer.stop();
    restartTimer.stop();
    const QList<TitanDevice> devices = enumerateDevices();
    const TitanDevice* const device = findDevice(devices, devicePath);
    choice.remember(devicePath, device);
    wanted = true;
    if (workers->prepareStart())
        forgetEarlierRun(requiredSerial(device));
    const bool selectedInPanel = panel && panel->selectedDevicePath() == devicePath;
    workers->start(devicePath, selectedInPanel ? requiredSerial(device) : QString());
    ratesTimer.start();
    controller->setRunning(true);
    updateConnection();
}

void FerryLinkPlugin::forgetEarlierRun(const QString& serial) {
    adapterOpen = false;
    status.clearReported();
    status.deviceSerial = serial;
    if (panel)
        panel->clearStatus();
    if (!resumingConnection)
        showError({});
    emit statusChanged();
}

void FerryLinkPlugin::onStopBridgeRequested() {
    endWork({});
}

void FerryLinkPlugin::endWork(const QString& error) {
    reconnectionTimer.stop();
    restartTimer.stop();
    wanted = false;
    resumingConnection = false;
    stopWorkers();
    controller->setRunning(false);
    updateConnection();
    showError(error);
}

void FerryLinkPlugin::onRestartBridgeRequested(const QString& devicePath) {
    if (!workers)
        return;
    if (deviceManager->isDeviceConnected())
        TitanDeviceManager::sendStopPacket(deviceManager->currentDevicePath());
    wanted = true;
    resumingConnection = false;
    stopWorkers();
    workers->dropNews(); // an error of the run that was just ended would end the restart too
    choice.rememberPath(devicePath);
    restartTimer.start();
    controller->setRunning(true);
    updateConnection();
}

void FerryLinkPlugin::stopWorkers() {
    ratesTimer.stop();
    endCapture();
    if (workers)
        workers->stop();
    slotOperations->cancel();
    adapterOpen = false;
    const bool acceptedCommands = std::exchange(status.acceptsCommands, false);
    clearRates();
    if (acceptedCommands) // where the connection stays what it was, nothing else would say so
        emit statusChanged();
}

// ---- What the workers say ----

void FerryLinkPlugin::onBridgeError(const QString& error) {
    LoggingService::instance().error(logSource(), error);
    if (!wanted || reconnectionTimer.isActive())
        return; // the second worker's view of what has already ended both
    if (!resumingConnection) {
        endWork(error);
        return;
    }
    stopWorkers();
    workers->dropNews(); // the other worker's, which would pass for those of a connection
    showError(error);
    startReconnecting();
}

void FerryLinkPlugin::onBridgeStarted() {
    LoggingService::instance().info(logSource(), tr("Bridge started on %1").arg(choice.rememberedPath()));
}

void FerryLinkPlugin::onBridgeStopped() {
    LoggingService::instance().info(logSource(), tr("Bridge stopped"));
}

void FerryLinkPlugin::onConnectionStatusChanged(bool connected) {
    if (!connected || !wanted)
        return; // a run that ends says why by another signal, which settles the state
    adapterOpen = true;
    showError({});
    updateConnection();
}

void FerryLinkPlugin::onDeviceDisconnected() {
    if (!wanted)
        return; // said before the user stopped the bridge, heard after it
    if (reconnectionTimer.isActive())
        return; // the other worker has said so already
    stopWorkers();
    workers->dropNews(); // what they said before the loss does not hold any more
    const QString message = tr("The device was disconnected. Waiting for it to come back.");
    LoggingService::instance().warning(logSource(), message);
    showError(message);
    if (!choice.rememberedPath().isEmpty())
        startReconnecting();
}

// ---- Reconnection ----

void FerryLinkPlugin::startReconnecting() {
    if (!reconnectionTimer.isActive())
        reconnectionTimer.start();
    updateConnection();
}

void FerryLinkPlugin::attemptReconnection() {
    if (restartTimer.isActive())
        return; // a restart is about to start the bridge
    if (!choice.isSearchable()) {
        reconnectionTimer.stop();
        return;
    }
    const QList<TitanDevice> devices = enumerateDevices();
    const TitanDevice* const found = choice.findAgain(devices);
    if (found == nullptr)
        return;
    if (panel) {
        const bool isNews = found->path != choice.rememberedPath() || panel->selectedDevicePath().isEmpty();
        panel->setDevices(devices, choice.chosenSerial());
        if (isNews)
            panel->selectDevice(found->path);
    }
    choice.remember(found->path, found);
    reconnectTo(found->path);
}

void FerryLinkPlugin::reconnectTo(const QString& devicePath) {
    resumingConnection = true;
    onStartBridgeRequested(devicePath);
}

// ---- Capture ----

void FerryLinkPlugin::onKMGCaptureStartRequested(bool keyboard, bool mouse, bool controllerToo) {
    const CaptureSources sources{.keyboard = keyboard, .mouse = mouse, .controller = controllerToo};
    if (!sources.any())
        onCaptureFailed(tr("Choose the keyboard, the mouse or the controller to be captured."));
    else if (!adapterOpen || choice.rememberedPath().isEmpty())
        onCaptureFailed(tr("Start the bridge, and wait until it is connected, before capturing input."));
    else
        workers->startCapture(choice.rememberedPath(), sources);
}

void FerryLinkPlugin::onKMGCaptureStopRequested() {
    endCapture();
}

void FerryLinkPlugin::onCaptureFailed(const QString& error) {
    LoggingService::instance().error(captureLogSource(), error);
    endCapture();
    showError(error);
}

void FerryLinkPlugin::endCapture() {
    if (workers)
        workers->stopCapture();
    rates.clearCapture();
    setCapturing(false);
}

void FerryLinkPlugin::setCapturing(bool capturing) {
    if (panel) {
        panel->setKmgCapturing(
            capturing); // said again where it was so: a refused request left the panel waiting
        if (!capturing)
            panel->setKmgRates(0, 0, 0);
    }
    if (status.capturing == capturing)
        return;
    status.capturing = capturing;
    emit statusChanged();
}

// ---- Memory slots ----

bool FerryLinkPlugin::loadSlotFile(int slotNumber, const QString& path) {
    return slotTransfer->loadFile(slotNumber, path);
}

QJsonObject FerryLinkPlugin::transferJson() const {
    return slotTransfer->toJson();
}

/// The panel shows a box for it.
void FerryLinkPlugin::onSlotOperationFailed(const QString& title, const QString& text) {
    if (!panel)
        LoggingService::instance().error(logSource(), title + QStringLiteral(": ") + text);
}

// ---- Devices and panel ----

QList<TitanDevice> FerryLinkPlugin::enumerateDevices() const {
    return deviceManager == nullptr ? QList<TitanDevice>() : TitanDeviceManager::enumerateDevices();
}

QList<TitanDevice> FerryLinkPlugin::refreshPanelDevices() {
    QList<TitanDevice> devices = enumerateDevices();
    if (panel)
        panel->setDevices(devices, choice.chosenSerial());
    return devices;
}

QWidget* FerryLinkPlugin::createPanel(QWidget* parent) {
    if (panel) { // a second panel takes over; the first one shows what it last heard
        panel->disconnect(this);
        panel->setSlotOperations(nullptr);
    }
    panel = new FerryLinkWidget(controller, parent);
    connectPanel();
    refreshPanelDevices();
    if (wanted)
        panel->selectDevice(choice.rememberedPath());
    status.showIn(*panel);
    panel->clearRates();
    // The host puts the panel into its dock after this call.
    FerryLinkWidget* const built = panel;
    QTimer::singleShot(kDockActionDelayMs, built, [built] { addRestartActionToDock(*built); });
    return panel;
}

void FerryLinkPlugin::connectPanel() {
    FerryLinkWidget* const shown = panel;
    connect(shown, &FerryLinkWidget::restartBridgeRequested, this,
            &FerryLinkPlugin::onRestartBridgeRequested);
    connect(shown, &FerryLinkWidget::deviceSelectionChanged, this,
            &FerryLinkPlugin::onDeviceSelectionChanged);
    connect(shown, &FerryLinkWidget::deviceRefreshRequested, this, &FerryLinkPlugin::refreshPanelDevices);
    connect(shown, &FerryLinkWidget::kmgCaptureStartRequested, this,
            &FerryLinkPlugin::onKMGCaptureStartRequested);
    connect(shown, &FerryLinkWidget::kmgCaptureStopRequested, this,
            &FerryLinkPlugin::onKMGCaptureStopRequested);
    shown->setSlotOperations(slotOperations);
}

void FerryLinkPlugin::onDeviceSelectionChanged() {
    if (!panel)
        return;
    const QList<TitanDevice> devices = enumerateDevices();
    const TitanDevice* const selected = findDevice(devices, panel->selectedDevicePath());
    if (selected == nullptr || selected->serialNumber.isEmpty())
        return;
    choice.choose(*selected);
    if (reconnectionTimer.isActive())
        choice.lookForChosen();
}

void FerryLinkPlugin::updateConnection() {
    ConnectionState state = ConnectionState::disconnected;
    if (wanted && adapterOpen)
        state = ConnectionState::connected;
    else if (wanted && (reconnectionTimer.isActive() || resumingConnection))
        state = ConnectionState::reconnecting;
    else if (wanted)
        state = ConnectionState::connecting;
    if (state == status.connection)
        return;
    status.connection = state;
    if (panel)
        panel->setConnectionState(state);
    emit statusChanged();
}

void FerryLinkPlugin::showError(const QString& error) {
    if (panel)
        panel->setErrorMessage(error);
}

// ---- Rates ----

void FerryLinkPlugin::publishRates() {
    if (rates.reportsKnown())
        onPerformanceUpdate(rates.inputPps.load(), rates.statePps.load());
    if (rates.framesKnown())
        onCVDataPerformanceUpdate(rates.cvDataHz.load(), rates.latencyMs.load(), rates.jitterMs.load());
    if (panel && status.capturing)
        panel->setKmgRates(rates.keyboardHz.load(), rates.mouseHz.load(), rates.controllerHz.load());
    emit ratesChanged();
}

void FerryLinkPlugin::onPerformanceUpdate(quint32 inputPps, quint32 outputPps) {
    if (panel)
        panel->setReportRates(inputPps, outputPps);
}

void FerryLinkPlugin::onCVDataPerformanceUpdate(quint32 cvDataHz, double latencyMs, double jitterMs) {
    if (panel)
        panel->setFrameRates(cvDataHz, latencyMs, jitterMs);
}

void FerryLinkPlugin::clearRates() {
    rates.clear();
    if (panel)
        panel->clearRates();
    emit ratesChanged();
}

} // namespace Vantor
