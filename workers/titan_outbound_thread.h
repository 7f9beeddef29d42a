// The adapter's output side: forwards each new CVData frame as soon as it is published, writes single packets
// for other threads, and measures rate, latency and jitter. Has a handle of its own to the adapter and never
// reads from it. Created, set up, started, stopped and destroyed on one thread, the owner (the GUI thread);
// run() is the worker.

#pragma once

#include "device/report.h"
#include "host/memory_block_info.h"
#include "platform/event.h"
#include "workers/frame_reader.h"
#include "workers/frame_statistics.h"
#include "workers/hid_handle.h"
#include "workers/packet_mailbox.h"
#include "workers/run_state.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <memory>

namespace Vantor {

class TitanOutboundThread : public QThread {
    Q_OBJECT

public:
    explicit TitanOutboundThread(QObject* parent = nullptr);
    /// Stops a run that is under way and waits for it. No other thread may be inside submitPacket().
    ~TitanOutboundThread() override;

    /// Takes the entry named "CVData" and ignores others. During a run it is kept for the next one.
    void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks);
    /// HID path of the adapter. Between runs only.
    void setDevicePath(const QString& path) { devicePath = path; }
    /// Where the frames per second, the mean latency and its jitter of each second go, once all three are
    /// set. Not owned.
    void setCvDataHzSink(std::atomic<std::uint32_t>* sink) { cvDataHzSink.store(sink); }
    void setLatencySink(std::atomic<double>* sink) { latencySink.store(sink); }
    void setJitterSink(std::atomic<double>* sink) { jitterSink.store(sink); }

    /// To be called before each start(): clears the stop flag, the ready flag, the mailbox and the three
    /// events, and waits for a run that has just ended to be gone altogether. Does nothing while a run is
    /// under way.
    void prepareStart();
    /// Ends the run, if one is under way or about to begin, and waits for it; emits outboundStopped.
    void stop();

    bool isRunning() const { return runState.isRunning(); }
    /// Whether submitPacket() can succeed: the adapter is open and the loop runs.
    bool isReady() const { return mailbox.isReady(); }

    /// Has this thread write one packet of 1..64 bytes as one output report. Returns whether it was written,
    /// and waits until that is known; false at once when the size is wrong, the thread is not ready, or
    /// another submission is pending. Any thread but the worker.
    bool submitPacket(const QByteArray& packet);

signals:
    void outboundStarted(); ///< from the worker thread
    void outboundReady();   ///< submitPacket() is served from now on
    void outboundStopped(); ///< from stop()
    /// The run has failed and is ending.
    void outboundError(const QString& error);
    void outboundPerformanceUpdate(int packetsPerSecond);
    /// Writing has failed for good: the run is ending, the adapter is most likely gone.
    void deviceDisconnected();

protected:
    void run() override;

private:
    bool openDevice();
    void connectFrames();
    void forwardUntilStopped();
    bool handleWake(std::size_t event);
    bool forwardNewFrame();
    bool writeFrame();
    void publishStatistics(std::int64_t nowNs);
    void takeBlocks(const QList<MemoryBlockInfo>& blocks);
    void postError(const char* error) noexcept;
    void postDisconnected() noexcept;

    QString devicePath;
    RunState runState;
    platform::Event stopEvent;
    PacketMailbox mailbox;
    HidHandle device;                         ///< the worker's during a run, the owner's between runs
    std::unique_ptr<FrameReader> cvDataBlock; ///< null while the host has offered no such block
    QList<MemoryBlockInfo> blocksForNextRun;

    // The worker's alone.
    std::int64_t lastSequence =
        0; ///< of the last frame taken; outlives a run, so that no frame is sent twice
    Frame frame;
    OutputReport outputReport{};
    int consecutiveFailures = 0; ///< failed writes of frame packets
    FrameStatistics statistics;

    std::atomic<std::atomic<std::uint32_t>*> cvDataHzSink{nullptr};
    std::atomic<std::atomic<double>*> latencySink{nullptr};
    std::atomic<std::atomic<double>*> jitterSink{nullptr};
};

} // namespace Vantor
