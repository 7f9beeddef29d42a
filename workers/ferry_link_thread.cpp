#include "workers/ferry_link_thread.h"

#include "device/fixed_packets.h"
#include "platform/clock.h"
#include "platform/thread_priority.h"
#include "workers/post.h"
#include "workers/report_processor.h"
#include "workers/worker_log.h"

#include <array>
#include <chrono>
#include <cwchar>
#include <thread>

namespace Vantor {

namespace {

constexpr int kReadTimeoutMs = 10; // also how soon a stop is noticed
constexpr int kMaxConsecutiveFailures = 100;
constexpr std::size_t kSerialCharacters = 256;

// The adapter loses packets of its initialisation that follow one another faster.
constexpr std::chrono::milliseconds kInitPacketPause{5};
constexpr std::chrono::milliseconds kFailedReadPause{1};
constexpr std::chrono::milliseconds kExceptionPause{10};

constexpr char kOpenFailed[] = "Failed to open Titan Two device";
constexpr char kInitFailed[] = "Failed to initialize Titan Two device";
constexpr char kUnexpected[] =
    "The bridge ended because of an unexpected error, most likely a lack of memory";
constexpr char kInitIncomplete[] = "Failed to complete initialization sequence";

/// Windows counts a sleep in ticks of up to 16 ms, the current one as a whole, and so may end it early.
void pauseInFull(std::chrono::milliseconds pause) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + pause;
    for (Clock::time_point now = end - pause; now < end; now = Clock::now())
        std::this_thread::sleep_for(std::chrono::ceil<std::chrono::milliseconds>(end - now));
}

} // namespace

FerryLinkThread::FerryLinkThread(QObject* parent)
    : QThread(parent),
      controllerInputBlock(BlockName::kControllerInput),
      controllerReportBlock(BlockName::kControllerReport) {}

FerryLinkThread::~FerryLinkThread() {
    stop();
    wait(); // a run that ended by itself may still be on its way out
}

void FerryLinkThread::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    if (runState.isUnderWay(QThread::isRunning()))
        blocksForNextRun = blocks;
    else
        takeBlocks(blocks);
}

void FerryLinkThread::takeBlocks(const QList<MemoryBlockInfo>& blocks) {
    for (const MemoryBlockInfo& block : blocks) {
        controllerInputBlock.offer(block);
        controllerReportBlock.offer(block);
    }
    blocksForNextRun.clear();
}

void FerryLinkThread::setDevicePath(const QString& path) {
    const std::lock_guard lock(deviceMutex);
    devicePath = path;
}

void FerryLinkThread::setDeviceSerial(const QString& serial) {
    const std::lock_guard lock(deviceMutex);
    deviceSerial = serial;
}

void FerryLinkThread::prepareStart() {
    if (runState.isUnderWay(QThread::isRunning()))
        return;
    wait(); // start() does nothing while the last run's thread has not quite ended
    takeBlocks(blocksForNextRun);
    runState.prepare();
}

void FerryLinkThread::stop() {
    if (!runState.isUnderWay(QThread::isRunning()))
        return;
    runState.requestStop();
    wait();
    runState.end();
    if (device != nullptr) {
        writeReport(device, kClosingReport);
        device.reset();
    }
    connected.store(false);
    emit bridgeStopped();
}

void FerryLinkThread::run() {
    runState.begin();
    emit bridgeStarted();
    platform::raiseCurrentThreadPriority();
    try {
        runBridge();
    } catch (...) {
        device.reset();
        postError(QLatin1String(kUnexpected));
    }
    runState.end();
}

void FerryLinkThread::runBridge() {
    if (!openDevice()) {
        postError(QLatin1String(kOpenFailed));
        return;
    }
    connected.store(true);
    emit connectionStatusChanged(true);
    controllerInputBlock.connect();
    controllerReportBlock.connect();

    if (const QString error = initialiseDevice(); !error.isEmpty()) {
        // `connected` stays set and no change is announced: the owner reacts to the error instead.
        postError(error);
        controllerInputBlock.clear();
        controllerReportBlock.clear();
        device.reset();
        return;
    }
    readReports();
    closeAfterReading();
}

bool FerryLinkThread::openDevice() {
    device.reset();
    QString path;
    QString serial;
    {
        const std::lock_guard lock(deviceMutex);
        path = devicePath;
        serial = deviceSerial;
    }
    if (path.isEmpty())
        return false;
    device = openHid(path);
    if (device == nullptr)
        adviseOnDeviceAccess(path);
    else if (!acceptsSerial(serial))
        device.reset();
    return device != nullptr;
}

bool FerryLinkThread::acceptsSerial(const QString& wanted) const {
    if (wanted.isEmpty())
        return true;
    std::array<wchar_t, kSerialCharacters> serial{};
    {
        const HidLibraryLock lock;
        if (hid_get_serial_number_string(device.get(), serial.data(), serial.size()) < 0)
            return true; // an adapter that cannot say who it is is taken at its path's word
    }
    serial.back() = L'\0';
    return QString::fromWCharArray(serial.data()) == wanted;
}

QString FerryLinkThread::initialiseDevice() {
    for (std::size_t i = 0; i < kInitialisationReports.size(); ++i) {
        if (!writeReport(device, kInitialisationReports[i]))
            return QLatin1String(i < kFirstPhaseReports ? kInitFailed : kInitIncomplete);
        pauseInFull(kInitPacketPause);
    }
    return {};
}

void FerryLinkThread::readReports() {
    reports = std::make_unique<ReportProcessor>(
        ReportTargets{controllerInputBlock, controllerReportBlock, forwardControllerInput, connected});
    relayStatusSignals();
    reports->rates().restart(platform::monotonicNowNs());

    int consecutiveFailures = 0;
    while (!runState.stopRequested()) {
        readOnce(consecutiveFailures);
        if (consecutiveFailures >= kMaxConsecutiveFailures) {
            postDisconnected();
            return;
        }
        publishRates(platform::monotonicNowNs());
    }
}

void FerryLinkThread::readOnce(int& consecutiveFailures) {
    std::chrono::milliseconds pause = kFailedReadPause;
    try {
        std::array<std::uint8_t, kInputReportBytes> report;
        const int length = hid_read_timeout(device.get(), report.data(), report.size(), kReadTimeoutMs);
        if (length > 0) {
            reports->process(report.data(), length);
            consecutiveFailures = 0;
        }
        if (length >= 0) // a time-out is neither a success nor a failure
            return;
    } catch (...) {
        pause = kExceptionPause;
    }
    if (++consecutiveFailures < kMaxConsecutiveFailures)
        std::this_thread::sleep_for(pause);
}

void FerryLinkThread::publishRates(std::int64_t nowNs) {
    const auto rates = reports->rates().take(nowNs);
    if (!rates)
        return;
    auto* inputSink = inputRateSink.load();
    auto* stateSink = stateRateSink.load();
    if (inputSink != nullptr && stateSink != nullptr) {
        inputSink->store(rates->inputReports);
        stateSink->store(rates->stateReports);
    }
}

void FerryLinkThread::closeAfterReading() {
    writeReport(device, kClosingReport);
    controllerInputBlock.clear();
    controllerReportBlock.clear();
    device.reset();
    connected.store(false);
    emit connectionStatusChanged(false);
}

void FerryLinkThread::relayStatusSignals() {
    // Queued: the parser lives in the worker thread, its findings leave from the owner's.
    const TitanScriptInfoParser* parser = &reports->parser();
    const auto relay = [this, parser](auto found, auto announced) {
        connect(parser, found, this, announced, Qt::QueuedConnection);
    };
    relay(&TitanScriptInfoParser::scriptInfoUpdated, &FerryLinkThread::scriptInfoReceived);
    relay(&TitanScriptInfoParser::loadedSlotChanged, &FerryLinkThread::loadedSlotChanged);
    relay(&TitanScriptInfoParser::usbPortInfoUpdated, &FerryLinkThread::usbPortInfoReceived);
    relay(&TitanScriptInfoParser::outputProtocolReceived, &FerryLinkThread::outputProtocolReceived);
    relay(&TitanScriptInfoParser::firmwareVersionReceived, &FerryLinkThread::firmwareVersionReceived);
}

void FerryLinkThread::postError(const QString& error) noexcept {
    postTo(this, [this, error] { emit bridgeError(error); });
}

void FerryLinkThread::postDisconnected() noexcept {
    postTo(this, [this] { emit deviceDisconnected(); });
}

} // namespace Vantor
