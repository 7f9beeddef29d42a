#include "workers/kmg_capture_thread.h"

#include "host/logging_service.h"
#include "platform/clock.h"
#include "platform/thread_priority.h"
#include "workers/post.h"
#include "workers/worker_log.h"

#include <QCoreApplication>
#include <QStringList>

#include <span>

namespace Vantor {

namespace {

// The adapter needs these between what declares the devices and their first state.
constexpr std::uint32_t kStartReportPauseMs = 5;
constexpr std::uint32_t kNeutralPauseMs = 10;

constexpr char kNoBlocks[] = QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread", "No input blocks available");
constexpr char kOpenFailed[] =
    QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread", "Failed to open Titan Two for KMG capture");
constexpr char kStartFailed[] =
    QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread", "Failed to send KMG start packets");
constexpr char kWaitFailed[] = QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread", "KMG event wait failed");
constexpr char kWriteFailed[] =
    QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread", "Failed to send KMG input packet");
constexpr char kUnexpected[] =
    QT_TRANSLATE_NOOP("Vantor::KMGCaptureThread",
                      "KMG capture ended because of an unexpected error, most likely a lack of memory");

struct Source {
    const char* deviceName;
    const char* blockName;
};
/// By KmgDevice.
constexpr std::array<Source, kKmgDevices> kSources{{
    {"keyboard", BlockName::kKeyboardRawInput},
    {"mouse", BlockName::kMouseRawInput},
    {"controller", BlockName::kControllerOutput},
}};

QString captureLogSource() {
    return QStringLiteral("KMGCapture");
}

void warnOfMissingInput(const Source& source, const QString& reason) {
    LoggingService::instance().warning(
        captureLogSource(),
        QStringLiteral("The shared-memory block \"%1\" is not available: %2 No %3 input reaches the adapter "
                       "until the host provides the block and the capture is started again.")
            .arg(QLatin1String(source.blockName), reason, QLatin1String(source.deviceName)));
}

} // namespace

KMGCaptureThread::KMGCaptureThread(QObject* parent) : QThread(parent) {}

KMGCaptureThread::~KMGCaptureThread() {
    stop();
}

void KMGCaptureThread::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    if (runState.isUnderWay(QThread::isRunning()))
        blocksForNextRun = blocks;
    else
        takeBlocks(blocks);
}

void KMGCaptureThread::takeBlocks(const QList<MemoryBlockInfo>& blocks) {
    for (const MemoryBlockInfo& block : blocks) {
        for (std::size_t i = 0; i < kKmgDevices; ++i) {
            if (block.name == QLatin1String(kSources[i].blockName))
                inputs[i].block = std::make_unique<SharedMemoryAccessor>(block);
        }
    }
    blocksForNextRun.clear();
}

void KMGCaptureThread::prepareStart() {
    if (runState.isUnderWay(QThread::isRunning()))
        return;
    wait(); // start() does nothing while the last run's thread has not quite ended
    deliverPosted();
    if (runState.isUnderWay(QThread::isRunning()))
        return; // a listener has begun the next run already
    takeBlocks(blocksForNextRun);
    endPosted = false;
    stopEvent.reset();
    runState.prepare();
}

void KMGCaptureThread::stop() {
    if (!runState.isUnderWay(QThread::isRunning())) {
        wait(); // a run that has just ended by itself has then said all it has to say
        return;
    }
    runState.requestStop();
    stopEvent.set();
    wait();
    runState.end();
    const bool endedByItself = endPosted;
    deliverPosted();
    if (!endedByItself)
        emit captureStopped();
}

/// What a run has said comes out before its end is announced, and before the next run says anything.
void KMGCaptureThread::deliverPosted() {
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

void KMGCaptureThread::run() {
    runState.begin();
    platform::raiseCurrentThreadPriority();
    const char* error = nullptr;
    try {
        error = captureUntilStopped();
    } catch (...) {
        error = kUnexpected;
    }
    endCapture();
    const bool endsByItself = !runState.stopRequested();
    endPosted = endsByItself;
    runState.end();
    // Only now: whoever hears of the end may begin the next run at once.
    if (error != nullptr)
        postTo(this, [this, error] { emit captureError(tr(error)); });
    if (endsByItself)
        postTo(this, [this] { emit captureStopped(); });
}

const char* KMGCaptureThread::captureUntilStopped() {
    if (!connectBlocks())
        return kNoBlocks;
    if (!openDevice())
        return kOpenFailed;
    if (!sendStartStream()) {
        device.reset(); // nothing has been declared that a neutral packet could speak of
        return kStartFailed;
    }
    if (runState.stopRequested())
        return nullptr;
    writeReport(device, kNeutralKmgReport);
    if (!pause(kNeutralPauseMs))
        return nullptr;
    adoptPresentState();
    announceStart();
    return forwardUntilStopped();
}

/// False when none of the captured devices has a block. One that lacks its block is declared all the same.
bool KMGCaptureThread::connectBlocks() {
    bool isAnyConnected = false;
    for (std::size_t i = 0; i < kKmgDevices; ++i) {
        Input& input = inputs[i];
        input.lastSequence = 0;
        if (!capture[i])
            continue;
        if (input.block != nullptr && input.block->connect())
            isAnyConnected = true;
        else
            warnOfMissingInput(kSources[i], input.block ? input.block->errorString() : blockNotOffered());
    }
    return isAnyConnected;
}

bool KMGCaptureThread::openDevice() {
    device.reset();
    device = openHid(devicePath);
    return device != nullptr;
}

/// False when a report could not be written. Breaks off, without a failure, when the run is stopped.
bool KMGCaptureThread::sendStartStream() {
    const KmgStartStream stream = makeKmgStartStream(capture);
    for (std::size_t i = 0; i < kmgStartReportCount(stream) && !runState.stopRequested(); ++i) {
        if (!writeReport(device, makeKmgStartReport(stream, i)))
            return false;
        pause(kStartReportPauseMs);
    }
    return true;
}

/// False, at once, when the run is stopped meanwhile.
bool KMGCaptureThread::pause(std::uint32_t milliseconds) const noexcept {
    const std::array events{stopEvent.handle()};
    platform::waitAny(events, milliseconds);
    return !runState.stopRequested();
}

/// What is held already when the capture begins counts; how the mouse moved before does not.
void KMGCaptureThread::adoptPresentState() noexcept {
    packet = lastSent = kNeutralKmgReport;
    mouseMotion.restart();
    takeNewRecords(platform::monotonicNowNs());
    clearMotion(packet);
    rates.restart();
    publishRates({});
}

void KMGCaptureThread::announceStart() {
    QStringList names;
    for (std::size_t i = 0; i < kKmgDevices; ++i) {
        if (capture[i])
            names << QLatin1String(kSources[i].deviceName);
    }
    LoggingService::instance().info(captureLogSource(),
                                    QStringLiteral("Capturing %1").arg(names.join(QStringLiteral(", "))));
    postTo(this, [this] { emit captureStarted(); });
}

const char* KMGCaptureThread::forwardUntilStopped() {
    // Of several set events the first is reported: stopping goes before any stream of input.
    std::array<platform::EventHandle, 1 + kKmgDevices> events{stopEvent.handle()};
    std::size_t eventCount = 1;
    for (const Input& input : inputs) {
        if (input.block != nullptr && input.block->isConnected())
            events[eventCount++] = input.block->getEventHandle();
    }
    const std::span waitSet(events.data(), eventCount);

    if (!sendChanges())
        return kWriteFailed;
    std::int64_t now = platform::monotonicNowNs();
    while (!runState.stopRequested()) {
        const auto woken = platform::waitAny(waitSet, rates.waitTimeoutMs(now));
        if (woken.kind == platform::WaitResult::Kind::failed)
            return kWaitFailed;
        if (runState.stopRequested())
            break;
        now = platform::monotonicNowNs();
        // First: what has come now belongs to the next second, or a steady rate would count one too many.
        if (const auto values = rates.take(now))
            publishRates(*values);
        if (woken.kind == platform::WaitResult::Kind::signalled) {
            takeNewRecords(now);
            if (!sendChanges())
                return kWriteFailed;
        }
    }
    return nullptr;
}

void KMGCaptureThread::takeNewRecords(std::int64_t nowNs) noexcept {
    // Reset before looking: a record that comes after the look sets its event again. A record that cannot be
    // read now is being written, and so has its event still to come.
    for (const Input& input : inputs) {
        if (input.block != nullptr)
            input.block->resetEvent();
    }
    if (KeyboardData keyboard; takeNewRecord(KmgDevice::keyboard, keyboard)) {
        rates.count(KmgDevice::keyboard, nowNs);
        putKeyboard(packet, keyboard);
    }
    if (MouseData mouse; takeNewRecord(KmgDevice::mouse, mouse)) {
        rates.count(KmgDevice::mouse, nowNs);
        putMouse(packet, mouse.buttons, mouseMotion.take(mouse));
    }
    if (ControllerData controller; takeNewRecord(KmgDevice::controller, controller)) {
        rates.count(KmgDevice::controller, nowNs);
        putController(packet, controller);
    }
}

/// False, with `record` spoilt and nothing taken, when there is no new record or it cannot be had whole.
template<class Record>
bool KMGCaptureThread::takeNewRecord(KmgDevice kind, Record& record) noexcept {
    Input& input = inputOf(kind);
    return input.block != nullptr && input.block->hasNewData(input.lastSequence) &&
           input.block->readData(&record, sizeof record, input.lastSequence);
}

/// False when the write failed. Motion is never the same twice, even where its bytes are.
bool KMGCaptureThread::sendChanges() noexcept {
    if (packet == lastSent && !hasMotion(packet))
        return true;
    if (!writeReport(device, packet))
        return false;
    lastSent = packet;
    clearMotion(packet);
    return true;
}

/// Leaves nothing held behind, also after a failed write: the next one may succeed.
void KMGCaptureThread::endCapture() noexcept {
    writeReport(device, kNeutralKmgReport);
    device.reset();
    for (const Input& input : inputs) {
        if (input.block != nullptr)
            input.block->disconnect();
    }
    publishRates({});
}

void KMGCaptureThread::publishRates(const KmgRates::Rates& values) const noexcept {
    for (std::size_t i = 0; i < kKmgDevices; ++i) {
        if (hzSinks[i] != nullptr)
            hzSinks[i]->store(values[i]);
    }
}

} // namespace Vantor
