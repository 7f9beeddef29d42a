// The simulated adapter under a program that means harm: operations, each one byte and what it takes. After
// every operation the input reports that are due are fetched, as a front end would.

#include "fuzz/target.h"
#include "simulator/adapter_model.h"

namespace Vantor::fuzz {

namespace {

enum Operation : std::uint8_t { kReport, kAnyReport, kReportWithId, kWait, kRates, kPowerOff, kOperations };

constexpr std::int64_t kMillisecondNs = 1'000'000;
/// Bounds one input's work.
constexpr int kMaxReportsFetched = 16;

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
        default:
            return model.powerOff();
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
    simulator::AdapterModel model;
    std::int64_t nowNs = 0;
    std::uint64_t sent = 0;
};

} // namespace

void takeInput(Bytes input) {
    Session(input).run();
}

} // namespace Vantor::fuzz
