#include "plugin/worker_set.h"

#include "plugin/worker_rates.h"
#include "workers/ferry_link_thread.h"
#include "workers/kmg_capture_thread.h"
#include "workers/titan_outbound_thread.h"

#include <QByteArray>
#include <QCoreApplication>

namespace Vantor {

WorkerSet::WorkerSet(WorkerRates& rates)
    : bridge(std::make_unique<FerryLinkThread>()),
      outbound(std::make_unique<TitanOutboundThread>()),
      capture(std::make_unique<KMGCaptureThread>()),
      captureInbox(std::make_unique<QObject>()) {
    publishInto(rates);
    relayBridge();
    relayOutbound();
    relayCapture();
}

WorkerSet::~WorkerSet() {
    stop();
}

void WorkerSet::publishInto(WorkerRates& rates) {
    bridge->setInputRateSink(&rates.inputPps);
    bridge->setStateRateSink(&rates.statePps);
    outbound->setCvDataHzSink(&rates.cvDataHz);
    outbound->setLatencySink(&rates.latencyMs);
    outbound->setJitterSink(&rates.jitterMs);
    capture->setKeyboardHzSink(&rates.keyboardHz);
    capture->setMouseHzSink(&rates.mouseHz);
    capture->setControllerHzSink(&rates.controllerHz);
}

void WorkerSet::relayBridge() {
    const auto relay = [this](auto said, auto announced) {
        connect(bridge.get(), said, this, announced, Qt::QueuedConnection);
    };
    relay(&FerryLinkThread::bridgeError, &WorkerSet::failed);
    relay(&FerryLinkThread::bridgeStarted, &WorkerSet::bridgeStarted);
    relay(&FerryLinkThread::connectionStatusChanged, &WorkerSet::connectionStatusChanged);
    relay(&FerryLinkThread::deviceDisconnected, &WorkerSet::deviceDisconnected);
    relay(&FerryLinkThread::scriptInfoReceived, &WorkerSet::scriptInfoReceived);
    relay(&FerryLinkThread::loadedSlotChanged, &WorkerSet::loadedSlotChanged);
    relay(&FerryLinkThread::usbPortInfoReceived, &WorkerSet::usbPortInfoReceived);
    relay(&FerryLinkThread::outputProtocolReceived, &WorkerSet::outputProtocolReceived);
    relay(&FerryLinkThread::firmwareVersionReceived, &WorkerSet::firmwareVersionReceived);
    // Said by stop(), on this thread: not queued, or it would be dropped with the run's late news.
    connect(bridge.get(), &FerryLinkThread::bridgeStopped, this, &WorkerSet::bridgeStopped);
}

void WorkerSet::relayOutbound() {
    const auto relay = [this](auto said, auto announced) {
        connect(outbound.get(), said, this, announced, Qt::QueuedConnection);
    };
    relay(&TitanOutboundThread::outboundReady, &WorkerSet::outboundReady);
    relay(&TitanOutboundThread::outboundError, &WorkerSet::failed);
    relay(&TitanOutboundThread::deviceDisconnected, &WorkerSet::deviceDisconnected);
    relay(&TitanOutboundThread::outboundPerformanceUpdate, &WorkerSet::packetRateChanged);
}

void WorkerSet::relayCapture() {
    QObject* const inbox = captureInbox.get();
    const auto queued = Qt::QueuedConnection;
    connect(
        capture.get(), &KMGCaptureThread::captureStarted, inbox, [this] { emit captureStarted(); }, queued);
    connect(
        capture.get(), &KMGCaptureThread::captureStopped, inbox, [this] { emit captureStopped(); }, queued);
    connect(
        capture.get(), &KMGCaptureThread::captureError, inbox,
        [this](const QString& error) { emit captureFailed(error); }, queued);
}

void WorkerSet::setMemoryBlocks(const QList<MemoryBlockInfo>& blocks) {
    bridge->setMemoryBlocks(blocks);
    outbound->setMemoryBlocks(blocks);
    capture->setMemoryBlocks(blocks);
}

// ---- Bridge and outbound thread ----

bool WorkerSet::prepareStart() {
    // Waits for runs that are over. QThread's own flag, unlike isRunning(), also covers a run that has not
    // reached its first statement.
    bridge->prepareStart();
    outbound->prepareStart();
    if (bridge->QThread::isRunning() || outbound->QThread::isRunning())
        return false;
    dropNews();
    return true;
}

void WorkerSet::start(const QString& path, const QString& serial) {
    if (!bridge->QThread::isRunning()) {
        bridge->setDevicePath(path);
        bridge->setDeviceSerial(serial);
        bridge->start(QThread::HighestPriority);
    }
    if (!outbound->QThread::isRunning()) {
        outbound->setDevicePath(path);
        outbound->start(QThread::HighestPriority);
    }
}

void WorkerSet::stop() {
    stopCapture();
    bridge->stop();
    outbound->stop();
}

/// Posts to the worker objects come first: they turn into signals, and those into posts to this object.
void WorkerSet::dropNews() {
    for (QObject* const receiver : std::initializer_list<QObject*>{bridge.get(), outbound.get(), this})
        QCoreApplication::removePostedEvents(receiver, QEvent::MetaCall);
}

bool WorkerSet::sendPacket(std::span<const std::uint8_t> packet) {
    return outbound->submitPacket(QByteArray::fromRawData(reinterpret_cast<const char*>(packet.data()),
                                                          static_cast<qsizetype>(packet.size())));
}

bool WorkerSet::acceptsPackets() const {
    return outbound->isReady();
}

// ---- Capture ----

void WorkerSet::startCapture(const QString& path, CaptureSources sources) {
    stopCapture();
    capture->prepareStart();
    capture->setDevicePath(path);
    capture->setCapture(sources.keyboard, sources.mouse, sources.controller);
    bridge->setForwardControllerInput(!sources.controller);
    capture->start(QThread::HighestPriority);
}

void WorkerSet::stopCapture() {
    capture->stop();
    bridge->setForwardControllerInput(true);
    for (QObject* const receiver : std::initializer_list<QObject*>{capture.get(), captureInbox.get()})
        QCoreApplication::removePostedEvents(receiver, QEvent::MetaCall);
}

} // namespace Vantor
