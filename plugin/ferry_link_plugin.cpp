#include "plugin/ferry_link_plugin.h"

#include "device/titan_device_manager.h"
#include "host/logging_service.h"
#include "host/plugin_run_controller.h"
#include "host/records.h"
#include "host/settings_manager.h"
#include "plugin/dock_action.h"
#include "ui/ferry_link_widget.h"
#include "workers/ferry_link_thread.h"
#include "workers/titan_outbound_thread.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <hidapi/hidapi.h>

#include <algorithm>

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

QString settingsGroup() {
    return QStringLiteral("ferry_link");
}

QString serialKey() {
    return QStringLiteral("selected_device_serial");
}

const TitanDevice* findByPath(const QList<TitanDevice>& devices, const QString& path) {
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const TitanDevice& device) { return device.path == path; });
    return found == devices.end() ? nullptr : &*found;
}

const TitanDevice* findBySerial(const QList<TitanDevice>& devices, const QString& serial) {
    if (serial.isEmpty())
        return nullptr;
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const TitanDevice& device) { return device.serialNumber == serial; });
    return found == devices.end() ? nullptr : &*found;
}

/// What the bridge shall insist on: an adapter that reports no serial number is
/// listed under a stand-in for one.
QString requiredSerial(const TitanDevice* device) {
    return device == nullptr || device->serialNumber == QLatin1String(kUnknownSerialNumber)
               ? QString()
               : device->serialNumber;
}

} // namespace

FerryLinkPlugin::FerryLinkPlugin(QObject* parent)
    : QObject(parent), controller(new PluginRunController(this)) {
    reconnectionTimer.setInterval(kReconnectionIntervalMs);
    connect(&reconnectionTimer, &QTimer::timeout, this, &FerryLinkPlugin::attemptReconnection);
    restartTimer.setInterval(kRestartPauseMs);
    restartTimer.setSingleShot(true);
    connect(&restartTimer, &QTimer::timeout, this, [this] { onStartBridgeRequested(rememberedPath); });
    ratesTimer.setInterval(kRatesIntervalMs);
    connect(&ratesTimer, &QTimer::timeout, this, &FerryLinkPlugin::publishRates);
    connect(controller, &PluginRunController::startRequested, this, &FerryLinkPlugin::startOnChosenDevice);
    connect(controller, &PluginRunController::stopRequested, this, &FerryLinkPlugin::onStopBridgeRequested);
}

FerryLinkPlugin::~FerryLinkPlugin() {
    FerryLinkPlugin::shutdown();
}

QString FerryLinkPlugin::name() const {
    return QStringLiteral("ferrylink");
}

QJsonObject FerryLinkPlugin::metadata() const {
    return {{QStringLiteral("type"), QStringLiteral("communication_bridge")},
            {QStringLiteral("displayName"), tr("Ferry Link")},
            {QStringLiteral("description"), tr("Simple bridge for Titan Two devices")},
            {QStringLiteral("author"), QStringLiteral("Vantor Project")},
            {QStringLiteral("version"), QStringLiteral("1.0.0")},
            {QStringLiteral("features"),
             QJsonArray{QStringLiteral("titan_two"), QStringLiteral("usb_communication")}},
            {QStringLiteral("platform"), QStringLiteral("windows")}};
}

QStringList FerryLinkPlugin::requiredInputBlocks() const {
    return {
        QString::fromLatin1(BlockName::kControllerInput),  QString::fromLatin1(BlockName::kControllerOutput),
        QString::fromLatin1(BlockName::kControllerReport), QString::fromLatin1(BlockName::kCVData),
        QString::fromLatin1(BlockName::kKeyboardRawInput), QString::fromLatin1(BlockName::kMouseRawInput)};
}

QStringList FerryLinkPlugin::requiredOutputBlocks() const {
    return requiredInputBlocks();
}

void FerryLinkPlugin::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    memoryBlocks = blocks;
    if (bridge)
        bridge->setMemoryBlocks(memoryBlocks);
    if (outbound)
        outbound->setMemoryBlocks(memoryBlocks);
}

void FerryLinkPlugin::setSettingsManager(SettingsManager* settings) {
    settingsManager = settings;
    if (settingsManager != nullptr)
        selectedSerial = settingsManager->getPluginValue(settingsGroup(), serialKey(), QString()).toString();
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
    createWorkers();
    connectWorkers();
    initialized = true;
    refreshPanelDevices();
    return true;
}

void FerryLinkPlugin::createWorkers() {
    bridge = std::make_unique<FerryLinkThread>();
    outbound = std::make_unique<TitanOutboundThread>();
    workerInbox = std::make_unique<QObject>();
    setMemoryBlocks(memoryBlocks);
    bridge->setInputRateSink(&rates.inputPps);
    bridge->setStateRateSink(&rates.statePps);
    outbound->setCvDataHzSink(&rates.cvDataHz);
    outbound->setLatencySink(&rates.latencyMs);
    outbound->setJitterSink(&rates.jitterMs);
}

void FerryLinkPlugin::connectWorkers() {
    QObject* const inbox = workerInbox.get();
    const auto queued = Qt::QueuedConnection;
    connect(
        bridge.get(), &FerryLinkThread::bridgeError, inbox, [this](const QString& e) { onBridgeError(e); },
        queued);
    connect(
        bridge.get(), &FerryLinkThread::bridgeStarted, inbox, [this] { onBridgeStarted(); }, queued);
    // Said by stop(), on this thread: not queued, or it would be dropped with the run's late news.
    connect(bridge.get(), &FerryLinkThread::bridgeStopped, inbox, [this] { onBridgeStopped(); });
    connect(
        bridge.get(), &FerryLinkThread::connectionStatusChanged, inbox,
        [this](bool connected) { onConnectionStatusChanged(connected); }, queued);
    connect(
        bridge.get(), &FerryLinkThread::deviceDisconnected, inbox, [this] { onDeviceDisconnected(); },
        queued);
    connectStatusReports();

    connect(
        outbound.get(), &TitanOutboundThread::outboundError, inbox,
        [this](const QString& error) { onBridgeError(error); }, queued);
    connect(
        outbound.get(), &TitanOutboundThread::deviceDisconnected, inbox, [this] { onDeviceDisconnected(); },
        queued);
    connect(
        outbound.get(), &TitanOutboundThread::outboundPerformanceUpdate, inbox,
        [this](int packetsPerSecond) {
            if (panel && wanted)
                panel->setPacketRate(packetsPerSecond);
        },
        queued);
}

void FerryLinkPlugin::connectStatusReports() {
    // Each keeps a value, shows it and says that the status has changed.
    const auto keep = [this](auto signal, auto AdapterStatus::*field, auto show) {
        connect(
            bridge.get(), signal, workerInbox.get(),
            [this, field, show](const auto& value) {
                resumingConnection = false;
                status.*field = value;
                if (panel)
                    show(*panel, value);
                emit statusChanged();
            },
            Qt::QueuedConnection);
    };
    keep(&FerryLinkThread::firmwareVersionReceived, &AdapterStatus::firmwareVersion,
         [](FerryLinkWidget& shown, const QString& version) { shown.setFirmwareVersion(version); });
    keep(&FerryLinkThread::loadedSlotChanged, &AdapterStatus::loadedSlot,
         [](FerryLinkWidget& shown, int slot) { shown.setLoadedSlot(slot); });
    keep(
        &FerryLinkThread::outputProtocolReceived, &AdapterStatus::outputProtocol,
        [](FerryLinkWidget& shown, int value) { shown.setOutputProtocol(value, outputProtocolName(value)); });
    keep(&FerryLinkThread::usbPortInfoReceived, &AdapterStatus::usbPorts,
         [](FerryLinkWidget& shown, const TitanUsbPortInfo& ports) { shown.setUsbPorts(ports); });
    keep(&FerryLinkThread::scriptInfoReceived, &AdapterStatus::scripts,
         [](FerryLinkWidget& shown, const QList<TitanScriptInfo>& scripts) { shown.setScripts(scripts); });
}

void FerryLinkPlugin::shutdown() {
    if (!initialized)
        return;
    wanted = false;
    resumingConnection = false;
    reconnectionTimer.stop();
    restartTimer.stop();
    deviceManager->disconnectDevice();
    stopWorkers();
    // After the workers: nothing may follow the stop packet on the wire.
    deviceManager->shutDown();
    discardWorkerEvents();
    destroyWorkers();
    hid_exit();
    initialized = false;
    controller->setRunning(false);
    updateConnection();
    refreshPanelDevices();
}

void FerryLinkPlugin::destroyWorkers() {
    bridge.reset();
    outbound.reset();
    workerInbox.reset();
    delete deviceManager;
    deviceManager = nullptr;
}

// ---- Starting and stopping the bridge ----

void FerryLinkPlugin::startOnChosenDevice() {
    const QString path = chooseDevicePath(refreshPanelDevices());
    resumingConnection = false;
    if (path.isEmpty()) {
        const QString error = tr("No Titan Two devices found. Connect one to a USB "
                                 "port and start again.");
        LoggingService::instance().error(logSource(), error);
        endWork(error);
        return;
    }
    onStartBridgeRequested(path);
}

QString FerryLinkPlugin::chooseDevicePath(const QList<TitanDevice>& devices) const {
    if (panel)
        return panel->selectedDevicePath();
    if (const TitanDevice* const remembered = findBySerial(devices, selectedSerial))
        return remembered->path;
    return devices.isEmpty() ? QString() : devices.first().path;
}

void FerryLinkPlugin::onStartBridgeRequested(const QString& devicePath) {
    if (!bridge || !outbound)
        return;
    reconnectionTimer.stop();
    restartTimer.stop();
    const QList<TitanDevice> devices = enumerateDevices();
    const TitanDevice* const device = findByPath(devices, devicePath);
    rememberedPath = devicePath;
    rememberedSerial = device == nullptr ? QString() : device->serialNumber;
    wanted = true;

    // Waits for runs that are over. QThread's own flag, unlike isRunning(), also covers a run that has not
    // reached its first statement.
    bridge->prepareStart();
    outbound->prepareStart();
    const bool bridgeRuns = bridge->QThread::isRunning();
    const bool outboundRuns = outbound->QThread::isRunning();
    if (!bridgeRuns && !outboundRuns) {
        discardWorkerEvents();
        adapterOpen = false;
        status.clearReported();
        status.deviceSerial = requiredSerial(device);
        if (panel)
            panel->clearStatus();
        if (!resumingConnection)
            showError({});
        emit statusChanged();
    }
    if (!bridgeRuns) {
        const bool selectedInPanel = panel && panel->selectedDevicePath() == devicePath;
        bridge->setDevicePath(devicePath);
        bridge->setDeviceSerial(selectedInPanel ? requiredSerial(device) : QString());
        bridge->start(QThread::HighestPriority);
    }
    if (!outboundRuns) {
        outbound->setDevicePath(devicePath);
        outbound->start(QThread::HighestPriority);
    }
    ratesTimer.start();
    controller->setRunning(true);
    updateConnection();
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
    if (!bridge || !outbound)
        return;
    if (deviceManager->isDeviceConnected())
        TitanDeviceManager::sendStopPacket(deviceManager->currentDevicePath());
    wanted = true;
    resumingConnection = false;
    stopWorkers();
    discardWorkerEvents(); // an error of the run that was just ended would end the restart too
    rememberedPath = devicePath;
    restartTimer.start();
    controller->setRunning(true);
    updateConnection();
}

void FerryLinkPlugin::stopWorkers() {
    ratesTimer.stop();
    if (bridge) {
        bridge->setForwardControllerInput(true);
        bridge->stop();
    }
    if (outbound)
        outbound->stop();
    adapterOpen = false;
    clearRates();
}

/// Drops what earlier runs still have under way, so that it cannot be taken for
/// news of the next one. Only while neither worker runs. Posts to the worker
/// objects come first: they turn into signals, and those into posts to the
/// inbox.
void FerryLinkPlugin::discardWorkerEvents() {
    for (QObject* const receiver :
         std::initializer_list<QObject*>{bridge.get(), outbound.get(), workerInbox.get()})
        QCoreApplication::removePostedEvents(receiver, QEvent::MetaCall);
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
    showError(error);
    startReconnecting();
}

void FerryLinkPlugin::onBridgeStarted() {
    LoggingService::instance().info(logSource(), tr("Bridge started on %1").arg(rememberedPath));
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
    const QString message = tr("The device was disconnected. Waiting for it to come back.");
    LoggingService::instance().warning(logSource(), message);
    showError(message);
    if (!rememberedPath.isEmpty())
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
    const QString wantedSerial = rememberedSerial.isEmpty() ? selectedSerial : rememberedSerial;
    if (rememberedPath.isEmpty() && wantedSerial.isEmpty()) {
        reconnectionTimer.stop();
        return;
    }
    const QList<TitanDevice> devices = enumerateDevices();
    if (findByPath(devices, rememberedPath) != nullptr) {
        reconnectTo(rememberedPath);
        return;
    }
    const TitanDevice* const moved = findBySerial(devices, wantedSerial);
    if (moved == nullptr)
        return;
    rememberedPath = moved->path;
    if (panel) {
        panel->setDevices(devices, selectedSerial);
        panel->selectDevice(moved->path);
    }
    reconnectTo(moved->path);
}

void FerryLinkPlugin::reconnectTo(const QString& devicePath) {
    resumingConnection = true;
    onStartBridgeRequested(devicePath);
}

// ---- Devices and panel ----

QList<TitanDevice> FerryLinkPlugin::enumerateDevices() const {
    return deviceManager == nullptr ? QList<TitanDevice>() : TitanDeviceManager::enumerateDevices();
}

QList<TitanDevice> FerryLinkPlugin::refreshPanelDevices() {
    QList<TitanDevice> devices = enumerateDevices();
    if (panel)
        panel->setDevices(devices, selectedSerial);
    return devices;
}

QWidget* FerryLinkPlugin::createPanel(QWidget* parent) {
    if (panel)
        panel->disconnect(this); // a second panel takes over; the first one shows
                                 // what it last heard
    panel = new FerryLinkWidget(controller, parent);
    connect(panel, &FerryLinkWidget::restartBridgeRequested, this,
            &FerryLinkPlugin::onRestartBridgeRequested);
    connect(panel, &FerryLinkWidget::deviceSelectionChanged, this,
            &FerryLinkPlugin::onDeviceSelectionChanged);
    connect(panel, &FerryLinkWidget::deviceRefreshRequested, this, &FerryLinkPlugin::refreshPanelDevices);
    refreshPanelDevices();
    if (wanted)
        panel->selectDevice(rememberedPath);
    status.showIn(*panel);
    panel->clearRates();
    // The host puts the panel into its dock after this call.
    FerryLinkWidget* const built = panel;
    QTimer::singleShot(kDockActionDelayMs, built, [built] { addRestartActionToDock(*built); });
    return panel;
}

void FerryLinkPlugin::onDeviceSelectionChanged() {
    if (!panel)
        return;
    const QList<TitanDevice> devices = enumerateDevices();
    const TitanDevice* const selected = findByPath(devices, panel->selectedDevicePath());
    if (selected == nullptr || selected->serialNumber.isEmpty())
        return;
    selectedSerial = selected->serialNumber;
    if (reconnectionTimer.isActive())
        rememberedSerial = selectedSerial; // the user would rather have this one than wait for the other
    if (settingsManager != nullptr)
        settingsManager->setPluginValue(settingsGroup(), serialKey(), selectedSerial);
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
