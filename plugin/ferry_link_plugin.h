// The plug-in that the host loads: entry, lifecycle, and the wiring between host, panel, device manager and
// workers. It moves no data itself. All of it runs on the GUI thread; what workers signal arrives queued.
//
// What a user sees of a failure: an error of the bridge or the outbound thread ends both, is logged and
// shown, and the run controls go back to "stopped", for half a bridge helps nobody and would go unnoticed. A
// lost adapter is looked for once a second until it is back or the user stops; a failure while reconnecting
// is shown but does not end the search, because a freshly plugged adapter often refuses its first opening. A
// capture that fails ends alone.

#pragma once

#include "host/iui_plugin.h"
#include "plugin/adapter_choice.h"
#include "plugin/adapter_status.h"
#include "plugin/worker_rates.h"

#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

namespace Vantor {

class FerryLinkWidget;
class MemorySlotOperations;
class SlotTransfer;
class TitanDeviceManager;
class WorkerSet;

class FerryLinkPlugin : public QObject, public IUIPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.vantor.IUIPlugin" FILE "ferry_link.json")
    Q_INTERFACES(Vantor::IUIPlugin)
    /// The last second's figures, see WorkerRates::toJson().
    Q_PROPERTY(QJsonObject rates READ ratesJson NOTIFY ratesChanged)
    /// See AdapterStatus::toJson().
    Q_PROPERTY(QJsonObject status READ statusJson NOTIFY statusChanged)
    /// The last transfer into a slot, see SlotTransfer::toJson().
    Q_PROPERTY(QJsonObject transfer READ transferJson NOTIFY transferChanged)

public:
    explicit FerryLinkPlugin(QObject* parent = nullptr);
    ~FerryLinkPlugin() override;

    QString name() const override;
    QJsonObject metadata() const override;
    QStringList requiredInputBlocks() const override;
    QStringList requiredOutputBlocks() const override;
    void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) override;
    void setSettingsManager(SettingsManager* settings) override;
    bool initialize() override;
    void shutdown() override;
    QWidget* createPanel(QWidget* parent) override;
    PluginRunController* runController() override;

    QJsonObject ratesJson() const { return rates.toJson(); }
    QJsonObject statusJson() const { return status.toJson(); }
    QJsonObject transferJson() const;

    /// Begins to load a script (.gpc, .gbc) or translator (.git) into slot 1..9. False when nothing is sent.
    /// What becomes of it is in `transfer`.
    Q_INVOKABLE bool loadSlotFile(int slotNumber, const QString& path);

public slots:
    void onKMGCaptureStartRequested(bool keyboard, bool mouse, bool controller);
    void onKMGCaptureStopRequested();
    void onStartBridgeRequested(const QString& devicePath);
    void onStopBridgeRequested();
    void onRestartBridgeRequested(const QString& devicePath);
    void onBridgeError(const QString& error);
    void onBridgeStarted();
    void onBridgeStopped();
    void onPerformanceUpdate(quint32 inputPps, quint32 outputPps);
    void onConnectionStatusChanged(bool connected);
    void onCVDataPerformanceUpdate(quint32 cvDataHz, double latencyMs, double jitterMs);
    void onDeviceSelectionChanged();
    void onDeviceDisconnected();
    void attemptReconnection();

signals:
    void ratesChanged();
    void statusChanged();
    void transferChanged();

private:
    void connectTimers();
    void connectWorkers();
    void connectStatusReports();
    void stopWorkers();

    void startOnChosenDevice();
    void forgetEarlierRun(const QString& serial);
    void endWork(const QString& error);
    void startReconnecting();
    void reconnectTo(const QString& devicePath);

    void endCapture();
    void onCaptureFailed(const QString& error);
    void setCapturing(bool capturing);

    QList<TitanDevice> enumerateDevices() const;
    QList<TitanDevice> refreshPanelDevices();
    void connectPanel();
    void updateConnection();
    void publishRates();
    void clearRates();
    void showError(const QString& error);
    void onSlotOperationFailed(const QString& title, const QString& text);

    bool initialized = false;
    QList<MemoryBlockInfo> memoryBlocks;
    AdapterChoice choice;
    WorkerRates rates;
    AdapterStatus status;
    TitanDeviceManager* deviceManager = nullptr;    ///< a child of this object
    std::unique_ptr<WorkerSet> workers;             ///< from initialize() to shutdown()
    PluginRunController* controller = nullptr;      ///< a child of this object
    MemorySlotOperations* slotOperations = nullptr; ///< a child of this object
    SlotTransfer* slotTransfer = nullptr;           ///< a child of this object
    QPointer<FerryLinkWidget> panel;                ///< its parent's

    bool wanted = false;      ///< the user wants the bridge to run, also while the adapter is away
    bool adapterOpen = false; ///< the bridge has said so for the present run
    bool resumingConnection =
        false; ///< the present run was started by a reconnection and nothing was heard yet
    QTimer reconnectionTimer{this};
    QTimer restartTimer{this}; ///< the pause of a restart
    QTimer ratesTimer{this};
};

} // namespace Vantor
