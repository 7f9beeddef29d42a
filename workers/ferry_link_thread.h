// The bridge: owns the adapter's input side. Initialises the adapter, reads its reports, publishes controller
// states in shared memory and relays what status reports say. Frames to the adapter are another thread's
// work. Created, set up, started, stopped and destroyed on one thread, the owner (the GUI thread); run() is
// the worker.

#pragma once

#include "device/titan_script_info.h"
#include "host/memory_block_info.h"
#include "workers/controller_block.h"
#include "workers/hid_handle.h"
#include "workers/run_state.h"

#include <QList>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace Vantor {

class ReportProcessor;

class FerryLinkThread : public QThread {
    Q_OBJECT

public:
    explicit FerryLinkThread(QObject* parent = nullptr);
    /// Stops a run that is under way and waits for it.
    ~FerryLinkThread() override;

    /// Takes the entries named "ControllerInput" and "ControllerReport" and ignores others. During a run they
    /// are kept for the next one.
    void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks);
    /// HID path of the adapter, and the serial number that it must report; an empty serial accepts any
    /// adapter. Taken at the start of a run.
    void setDevicePath(const QString& path);
    void setDeviceSerial(const QString& serial);
    /// While false, states of the controller input are counted but not written to their block. Any time.
    void setForwardControllerInput(bool forward) { forwardControllerInput.store(forward); }
    /// Where the number of complete input and output states of each second goes, once both are set. Not
    /// owned.
    void setInputRateSink(std::atomic<std::uint32_t>* sink) { inputRateSink.store(sink); }
    void setStateRateSink(std::atomic<std::uint32_t>* sink) { stateRateSink.store(sink); }

    /// To be called before each start(): clears the stop flag, and waits for a run that has just ended to be
    /// gone altogether. Does nothing while a run is under way.
    void prepareStart();
    /// Ends the run, if one is under way or about to begin, and waits for it: about one read time-out plus
    /// the closing steps. Leaves the adapter with the closing packet and its handle closed; emits
    /// bridgeStopped.
    void stop();

    bool isRunning() const { return runState.isRunning(); }
    /// True from the accepted open to the end of the run. Stays true when the initialisation fails.
    bool isConnected() const { return connected.load(); }

signals:
    void bridgeStarted(); ///< from the worker thread
    void bridgeStopped(); ///< from stop()
    /// The run has failed and is ending.
    void bridgeError(const QString& error);
    void connectionStatusChanged(bool connected); ///< from the worker thread
    /// Reading has failed for good: the run is ending, the adapter is most likely gone.
    void deviceDisconnected();
    void scriptInfoReceived(const QList<Vantor::TitanScriptInfo>& scripts);
    void loadedSlotChanged(int slot);
    void usbPortInfoReceived(const Vantor::TitanUsbPortInfo& info);
    void outputProtocolReceived(int protocolValue);
    void firmwareVersionReceived(const QString& version);

protected:
    void run() override;

private:
    void runBridge();
    bool openDevice();
    bool acceptsSerial(const QString& wanted) const;
    /// Empty when all packets went out, else what to tell the user.
    QString initialiseDevice();
    void readReports();
    void readOnce(int& consecutiveFailures);
    void publishRates(std::int64_t nowNs);
    void closeAfterReading();
    void relayStatusSignals();
    void takeBlocks(const QList<MemoryBlockInfo>& blocks);
    void postError(const QString& error) noexcept;
    void postDisconnected() noexcept;

    std::mutex deviceMutex; ///< guards the two strings: set by the owner, copied at the start of a run
    QString devicePath;
    QString deviceSerial;

    RunState runState;
    std::atomic<bool> forwardControllerInput{true}; ///< owner writes, worker reads
    std::atomic<bool> connected{false};             ///< worker writes
    HidHandle device;                               ///< the worker's during a run, the owner's between runs
    ControllerBlock controllerInputBlock;
    ControllerBlock controllerReportBlock;
    QList<MemoryBlockInfo> blocksForNextRun;
    std::unique_ptr<ReportProcessor> reports; ///< kept after a run, until the next one or destruction

    std::atomic<std::atomic<std::uint32_t>*> inputRateSink{nullptr};
    std::atomic<std::atomic<std::uint32_t>*> stateRateSink{nullptr};
};

} // namespace Vantor
