// How long a complete controller state takes, from its three reports to the record in shared memory, as a
// ratio to code that does only what cannot be left out: three copies, decode, compare, copy. Once with a
// plain copy, which no reader could trust and of which none would hear, and once with the copy and the event
// that a block asks of its writer. Every state differs from the one before, so that each is published.

#include "bench/comparison.h"
#include "device/controller_state_decoder.h"
#include "host/block_access.h"
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "workers/controller_record.h"
#include "workers/report_processor.h"

#include <QCoreApplication>

#include <array>
#include <atomic>
#include <cstring>
#include <optional>
#include <vector>

namespace {

using namespace Vantor;

constexpr int kSamples = 20'000;
constexpr int kWarmUp = 1000;
constexpr int kStatesPerSample = 16; // one alone is about as short as reading the clock
constexpr int kReportBytes = 64;
constexpr double kGoal = 1.1;

using Report = std::array<std::uint8_t, kReportBytes>;
using State = std::array<Report, kStateParts>;

/// States whose values all change from one to the next.
std::vector<State> makeStates() {
    std::vector<State> states(kStatesPerSample);
    for (std::size_t s = 0; s < states.size(); ++s) {
        for (std::size_t k = 0; k < kStateParts; ++k) {
            Report& report = states[s][k];
            report = {0x14, 0x00, 0xAC, static_cast<std::uint8_t>(k)};
            for (std::size_t i = 4; i + 4 <= report.size(); i += 4) {
                report[i + 1] = static_cast<std::uint8_t>((7 * s + i) % 100);
                report[i + 2] = static_cast<std::uint8_t>(s);
            }
        }
    }
    return states;
}

/// Our way, in full: parser, fragment store, decoder, conversion, comparison, publication.
class Ours {
public:
    explicit Ours(const QList<MemoryBlockInfo>& blocks) {
        for (const MemoryBlockInfo& block : blocks) {
            input.offer(block);
            output.offer(block);
        }
        input.connect();
        output.connect();
    }
    void take(const State& state) {
        for (const Report& report : state)
            processor.process(report.data(), kReportBytes);
    }

private:
    ControllerBlock input{BlockName::kControllerInput};
    ControllerBlock output{BlockName::kControllerReport};
    std::atomic<bool> forward{true};
    std::atomic<bool> connected{true};
    ReportProcessor processor{ReportTargets{input, output, forward, connected}};
};

void copyPlainly(SharedMemoryAccessor& block, const ControllerData& record) {
    std::memcpy(block.getHeaderPointer() + BlockLayout::kHeaderBytes, &record, sizeof record);
}

/// The event stays set, as ours does while nobody waits.
void publishToReaders(SharedMemoryAccessor& block, const ControllerData& record) {
    static platform::Event event;
    writeRecord(block.getHeaderPointer(), &record, sizeof record,
                static_cast<std::int64_t>(record.timestampNs));
    event.set();
}

/// The unavoidable, into a block's data area of its own.
template<void (*publish)(SharedMemoryAccessor&, const ControllerData&)>
class Bare {
public:
    explicit Bare(const MemoryBlockInfo& block) : accessor(block) {
        if (!accessor.connect())
            qFatal("%s", qPrintable(accessor.errorString()));
        target = accessor.getHeaderPointer() + BlockLayout::kHeaderBytes;
    }
    void take(const State& state) {
        for (std::size_t k = 0; k < kStateParts; ++k) {
            std::memcpy(staging.data() + k * kInputReportBytes, state[k].data(), kReportBytes);
            lengths[k] = kReportBytes;
        }
        decodeControllerState(layout, staging, lengths, decoded);
        const ControllerData record =
            makeControllerData(decoded, static_cast<std::uint64_t>(platform::monotonicNowNs()), true);
        const auto* bytes = reinterpret_cast<const std::byte*>(&record);
        if (std::memcmp(target, bytes, sizeof record) != 0)
            publish(accessor, record);
    }

private:
    SharedMemoryAccessor accessor;
    std::byte* target = nullptr;
    StagedState staging{};
    PartLengths lengths{};
    DecoderLayout layout;
    DecodedState decoded;
};

template<class Side>
std::int64_t timed(Side& side, const std::vector<State>& states) {
    const std::int64_t start = platform::monotonicNowNs();
    for (const State& state : states)
        side.take(state);
    return (platform::monotonicNowNs() - start) / kStatesPerSample;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    MemoryBlockHost host;
    if (!host.create(standardBlocks(QStringLiteral("bench-%1").arg(QCoreApplication::applicationPid()))))
        qFatal("%s", qPrintable(host.errorString()));
    Ours ours(host.blocks());
    // Into blocks that our side is never given a state for.
    Bare<copyPlainly> plain(host.blocks().at(0));
    Bare<publishToReaders> published(host.blocks().at(1));
    const std::vector<State> states = makeStates();
    const auto compare = [&](const char* baseline, auto& bare) {
        bench::print(
            "controller state: three reports to published record", baseline, kGoal,
            bench::inTurns(
                kWarmUp, kSamples, [&] { return timed(ours, states); }, [&] { return timed(bare, states); }));
    };
    compare("three copies, decode, compare, copy", plain);
    compare("the same, copied for readers, with event", published);
    return 0;
}
