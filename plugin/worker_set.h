// The plug-in's worker threads as one: made, given their blocks, started and stopped together, and heard
// through one set of signals that can be silenced. It decides nothing: what an error means is for its owner
// to say. GUI thread only; every signal but bridgeStopped() is delivered by the event loop.

#pragma once

#include "device/packet_sender.h"
#include "device/titan_script_info.h"
#include "host/memory_block_info.h"

#include <QList>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <span>

namespace Vantor {

class FerryLinkThread;
class KMGCaptureThread;
class TitanOutboundThread;
struct WorkerRates;

/// What the host publishes that shall reach the adapter as emulated devices.
struct CaptureSources {
    bool keyboard = false;
    bool mouse = false;
    bool controller = false;
    bool any() const { return keyboard || mouse || controller; }
};

class WorkerSet : public QObject {
    Q_OBJECT

public:
    /// The workers publish into `rates`, which outlives them.
    explicit WorkerSet(WorkerRates& rates);
    ~WorkerSet() override; ///< stops what runs

    void setMemoryBlocks(const QList<MemoryBlockInfo>& blocks);

    /// To be called before start(). True: nothing runs, and what an earlier run still had under way is
    /// dropped.
    bool prepareStart();
    /// Starts bridge and outbound thread, where they do not run yet. The bridge insists on `serial` unless it
    /// is empty; an empty path fails as one that leads nowhere does.
    void start(const QString& path, const QString& serial);
    /// Ends capture, bridge and outbound thread, and waits for them. Each wait is bounded by a read time-out,
    /// a pause between two packets, or the write that is under way.
    void stop();
    /// Drops what earlier runs still have under way, so that it cannot be taken for news of the next one.
    /// Only while nothing runs.
    void dropNews();

    /// Starts capturing from these sources; a capture that runs is ended first. While the controller is
    /// captured, the adapter reports as its controller input what it is being sent, so the bridge does not
    /// publish that.
    void startCapture(const QString& path, CaptureSources sources);
    /// Ends it, waits for it, and drops what it still has to say.
    void stopCapture();

    /// Has the outbound thread write one packet and waits for that; see PacketSender.
    bool sendPacket(std::span<const std::uint8_t> packet);
    /// Whether sendPacket() can succeed.
    bool acceptsPackets() const;

signals:
    void failed(const QString& error); ///< of bridge or outbound thread; that one is ending
    void bridgeStarted();
    void bridgeStopped(); ///< from stop()
    void connectionStatusChanged(bool connected);
    void outboundReady();
    void deviceDisconnected();
    void packetRateChanged(int packetsPerSecond);
    void captureStarted();
    void captureStopped(); ///< by itself; not said of a capture that stopCapture() has ended
    void captureFailed(const QString& error); ///< captureStopped() follows
    void scriptInfoReceived(const QList<Vantor::TitanScriptInfo>& scripts);
    void loadedSlotChanged(int slot);
    void usbPortInfoReceived(const Vantor::TitanUsbPortInfo& info);
    void outputProtocolReceived(int protocolValue);
    void firmwareVersionReceived(const QString& version);

private:
    void publishInto(WorkerRates& rates);
    void relayBridge();
    void relayOutbound();
    void relayCapture();

    std::unique_ptr<FerryLinkThread> bridge;
    std::unique_ptr<TitanOutboundThread> outbound;
    std::unique_ptr<KMGCaptureThread> capture;
    /// Receives what the capture says, so that it can be dropped by itself. What the others say is posted to
    /// this object.
    std::unique_ptr<QObject> captureInbox;
};

} // namespace Vantor
