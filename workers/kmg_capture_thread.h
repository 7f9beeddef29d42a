// Forwards the keyboard, mouse and controller input that the host publishes to the adapter, which then poses
// as those USB devices. Has a handle of its own to the adapter and never reads from it. Created, set up,
// started, stopped and destroyed on one thread, the owner (the GUI thread); run() is the worker.
//
// Every run that begins ends with exactly one captureStopped: from stop(), or, when the run ends by itself,
// behind its captureError. All signals come in the owner's thread and in the order in which they happened;
// stop() and prepareStart() deliver what is still on its way. When captureStopped comes, the neutral packet
// has been sent where that was still possible, the adapter is closed and the rates are 0.

#pragma once

#include "device/report.h"
#include "host/memory_block_info.h"
#include "host/shared_memory_accessor.h"
#include "platform/event.h"
#include "workers/hid_handle.h"
#include "workers/kmg_mouse_motion.h"
#include "workers/kmg_rates.h"
#include "workers/kmg_reports.h"
#include "workers/run_state.h"

#include <QList>
#include <QString>
#include <QThread>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace Vantor {

class KMGCaptureThread : public QThread {
    Q_OBJECT

public:
    explicit KMGCaptureThread(QObject* parent = nullptr);
    /// Stops a run that is under way and waits for it.
    ~KMGCaptureThread() override;

    /// Takes the entries named "KeyboardRawInput", "MouseRawInput" and "ControllerOutput" and ignores others.
    /// During a run they are kept for the next one.
    void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks);
    /// HID path of the adapter. Between runs only.
    void setDevicePath(const QString& path) { devicePath = path; }
    /// What to capture. Between runs only.
    void setCapture(bool keyboard, bool mouse, bool controller) { capture = {keyboard, mouse, controller}; }
    /// Where the records taken of each kind go once a second; a silent second gives 0, as does the end of a
    /// run. Not owned; between runs only.
    void setKeyboardHzSink(std::atomic<std::uint32_t>* sink) { setHzSink(KmgDevice::keyboard, sink); }
    void setMouseHzSink(std::atomic<std::uint32_t>* sink) { setHzSink(KmgDevice::mouse, sink); }
    void setControllerHzSink(std::atomic<std::uint32_t>* sink) { setHzSink(KmgDevice::controller, sink); }

    /// To be called before each start(): clears the stop flag and the stop event, and waits for a run that
    /// has just ended to be gone altogether. Does nothing while a run is under way.
    void prepareStart();
    /// Ends the run, if one is under way or about to begin, and waits for it; emits captureStopped.
    void stop();

    bool isRunning() const { return runState.isRunning(); }

signals:
    /// The adapter knows the devices; input that is published from here on reaches it.
    void captureStarted();
    void captureStopped();
    /// The run has failed; captureStopped follows.
    void captureError(const QString& error);

protected:
    void run() override;

private:
    /// One of the host's blocks. The worker's during a run, the owner's between runs.
    struct Input {
        std::unique_ptr<SharedMemoryAccessor> block; ///< null while the host has offered no such block
        std::int64_t lastSequence = 0;               ///< of the last record taken in this run
    };

    // Each says why the run must end, as a text that tr() knows; null when it need not, or was stopped.
    const char* captureUntilStopped();
    const char* forwardUntilStopped();

    bool connectBlocks();
    bool openDevice();
    bool sendStartStream();
    bool pause(std::uint32_t milliseconds) const noexcept;
    void announceStart();
    void adoptPresentState() noexcept;
    void takeNewRecords(std::int64_t nowNs) noexcept;
    template<class Record>
    bool takeNewRecord(KmgDevice kind, Record& record) noexcept;
    bool sendChanges() noexcept;
    void endCapture() noexcept;

    Input& inputOf(KmgDevice kind) noexcept { return inputs[static_cast<std::size_t>(kind)]; }
    void setHzSink(KmgDevice kind, std::atomic<std::uint32_t>* sink) {
        hzSinks[static_cast<std::size_t>(kind)] = sink;
    }
    void publishRates(const KmgRates::Rates& values) const noexcept;
    void takeBlocks(const QList<MemoryBlockInfo>& blocks);
    void deliverPosted();

    QString devicePath;
    KmgCapture capture{};
    std::array<Input, kKmgDevices> inputs; ///< by KmgDevice
    std::array<std::atomic<std::uint32_t>*, kKmgDevices> hzSinks{};
    RunState runState;
    platform::Event stopEvent;
    QList<MemoryBlockInfo> blocksForNextRun;

    bool endPosted = false; ///< worker, then owner behind the run: captureStopped is on its way

    // The worker's alone.
    HidHandle device;
    OutputReport packet = kNeutralKmgReport;   ///< the state as it is now, and motion not sent yet
    OutputReport lastSent = kNeutralKmgReport; ///< as it went out, with its motion
    MouseMotionTracker mouseMotion;
    KmgRates rates;
};

} // namespace Vantor
