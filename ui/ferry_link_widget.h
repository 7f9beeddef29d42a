// The dock panel. It shows what it is told and passes on what the user wants; it knows neither workers nor
// packets. Starting and stopping go through the run controller, whose owner decides which adapter is meant.
// GUI thread only.

#pragma once

#include "device/titan_device.h"
#include "device/titan_script_info.h"
#include "ui/connection_state.h"

#include <QList>
#include <QWidget>

class QScrollArea;

namespace Vantor {

class DeviceSelector;
class ErrorLine;
class KmgView;
class PluginRunController;
class RatesView;
class RunStatusCard;
class SlotListView;
class StatusView;
class ThemedToolButton;

class FerryLinkWidget : public QWidget {
    Q_OBJECT

public:
    /// `controller` may end before or after the panel.
    explicit FerryLinkWidget(PluginRunController* controller, QWidget* parent = nullptr);

    /// Path of the adapter chosen in the selector; empty when there is none.
    QString selectedDevicePath() const;
    QString errorMessage() const;

public slots:
    void onRestartClicked();

    void setDevices(const QList<Vantor::TitanDevice>& devices, const QString& rememberedSerial);
    void selectDevice(const QString& path);
    void setConnectionState(Vantor::ConnectionState state);
    /// An empty message takes the error away.
    void setErrorMessage(const QString& message);
    void setFrameRates(quint32 frameHz, double latencyMs, double jitterMs);
    void setReportRates(quint32 inputPps, quint32 statePps);
    void setPacketRate(int packetsPerSecond);
    void setFirmwareVersion(const QString& version);
    void setLoadedSlot(int slot);
    /// What the adapter has reported; the selector follows without asking for it again. A value that no entry
    /// of the selector carries leaves the selection alone.
    void setOutputProtocol(int value, const QString& name);
    void setUsbPorts(const Vantor::TitanUsbPortInfo& ports);
    void setScripts(const QList<Vantor::TitanScriptInfo>& scripts);
    /// Forgets what the adapter said of itself.
    void clearStatus();
    void clearRates();

    /// Whether input is being captured, which only the capturing side knows.
    void setKmgCapturing(bool capturing);
    /// Captured records per second of each kind.
    void setKmgRates(quint32 keyboardHz, quint32 mouseHz, quint32 controllerHz);

signals:
    /// Restart the bridge on the adapter with this path; never empty.
    void restartBridgeRequested(const QString& devicePath);
    /// The user has chosen another adapter; selectedDevicePath() says which.
    void deviceSelectionChanged();
    /// The adapters shall be looked for again, because the user wants it or because the panel has been in
    /// sight and unconnected for a while; the answer is setDevices(), at once.
    void deviceRefreshRequested();
    /// Capture these for the adapter; at least one of them is wanted.
    void kmgCaptureStartRequested(bool keyboard, bool mouse, bool controller);
    void kmgCaptureStopRequested();

private:
    void buildRunCard(PluginRunController* controller);
    void buildLayout();

    DeviceSelector* devices = nullptr;
    RunStatusCard* runCard = nullptr;
    ThemedToolButton* restart = nullptr;
    ErrorLine* error = nullptr;
    StatusView* status = nullptr;
    RatesView* rates = nullptr;
    SlotListView* slotList = nullptr;
    KmgView* kmg = nullptr;
};

} // namespace Vantor
