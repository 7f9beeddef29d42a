// How long a frame takes from its publication to its last report, through the outbound thread, as a ratio to
// a thread that does nothing but wait for the event, copy the payload and write the reports. Both sides take
// turns within one run, so that what else the machine does strikes both alike.

#include "bench/comparison.h"
#include "bench/null_hidapi.h"
#include "host/memory_block_host.h"
#include "host/records.h"
#include "host/shared_memory_accessor.h"
#include "platform/clock.h"
#include "platform/thread_priority.h"
#include "workers/titan_outbound_thread.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace {

using namespace Vantor;
using Vantor::bench::sink;

constexpr int kSamples = 4000;
constexpr int kWarmUp = 200;
constexpr double kGoal = 1.1;
constexpr std::int64_t kFrameTimeoutNs = 10'000'000'000;

/// A CVData block with a producer attached, and the sink that its frames end in.
class Side {
public:
    Side(const char* name, int sinkIndex) : device(sink(sinkIndex)) {
        const QString instance =
            QStringLiteral("bench-%1-%2").arg(QLatin1String(name)).arg(QCoreApplication::applicationPid());
        if (!host.create(standardBlocks(instance)))
            qFatal("%s", qPrintable(host.errorString()));
        for (const MemoryBlockInfo& block : host.blocks()) {
            if (block.name == QLatin1String(BlockName::kCVData))
                producer.emplace(block);
        }
        if (!producer || !producer->connect())
            qFatal("no CVData block");
    }

    /// Nanoseconds from before the publication to behind the last write.
    std::int64_t sendFrame(const std::vector<std::uint8_t>& payload, int packets) {
        device.expectedWrites = packets;
        device.lastNs.store(0);
        const std::int64_t start = platform::monotonicNowNs();
        producer->writeData(payload.data(), payload.size(), start);
        // The producer stays awake, as one that prepares its next frame does. Were it to sleep, the scheduler
        // would put the worker now on its processor and now on the other, which are two different
        // measurements.
        std::int64_t last = 0;
        while ((last = device.lastNs.load(std::memory_order_acquire)) == 0) {
            if (platform::monotonicNowNs() - start > kFrameTimeoutNs)
                qFatal("a frame of %zu bytes did not come through", payload.size());
            std::this_thread::yield();
        }
        return last - start;
    }

    MemoryBlockHost host;
    std::optional<SharedMemoryAccessor> producer;
    hid_device& device;
};

/// Wait, copy, write: no check, no statistics, nothing else to do.
class BareThread {
public:
    explicit BareThread(Side& servedSide) : side(servedSide), thread([this] { run(); }) {}
    ~BareThread() {
        stop.set();
        thread.join();
    }
    BareThread(const BareThread&) = delete;
    BareThread& operator=(const BareThread&) = delete;

private:
    void run() {
        platform::raiseCurrentThreadPriority();
        SharedMemoryAccessor& block = *side.producer;
        const std::array<platform::EventHandle, 2> events{stop.handle(), block.getEventHandle()};
        while (platform::waitAny(events, platform::kWaitForever).index == 1) {
            block.resetEvent();
            const std::byte* header = block.getHeaderPointer();
            std::uint32_t length = 0;
            std::memcpy(&length, header + BlockLayout::kPayloadLengthOffset, sizeof length);
            std::array<std::uint8_t, kMaxFrameBytes> payload;
            std::memcpy(payload.data(), header + BlockLayout::kHeaderBytes, length);
            write(payload.data(), std::min<std::size_t>(length, 255));
        }
    }
    void write(const std::uint8_t* payload, std::size_t length) {
        std::array<std::uint8_t, 65> report{};
        for (std::size_t start = 0; start < length; start += 60) {
            report[1] = 0x60;
            report[3] = static_cast<std::uint8_t>(length);
            report[4] = static_cast<std::uint8_t>(start / 60);
            const std::size_t bytes = std::min<std::size_t>(60, length - start);
            std::memcpy(report.data() + 5, payload + start, bytes);
            std::memset(report.data() + 5 + bytes, 0, 60 - bytes);
            hid_write(&side.device, report.data(), report.size());
        }
    }

    Side& side;
    platform::Event stop;
    std::thread thread;
};

void measure(Side& ours, Side& bare, int packets) {
    const std::vector<std::uint8_t> payload(static_cast<std::size_t>(std::min(packets * 60, 256)), 0x5A);
    const auto frame = [&](Side& side) { return [&] { return side.sendFrame(payload, packets); }; };
    bench::print("frame: event to last of " + std::to_string(packets) + " reports", "wait, copy, write",
                 kGoal, bench::inTurns(kWarmUp, kSamples, frame(ours), frame(bare)));
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    Side ours("ours", 0);
    Side bare("bare", 1);

    TitanOutboundThread outbound;
    outbound.setMemoryBlocks(ours.host.blocks());
    outbound.setDevicePath(QStringLiteral("0"));
    outbound.prepareStart();
    outbound.start(QThread::HighestPriority);
    const BareThread baseline(bare);

    for (int packets = 1; packets <= 5; ++packets)
        measure(ours, bare, packets);
    outbound.stop();
    return 0;
}
