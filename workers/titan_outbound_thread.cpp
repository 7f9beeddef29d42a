#include "workers/titan_outbound_thread.h"

#include "platform/clock.h"
#include "platform/thread_priority.h"
#include "workers/frame_packets.h"
#include "workers/post.h"
#include "workers/worker_log.h"

#include <array>
#include <span>

namespace Vantor {

namespace {

constexpr int kMaxConsecutiveFailures = 100;

constexpr char kOpenFailed[] = "Failed to open Titan Two device for output";
constexpr char kWaitFailed[] = "Titan outbound event wait failed";
constexpr char kUnexpected[] =
    "Titan output ended because of an unexpected error, most likely a lack of memory";

// Positions in the wait set. Of several set events the first is reported: stopping goes before single
// packets, and those before frames, so that a stream of frames starves neither.
enum WaitIndex : std::size_t { kStopIndex, kRequestIndex, kFrameIndex, kWaitCount };

} // namespace

TitanOutboundThread::TitanOutboundThread(QObject* parent) : QThread(parent) {}

TitanOutboundThread::~TitanOutboundThread() {
    stop();
    wait(); // a run that ended by itself may still be on its way out
}

void TitanOutboundThread::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    if (runState.isUnderWay(QThread::isRunning()))
        blocksForNextRun = blocks;
    else
        takeBlocks(blocks);
}

void TitanOutboundThread::takeBlocks(const QList<MemoryBlockInfo>& blocks) {
    for (const MemoryBlockInfo& block : blocks) {
        if (block.name == QLatin1String(BlockName::kCVData))
            cvDataBlock = std::make_unique<FrameReader>(block);
    }
    blocksForNextRun.clear();
}

void TitanOutboundThread::prepareStart() {
    if (runState.isUnderWay(QThread::isRunning()))
        return;
    wait(); // start() does nothing while the last run's thread has not quite ended
    takeBlocks(blocksForNextRun);
    mailbox.reset();
    stopEvent.reset();
    runState.prepare();
}

void TitanOutboundThread::stop() {
    if (!runState.isUnderWay(QThread::isRunning()))
        return;
    runState.requestStop();
    mailbox.setReady(false);
    stopEvent.set();
    wait();
    runState.end();
    device.reset();
    emit outboundStopped();
}

bool TitanOutboundThread::submitPacket(const QByteArray& packet) {
    return isRunning() && mailbox.submit({reinterpret_cast<const std::uint8_t*>(packet.constData()),
                                          static_cast<std::size_t>(packet.size())});
}

void TitanOutboundThread::run() {
    runState.begin();
    emit outboundStarted();
    platform::raiseCurrentThreadPriority();
    try {
        if (openDevice()) {
            connectFrames();
            forwardUntilStopped();
        } else {
            postError(kOpenFailed);
        }
    } catch (...) {
        postError(kUnexpected);
    }
    mailbox.close();
    device.reset();
    runState.end();
}

bool TitanOutboundThread::openDevice() {
    device.reset();
    device = openHid(devicePath);
    return device != nullptr;
}

void TitanOutboundThread::connectFrames() {
    if (cvDataBlock != nullptr && cvDataBlock->connect())
        return;
    warnOfMissingBlock(BlockName::kCVData,
                       cvDataBlock != nullptr ? cvDataBlock->errorString() : blockNotOffered(),
                       "No frames reach the adapter");
}

void TitanOutboundThread::forwardUntilStopped() {
    // Without the block there is nothing to wait for in it; stopping and single packets work all the same.
    const platform::EventHandle frameEvent = cvDataBlock ? cvDataBlock->eventHandle() : nullptr;
    const std::array<platform::EventHandle, kWaitCount> events{stopEvent.handle(), mailbox.requestHandle(),
                                                               frameEvent};
    const std::span waitSet(events.data(), frameEvent != nullptr ? kWaitCount : kFrameIndex);

    std::int64_t now = platform::monotonicNowNs();
    statistics.restart(now);
    consecutiveFailures = 0;
    mailbox.setReady(true);
    postTo(this, [this] { emit outboundReady(); });
    while (!runState.stopRequested()) {
        const auto woken = platform::waitAny(waitSet, statistics.waitTimeoutMs(now));
        if (woken.kind == platform::WaitResult::Kind::failed) {
            postError(kWaitFailed);
            return;
        }
        if (woken.kind == platform::WaitResult::Kind::signalled && !handleWake(woken.index))
            return;
        now = platform::monotonicNowNs();
        publishStatistics(now);
    }
}

/// False: the run is to end.
bool TitanOutboundThread::handleWake(std::size_t event) {
    if (event == kStopIndex || runState.stopRequested())
        return false;
    if (event == kFrameIndex)
        return forwardNewFrame();
    mailbox.serve([this](const OutputReport& report) { return writeReport(device, report); });
    return true;
}

bool TitanOutboundThread::forwardNewFrame() {
    // Reset before looking: a frame that comes after the look sets the event again.
    cvDataBlock->resetEvent();
    if (!cvDataBlock->hasNewFrame(lastSequence) || !cvDataBlock->read(frame))
        return true;
    lastSequence = frame.sequence;
    if (!writeFrame()) {
        postDisconnected();
        return false;
    }
    statistics.frameForwarded(frame.timestampNs, platform::monotonicNowNs());
    return true;
}

/// False once too many writes in a row have failed, over all frames.
bool TitanOutboundThread::writeFrame() {
    const std::span sent(frame.payload.data(), sentFrameBytes(frame.length));
    for (std::size_t i = 0; i < framePacketCount(sent.size()); ++i) {
        fillFramePacket(outputReport, sent, i);
        if (writeReport(device, outputReport)) {
            statistics.packetWritten();
            consecutiveFailures = 0;
        } else if (++consecutiveFailures >= kMaxConsecutiveFailures) {
            return false;
        }
    }
    return true;
}

void TitanOutboundThread::publishStatistics(std::int64_t nowNs) {
    if (const auto packetsPerSecond = statistics.takePacketRate(nowNs)) {
        postTo(this,
               [this, rate = static_cast<int>(*packetsPerSecond)] { emit outboundPerformanceUpdate(rate); });
    }
    const auto figures = statistics.takeFrameFigures(nowNs);
    if (!figures)
        return;
    auto* hzSink = cvDataHzSink.load();
    auto* latency = latencySink.load();
    auto* jitter = jitterSink.load();
    if (hzSink != nullptr && latency != nullptr && jitter != nullptr) {
        hzSink->store(figures->frames);
        latency->store(figures->latencyMs);
        jitter->store(figures->jitterMs);
    }
}

void TitanOutboundThread::postError(const char* error) noexcept {
    postTo(this, [this, error] { emit outboundError(QLatin1String(error)); });
}

void TitanOutboundThread::postDisconnected() noexcept {
    postTo(this, [this] { emit deviceDisconnected(); });
}

} // namespace Vantor
