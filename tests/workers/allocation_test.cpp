// The worker threads' loops ask for no memory: counted over 10,000 frames, 10,000 complete controller states
// of each kind and 10,000 records of each captured device, through the real threads and the simulated
// adapter. The watching thread itself is not counted.

#include "tests/workers/allocation_counter.h"
#include "tests/workers/controller_reports.h"
#include "tests/workers/worker_fixture.h"
#include "workers/ferry_link_thread.h"
#include "workers/kmg_capture_thread.h"
#include "workers/titan_outbound_thread.h"

#include <thread>

namespace Vantor {
namespace {

using test::Adapter;

constexpr std::uint64_t kRounds = 10'000;

// The check itself can fail: what another thread allocates is seen, by either door.
TEST(AllocationCounter, SeesOtherThreadsAllocate) {
    std::atomic<int> step{0};
    std::thread other([&step] {
        while (step.load() == 0)
            std::this_thread::yield();
        const auto number = std::make_unique<int>(1);
        const QByteArray text(100, 'x');
        step.store(*number + text.size());
    });
    test::startCounting();
    step.store(1);
    other.join();
    EXPECT_GE(test::stopCounting(), 2U);
    EXPECT_EQ(step.load(), 101);
}

TEST(Allocation, NoneForAFrame) {
    const Adapter adapter;
    const test::Blocks blocks;
    test::Peer producer(blocks, BlockName::kCVData);
    test::SignalLog log;
    TitanOutboundThread outbound;
    int publications = 0;
    QObject::connect(&outbound, &TitanOutboundThread::outboundPerformanceUpdate, &log, [&] {
        ++publications;
        log.add("rate");
    });
    outbound.setMemoryBlocks(blocks.all());
    outbound.setDevicePath(Adapter::kPath);
    outbound.prepareStart();
    outbound.start();

    // Once a second the thread posts its packet rate, and posting allocates. What one costs is counted first,
    // in a second without a frame; the frames are then held against exactly as many as were posted.
    log.waitFor("rate");
    log.take();
    test::startCounting();
    log.waitFor("rate");
    const std::uint64_t perPublication = test::stopCounting();
    EXPECT_GT(perPublication, 0U);

    publications = 0;
    const std::vector<std::uint8_t> payload(256, 0x5A);
    test::startCounting();
    for (std::uint64_t frame = 1; frame <= kRounds; ++frame) {
        ASSERT_TRUE(producer.writeData(payload.data(), payload.size()));
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, 5 * frame);
        test::SignalLog::deliver(); // or the queue of posted events would grow
    }
    const std::uint64_t counted = test::stopCounting();
    EXPECT_LE(counted, static_cast<std::uint64_t>(publications) * perPublication)
        << publications << " publications of " << perPublication << " allocations each";
    EXPECT_LT(publications, 60) << "the allowance says nothing on a machine this slow";
    outbound.stop();
}

TEST(Allocation, NoneForAControllerState) {
    const Adapter adapter;
    const test::Blocks blocks;
    FerryLinkThread bridge;
    std::atomic<std::uint32_t> inputRate{0};
    std::atomic<std::uint32_t> stateRate{0};
    bridge.setInputRateSink(&inputRate);
    bridge.setStateRateSink(&stateRate);
    bridge.setMemoryBlocks(blocks.all());
    bridge.setDevicePath(Adapter::kPath);

    // The status reports behind the initialisation do allocate; the listing is the last of them to be
    // announced.
    test::SignalLog log;
    QObject::connect(&bridge, &FerryLinkThread::scriptInfoReceived, &log, [&log] { log.add("scripts"); });
    virtual_adapter_set_rates(adapter.number, 250, 250);
    bridge.prepareStart();
    bridge.start();
    log.waitFor("scripts");
    virtual_adapter_set_rates(adapter.number, 0, 0);
    adapter.awaitReads(2);

    std::uint64_t read = adapter.statistics().reads;
    std::vector<std::vector<std::uint8_t>> reports;
    for (const std::uint8_t type : {0x13, 0x14}) {
        for (int index = 0; index < 3; ++index)
            reports.push_back(test::part(type, index, {.firstButton = 50, .firstAxis = 50}));
    }
    test::startCounting();
    for (std::uint64_t round = 0; round < kRounds; ++round) {
        for (const auto& report : reports)
            adapter.inject(report);
        read += reports.size();
        adapter.await(VIRTUAL_ADAPTER_COUNT_READS, read);
    }
    // Each state carries its time, so each was written.
    EXPECT_EQ(test::stopCounting(), 0U);
    test::Peer input(blocks, BlockName::kControllerInput);
    EXPECT_GE(input.sequence(), static_cast<std::int64_t>(kRounds));
    bridge.stop();
}

TEST(Allocation, NoneForCapturedInput) {
    const Adapter adapter;
    const test::Blocks blocks;
    test::Peer keyboardBlock(blocks, BlockName::kKeyboardRawInput);
    test::Peer mouseBlock(blocks, BlockName::kMouseRawInput);
    test::Peer controllerBlock(blocks, BlockName::kControllerOutput);
    std::atomic<std::uint32_t> hz{0};
    test::SignalLog log;
    KMGCaptureThread capture;
    QObject::connect(&capture, &KMGCaptureThread::captureStarted, &log, [&log] { log.add("started"); });
    capture.setMemoryBlocks(blocks.all());
    capture.setDevicePath(Adapter::kPath);
    capture.setCapture(true, true, true);
    capture.setMouseHzSink(&hz);
    capture.prepareStart();
    capture.start();
    log.waitFor("started");

    std::uint64_t written = adapter.statistics().writes;
    KeyboardData keyboard;
    MouseData mouse;
    ControllerData controller;
    const auto publish = [&](test::Peer& block, const auto& record) {
        ASSERT_TRUE(block.writeData(&record, sizeof record));
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, ++written);
    };
    test::startCounting();
    for (std::uint64_t round = 0; round < kRounds; ++round) {
        keyboard.keys[0x41] ^= 1;
        mouse.motionX = 1;
        controller.axes[0] = round % 2 == 0 ? 100.0F : -100.0F;
        publish(keyboardBlock, keyboard);
        publish(mouseBlock, mouse);
        publish(controllerBlock, controller);
    }
    EXPECT_EQ(test::stopCounting(), 0U);
    capture.stop();
}

} // namespace
} // namespace Vantor
