// The dock panel. It shows what it is told and passes on what the user wants; it knows neither workers nor
// packets. Starting and stopping go through the run controller, whose owner decides which adapter is meant;
// slots and the output protocol go through the slot operations. Messages are boxes without an event loop of
// their own, so that the host can close at any time. GUI thread only.

#pragma once

#include "device/titan_device.h"
#include "device/titan_script_info.h"
#include "ui/connection_state.h"
#include "ui/slot_action.h"

#include <QList>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace Vantor {

class AdapterView;
class ConnectionBanner;
class DeviceSelector;
class EmptyView;
class ErrorLine;
class KmgView;
class MemorySlotOperations;
class MetricsView;
class PluginRunController;
class RunStatusCard;
class SlotFileDialogs;
class SlotListView;
class ThemedToolButton;
class TransferView;

class FerryLinkWidget : public QWidget {
    Q_OBJECT

public:
    /// `controller` may end before or after the panel.
    explicit FerryLinkWidget(PluginRunController* controller, QWidget* parent = nullptr);

    /// Whom the panel asks for everything done to slots and to the output protocol; not owned, may end before
    /// or after the panel. Null, as at first: such wishes lead nowhere.
    void setSlotOperations(MemorySlotOperations* operations);

    /// Path of the adapter chosen in the selector; empty when there is none.
    QString selectedDevicePath() const;
    QString errorMessage() const;
    QSize sizeHint() const override;

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

    /// A warning box that nobody waits for; it closes with the panel.
    void showWarningBox(const QString& title, const QString& text);

signals:
    /// Restart the bridge on the adapter with this path; never empty.
    void restartBridgeRequested(const QString& devicePath);
    /// The user has chosen another adapter; selectedDevicePath() says which.
    void deviceSelectionChanged();
    /// The adapters shall be looked for again, because the user wants it, or because the panel has been in
    /// sight and disconnected for two seconds more; the answer is setDevices(), at once.
    void deviceRefreshRequested();
    /// Capture these for the adapter; at least one of them is wanted.
    void kmgCaptureStartRequested(bool keyboard, bool mouse, bool controller);
    void kmgCaptureStopRequested();
    /// The adapter was told to load this slot, 1..9.
    void memorySlotLoadRequested(int slotNumber);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void buildRunCard(PluginRunController* controller);
    void buildLayout();
    QWidget* buildGroups();
    void connectViews();
    void connectOperations();
    void onSlotAction(SlotAction action, int slotIndex);
    void onFileChosen(SlotAction action, int slotIndex, const QString& path);
    void onProtocolChosen(int value, const QString& name);
    void onTransferProgress(int sent, int reports);
    void forgetTransfer();
    void updateEmptiness();
    void updateLiveList();

    ConnectionState connection = ConnectionState::disconnected;
    QPointer<MemorySlotOperations> operations;
    int transferSlot = 0; ///< number of the slot that a transfer fills; 0 = none
    QTimer liveList{this};

    DeviceSelector* devices = nullptr;
    RunStatusCard* runCard = nullptr;
    ThemedToolButton* restart = nullptr;
    ConnectionBanner* banner = nullptr;
    ErrorLine* error = nullptr;
    TransferView* transfer = nullptr;
    EmptyView* empty = nullptr;
    QWidget* groups = nullptr;
    SlotListView* slotList = nullptr;
    AdapterView* adapter = nullptr;
    MetricsView* metrics = nullptr;
    KmgView* kmg = nullptr;
    SlotFileDialogs* fileDialogs = nullptr;
};

} // namespace Vantor
