// Recognises the adapter's status reports among everything that it sends and turns them into signals.
// Entry point: parse(). Controller states pass through it without effect and without allocation.
// Lives in, and emits from, the thread that reads the adapter.

#pragma once

#include "device/fragment_store.h"
#include "device/slot_listing.h"
#include "device/titan_script_info.h"

#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vantor {

class TitanScriptInfoParser : public QObject {
    Q_OBJECT

public:
    /// How long after its last part a slot listing is taken as complete.
    static constexpr std::int64_t kListingQuietNs = 51'000'000;
    /// A listing numbers its parts by one byte; what a faulty adapter sends beyond is not kept.
    static constexpr std::size_t kMaxListingParts = 256;

    explicit TitanScriptInfoParser(QObject* parent = nullptr);

    /// Takes one input report: `length` bytes as a read returned them, at most 65 of which are looked at. A
    /// null report or a length below 1 is no report. Uses the steady clock.
    void parse(const std::uint8_t* report, int length);
    /// The same with the time given, in nanoseconds of a monotonic clock.
    void parse(const std::uint8_t* report, int length, std::int64_t nowNs);

    /// Whether parse() would do nothing with that report, because it belongs to a controller state as nearly
    /// all do. Inline, to be asked first for each report.
    bool ignores(const std::uint8_t* report, int length) const noexcept {
        // The end of a listing is noticed by whatever report comes behind it.
        return !collecting && report != nullptr && length > 0 && beginsControllerState(report[0]);
    }

signals:
    // The order is part of the interface: it fixes the methods' indices.
    void scriptInfoUpdated(const QList<TitanScriptInfo>& scripts);
    void loadedSlotChanged(int slot);
    void usbPortInfoUpdated(const TitanUsbPortInfo& info);
    void outputProtocolReceived(int protocolValue);
    void firmwareVersionReceived(const QString& version);

private:
    bool parseStatus(const std::uint8_t* report, int length);
    void collect(const std::uint8_t* report, int length, std::int64_t nowNs);
    void publishCompleteListing(std::int64_t nowNs);

    std::vector<SlotListingPart> parts; ///< its storage is reserved once, at construction
    std::int64_t lastPartNs = 0;
    bool collecting = false;
};

} // namespace Vantor
