// The simulated adapter under a program that means harm: operations, each one byte and what it takes. After
// every operation the input reports that are due are fetched, as a front end would.

#include "device/transfers.h"
#include "fuzz/target.h"
#include "simulator/adapter_model.h"

#include <array>
#include <memory>

namespace Vantor::fuzz {

namespace {

enum Operation : std::uint8_t {
    kReport,
    kAnyReport,
    kReportWithId,
    kWait,
    kRates,
    kPowerOff,
    kTransferScript,
    kTransferTranslator,
    kAtTheAdapter,
    kOperations
};

constexpr std::int64_t kMillisecondNs = 1'000'000;
/// Bounds one input's work.
constexpr int kMaxReportsFetched = 16;

struct Demolition {
    void operator()(simulator::AdapterModel* adapter) const { std::destroy_at(adapter); }
};
using OwnedAdapter = std::unique_ptr<simulator::AdapterModel, Demolition>;

/// A new adapter, always in the same place, so that there is one at a time. It is so large that the allocator
/// would take its memory from the system, and give it back, for every input.
OwnedAdapter newAdapter() {
    alignas(simulator::AdapterModel) static std::array<std::byte, sizeof(simulator::AdapterModel)> place;
    return OwnedAdapter(new (place.data()) simulator::AdapterModel);
}

class Session {
public:
    explicit Session(Bytes input) : reader(input) {}

    void run() {
        while (!reader.atEnd()) {
            operate();
            fetch();
        }
        const simulator::AdapterStatistics& counts = model.statistics();
        check(counts.reportsReceived == sent, "every report is counted");
        check(counts.reportsSinceStop <= sent, "no more reports behind a stop than there were");
        for (std::size_t i = 0; i < simulator::AdapterModel::kErrorTexts; ++i)
            check(model.errorText(i).empty() == (counts.errors <= i), "the first errors are in words");
    }

private:
    void operate() {
        switch (reader.number<std::uint8_t>() % kOperations) {
        case kReport:
            return sendWhole();
        case kAnyReport:
            ++sent;
            return model.receive(reader.takePiece(), nowNs);
        case kReportWithId:
            ++sent;
            return model.receiveWithId(reader.takePiece(), nowNs);
        case kWait:
            nowNs += reader.number<std::uint8_t>() * kMillisecondNs;
            return;
        case kRates: {
            const auto inputHz = reader.number<std::uint16_t>();
            return model.setStreamRates(inputHz, reader.number<std::uint16_t>(), nowNs);
        }
        case kPowerOff:
            return model.powerOff();
        case kTransferScript:
            return transfer(simulator::SlotPart::script);
        case kTransferTranslator:
            return transfer(simulator::SlotPart::translator);
        default:
            return touch();
        }
    }

    /// As a program sends a file: what passes its checks is kept by the adapter, byte for byte.
    void transfer(simulator::SlotPart part) {
        const unsigned slot = reader.number<std::uint8_t>() % 10;
        const Bytes file = reader.takePiece();
        const bool isScript = part == simulator::SlotPart::script;
        const int slotIndex = static_cast<int>(slot) - 1;
        const TransferPlan plan =
            isScript ? bytecodeTransfer(slotIndex, file) : inputTranslatorTransfer(slotIndex, file);
        check(plan.packets.empty() != plan.error.empty(), "packets or a reason, never both or none");
        for (const Packet& packet : plan.packets) {
            ++sent;
            model.receive(packet, nowNs);
        }
        if (!plan.packets.empty() && !file.empty())
            check(std::ranges::equal(model.memorySlots().file(slot, part), file), "what can be sent is kept");
    }

    /// What a person does at the adapter itself.
    void touch() {
        const auto what = reader.number<std::uint8_t>();
        const unsigned slot = reader.number<std::uint8_t>() % 11;
        if (what % 3 == 0) {
            model.loadSlot(slot, nowNs);
            check(model.loadedSlot() <= simulator::kMemorySlots, "a loaded slot is one of nine, or none");
        } else if (what % 3 == 1) {
            model.setOutputProtocol(what);
        } else {
            const auto part = what < 128 ? simulator::SlotPart::script : simulator::SlotPart::translator;
            model.setSlotFile(slot, part, reader.takePiece(), nowNs);
        }
    }

    /// A piece, filled up with zeros to a report, since nearly all reports end like that.
    void sendWhole() {
        simulator::Report report{};
        const Bytes piece = reader.takePiece();
        std::copy_n(piece.begin(), std::min(piece.size(), report.size()), report.begin());
        ++sent;
        model.receive(report, nowNs);
    }

    void fetch() {
        simulator::Report report{};
        for (int i = 0; i < kMaxReportsFetched; ++i) {
            const bool isDue = model.nextDueNs() <= nowNs;
            check(model.nextInputReport(nowNs, report) == isDue,
                  "a report comes when it is due, and only then");
            if (!isDue)
                return;
        }
    }

    InputReader reader;
    const OwnedAdapter owned = newAdapter();
    simulator::AdapterModel& model = *owned;
    std::int64_t nowNs = 0;
    std::uint64_t sent = 0;
};

} // namespace

void takeInput(Bytes input) {
    Session(input).run();
}

} // namespace Vantor::fuzz
