// Everything that can be done to the adapter's nine memory slots: compile and load, load ready files, remove,
// select, and the output protocol. Entry points: the public slots. Shows nothing: what a user must be told
// leaves through failed(). GUI thread; works with or without a panel.

#pragma once

#include "device/packet_sender.h"
#include "device/report.h"
#include "device/transfers.h"
#include "ui/slot_files.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace Vantor {

namespace gpc {
struct Diagnostic;
} // namespace gpc

/// Slot indices are 0..8; slot numbers, in signals and texts, 1..9.
///
/// One transfer runs at a time. It goes out in batches, one per turn of the event loop, so that the panel
/// lives meanwhile; while it runs every other operation is refused, with a text. After a bytecode transfer
/// the slot is loaded half a second later; until then the object is free for other work. Each
/// transferStarted() is followed by exactly one transferFinished(), unless the object is destroyed first.
/// Destroying it is safe at any time, also from a handler of its signals, and sends nothing more.
class MemorySlotOperations : public QObject {
    Q_OBJECT

public:
    struct Timing {
        int slotLoadDelayMs = 500; ///< from the last report of a bytecode transfer to the load-slot packet
        std::int64_t batchNs = 8'000'000; ///< a batch ends with the first report that outlasts this
    };
    /// Whether cancel() raises failed() for what it ends.
    enum class Notice { shown, silent };

    /// Without a link, `packetSender` is empty.
    explicit MemorySlotOperations(PacketSender packetSender, QObject* parent = nullptr);
    /// For tests and measurements.
    MemorySlotOperations(PacketSender packetSender, Timing timing, QObject* parent = nullptr);
    ~MemorySlotOperations() override;

    /// Whether a transfer is on its way.
    bool isBusy() const { return transfer.has_value(); }

public slots:
    // Loading: true when a transfer has begun, which transferFinished() will end (perhaps within the call);
    // false when nothing is sent, after failed() has said why. Compiling is done within the call.
    bool loadGpcSource(int slotIndex, const QString& path);
    bool loadBytecode(int slotIndex, const QString& path);
    bool loadInputTranslator(int slotIndex, const QString& path);
    /// The one of these three that the suffix asks for.
    bool loadFile(int slotIndex, const QString& path);
    bool loadDroppedFile(int slotIndex, const Vantor::DroppedFile& file);

    // True when the packet was written.
    bool removeScript(int slotIndex);
    bool removeInputTranslator(int slotIndex);
    bool loadSlot(int slotIndex);
    /// `value`: the low eight bits count. `text`: the protocol's name for the log.
    bool setOutputProtocol(int value, const QString& text);

    /// Ends a running transfer and drops slot loads that are still to come: the adapter is gone, or is about
    /// to be let go. Sends nothing.
    void cancel(Vantor::MemorySlotOperations::Notice notice = Notice::shown);

signals:
    /// A load-slot packet was written.
    void memorySlotLoadRequested(int slotNumber);
    /// What a warning box shall say. Plain text.
    void failed(const QString& title, const QString& text);
    void transferStarted(int slotNumber, const QString& fileName, int reports);
    void transferProgressed(int sent, int reports); ///< once per batch
    /// The end of one transferStarted(). Comes before the failed() that goes with it.
    /// `transferred`: all reports were written; `slotLoaded`: the load-slot packet was written too.
    void transferFinished(int slotNumber, const QString& fileName, bool transferred, bool slotLoaded);

private:
    enum class Kind { bytecode, inputTranslator };
    struct Transfer {
        Kind kind = Kind::bytecode;
        int slotIndex = 0;
        QString fileName;
        TransferPackets packets;
        std::size_t sent = 0;
        unsigned id = 0; ///< tells it from one that a signal's handler has begun in its place
    };
    /// A slot that is to be loaded once its timer has fired and no transfer runs.
    struct PendingLoad {
        QTimer timer;
        std::optional<QString> fileName; ///< what was transferred; empty while no load is to come
        bool isDue = false;
    };

    // Each false, null or empty result here comes after failed().
    bool refuse(const QString& title, const QString& text);
    std::shared_ptr<platform::RegularFile> openForLoading(const QString& path, const QString& title);
    std::optional<QByteArray> readForLoading(platform::RegularFile& file, std::size_t limit,
                                             const QString& path, const QString& title);
    bool loadSourceFrom(int slotIndex, const QString& path, platform::RegularFile& file, std::size_t limit);
    bool loadTranslatorFrom(int slotIndex, const QString& path, platform::RegularFile& file);
    bool loadDroppedBytecode(int slotIndex, const DroppedFile& dropped);
    bool transferBytecode(int slotIndex, const QString& fileName, std::span<const std::uint8_t> bytes);
    bool begin(Kind kind, int slotIndex, const QString& fileName, TransferPackets packets);

    bool isRefusedAsBusy(const QString& title);
    static QString sourceTooLargeText(const QString& path, std::size_t limit);
    static QString diagnosticsText(const QString& path, const std::vector<gpc::Diagnostic>& diagnostics);

    bool isCurrent(unsigned id) const { return transfer && transfer->id == id; }
    Transfer takeTransfer();
    void sendBatch();
    void endBroken();
    void tellBroken(const Transfer& broken, Notice notice);
    void endComplete();
    void finishTranslator(const Transfer& complete);

    PendingLoad& pendingLoad(int slotIndex) { return pendingLoads[static_cast<std::size_t>(slotIndex)]; }
    void slotLoadIsDue(int slotIndex);
    void loadDueSlots();
    std::optional<QString> takePendingLoad(int slotIndex);
    void dropPendingLoad(int slotIndex);
    void tellNotLoaded(int slotIndex, const QString& fileName, Notice notice);

    bool send(std::span<const std::uint8_t> packet) const { return sender && sender(packet); }
    bool writeLoadSlot(int slotIndex) const;
    bool clearComponent(int slotIndex, SlotComponent component);

    PacketSender sender;
    Timing times;
    std::optional<Transfer> transfer;
    unsigned lastTransferId = 0;
    QTimer batchTimer;
    std::array<PendingLoad, kMemorySlots> pendingLoads;
};

} // namespace Vantor
