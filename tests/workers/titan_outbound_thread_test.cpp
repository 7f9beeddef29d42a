#include "host/block_access.h"
#include "platform/clock.h"
#include "tests/workers/worker_fixture.h"
#include "workers/titan_outbound_thread.h"

#include <future>
#include <numeric>
#include <optional>
#include <thread>

namespace Vantor {
namespace {

using test::Adapter;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kOpenFailed[] = "error: Failed to open Titan Two device for output";

class OutboundThreadTest : public testing::Test {
protected:
    OutboundThreadTest() { makeOutbound(); }

    void makeOutbound() {
        outbound = std::make_unique<TitanOutboundThread>();
        auto* source = outbound.get();
        QObject::connect(source, &TitanOutboundThread::outboundStarted, &log, [this] { log.add("started"); });
        QObject::connect(source, &TitanOutboundThread::outboundStopped, &log, [this] { log.add("stopped"); });
        QObject::connect(source, &TitanOutboundThread::outboundError, &log,
                         [this](const QString& error) { log.add("error: " + error); });
        QObject::connect(source, &TitanOutboundThread::deviceDisconnected, &log,
                         [this] { log.add("disconnected"); });
        QObject::connect(source, &TitanOutboundThread::outboundPerformanceUpdate, &log, [this](int rate) {
            rates.push_back(rate);
            log.add("rate");
        });
        outbound->setMemoryBlocks(blocks.all());
        outbound->setDevicePath(Adapter::kPath);
    }
    void start() {
        outbound->prepareStart();
        outbound->start(QThread::HighestPriority);
    }
    void startAndAwaitReady() {
        start();
        while (!outbound->isReady() && !outbound->isFinished())
            std::this_thread::yield();
    }
    void stop() {
        test::SignalLog::deliver();
        outbound->stop();
    }
    /// Until a run that ends by itself is over.
    void awaitEnd() { EXPECT_TRUE(outbound->wait(test::kPatienceMs)); }

    void publish(std::size_t bytes, std::int64_t stampNs = 0) {
        std::vector<std::uint8_t> payload(bytes);
        std::iota(payload.begin(), payload.end(), std::uint8_t{1});
        EXPECT_TRUE(producer.writeData(payload.data(), payload.size(), stampNs));
    }
    /// Publishes one-packet frames, each after the one before was tried, until `count` writes have failed.
    void failWrites(std::uint64_t count) {
        const std::uint64_t before = adapter.statistics().write_failures;
        for (std::uint64_t i = 1; i <= count; ++i) {
            publish(1);
            adapter.await(VIRTUAL_ADAPTER_COUNT_WRITE_FAILURES, before + i);
        }
    }
    /// Whether a frame that is published now arrives.
    void expectFramesFlow() {
        const std::uint64_t before = adapter.statistics().writes;
        publish(1);
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, before + 1);
    }
    std::future<bool> submitElsewhere(const QByteArray& packet) {
        return std::async(std::launch::async, [this, packet] { return outbound->submitPacket(packet); });
    }

    Adapter adapter;
    test::Blocks blocks;
    test::Peer producer{blocks, BlockName::kCVData};
    test::SignalLog log;
    std::vector<int> rates;
    std::unique_ptr<TitanOutboundThread> outbound;
};

// ---- Frames ----

TEST_F(OutboundThreadTest, SendsEachFrameByteForByte) {
    startAndAwaitReady();
    std::uint64_t sent = 0;
    for (const std::size_t frameBytes : {256U, 1U, 60U, 61U, 120U, 255U}) {
        const std::size_t length = std::min<std::size_t>(frameBytes, 255);
        const std::size_t packets = (length + 59) / 60;
        publish(frameBytes);
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, sent + packets);

        const auto reports = adapter.received(sent);
        ASSERT_EQ(reports.size(), packets) << frameBytes << " bytes";
        for (std::size_t k = 0; k < packets; ++k) {
            OutputReport expected{0x00, 0x60, 0x00, static_cast<std::uint8_t>(length),
                                  static_cast<std::uint8_t>(k)};
            for (std::size_t i = 60 * k; i < std::min(length, 60 * (k + 1)); ++i)
                expected[5 + i - 60 * k] = static_cast<std::uint8_t>(i + 1);
            EXPECT_EQ(reports[k], expected) << frameBytes << " bytes, packet " << k;
        }
        sent += packets;
    }
    stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "stopped"));
}

// A producer that died inside a write leaves the state word at "being written" with its event set.
TEST_F(OutboundThreadTest, SendsNothingOfAFrameThatNeverGetsStable) {
    startAndAwaitReady();
    expectFramesFlow();
    std::byte* header = producer.getHeaderPointer();
    blockStore<std::int32_t>(header, BlockLayout::kStateOffset, 2, std::memory_order_relaxed);
    blockStore<std::int64_t>(header, BlockLayout::kSequenceOffset, 2, std::memory_order_release);
    auto event = platform::Event::shared(blocks.info(BlockName::kCVData).segmentName.toStdString() + ".event",
                                         header + BlockLayout::kEventWordOffset);
    ASSERT_TRUE(event.set());
    while (event.isSet()) // the thread resets it before it looks
        std::this_thread::yield();
    publish(2);
    adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, 2);
    stop();
    const auto reports = adapter.received();
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[1][3], 2) << "the frame behind the broken one";
}

TEST_F(OutboundThreadTest, SendsNoFrameTwiceAcrossRuns) {
    startAndAwaitReady();
    publish(1);
    adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, 1);
    stop();
    startAndAwaitReady();
    publish(2);
    adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, 2);
    stop();
    EXPECT_EQ(adapter.received().size(), 2U);
    EXPECT_EQ(adapter.received()[1][3], 2);
}

// ---- Figures ----

TEST_F(OutboundThreadTest, PublishesItsFiguresOnceASecond) {
    std::atomic<std::uint32_t> hz{77};
    std::atomic<double> latency{77};
    std::atomic<double> jitter{77};
    outbound->setCvDataHzSink(&hz);
    outbound->setLatencySink(&latency);
    start();
    log.waitFor("rate");
    log.take();
    EXPECT_EQ(hz.load(), 77U) << "one of the three sinks is missing";

    outbound->setJitterSink(&jitter);
    constexpr int kFrames = 20;
    constexpr std::int64_t kStaleNs = 3'000'000'000; // of an age that no delay of the machine can hide
    for (int i = 1; i <= kFrames; ++i) {
        publish(61, i % 2 == 0 ? 0 : platform::monotonicNowNs() - kStaleNs);
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, 2 * i);
    }
    log.waitFor("rate");
    stop();
    ASSERT_THAT(rates, ElementsAre(0, 2 * kFrames));
    EXPECT_EQ(hz.load(), static_cast<std::uint32_t>(kFrames));
    EXPECT_GE(latency.load(), 3000);
    EXPECT_LT(latency.load(), 4000);
    EXPECT_LT(jitter.load(), 1000);
}

// ---- Opening ----

TEST_F(OutboundThreadTest, SaysThatItCannotOpenTheAdapterAndCanBeStartedAgain) {
    for (const char* path : {"", "virtual/none", Adapter::kPath}) {
        outbound->setDevicePath(path);
        adapter.fail(VIRTUAL_ADAPTER_OPEN);
        start();
        log.waitFor(kOpenFailed);
        awaitEnd();
        EXPECT_FALSE(outbound->isRunning());
        EXPECT_FALSE(outbound->submitPacket("x"));
        stop(); // nothing to stop
        EXPECT_THAT(log.take(), ElementsAre("started", kOpenFailed)) << path;
    }
    startAndAwaitReady();
    expectFramesFlow();
    stop();
}

TEST_F(OutboundThreadTest, WithoutItsBlockStillWritesSubmittedPackets) {
    const MemoryBlockInfo missing{BlockName::kCVData, "vantor.test-none.CVData", 256};
    for (const QList<MemoryBlockInfo>& offered :
         {QList<MemoryBlockInfo>{}, QList<MemoryBlockInfo>{missing}}) {
        test::clearLog();
        outbound = std::make_unique<TitanOutboundThread>();
        outbound->setDevicePath(Adapter::kPath);
        outbound->setMemoryBlocks(offered);
        startAndAwaitReady();
        EXPECT_TRUE(test::hasWarning("\"CVData\""));
        EXPECT_TRUE(outbound->submitPacket("x"));
        stop();
    }
}

TEST_F(OutboundThreadTest, TakesBlocksOfferedDuringARunAtTheNextStart) {
    outbound = std::make_unique<TitanOutboundThread>();
    outbound->setDevicePath(Adapter::kPath);
    startAndAwaitReady();
    outbound->setMemoryBlocks(blocks.all());
    stop();
    startAndAwaitReady();
    expectFramesFlow();
    stop();
}

// ---- Failing writes ----

TEST_F(OutboundThreadTest, EndsAtTheHundredthFailedWriteInARow) {
    startAndAwaitReady();
    for (int round = 0; round < 2; ++round) { // one success in between makes the count start over
        adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, 99);
        failWrites(99);
        expectFramesFlow();
    }
    EXPECT_TRUE(outbound->isReady());

    adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, VIRTUAL_ADAPTER_FOREVER);
    failWrites(100);
    log.waitFor("disconnected");
    awaitEnd();
    EXPECT_FALSE(outbound->isRunning());
    EXPECT_FALSE(outbound->isReady());
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
    stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "disconnected"));

    adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, 0);
    startAndAwaitReady();
    expectFramesFlow();
    stop();
}

TEST_F(OutboundThreadTest, EndsWithinAFrameWhoseWritesFail) {
    adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, VIRTUAL_ADAPTER_FOREVER);
    startAndAwaitReady();
    failWrites(98);
    publish(256); // five packets, of which only two are tried
    awaitEnd();
    EXPECT_EQ(adapter.statistics().write_failures, 100U);
    log.waitFor("disconnected");
}

TEST_F(OutboundThreadTest, GoesOnWithAnAdapterThatComesBackElsewhere) {
    startAndAwaitReady();
    expectFramesFlow();
    ASSERT_EQ(virtual_adapter_unplug(adapter.number), 0);
    failWrites(100);
    log.waitFor("disconnected");
    start();
    log.waitFor(kOpenFailed);
    awaitEnd();

    ASSERT_EQ(virtual_adapter_replug(adapter.number, "virtual/second"), 0);
    outbound->setDevicePath("virtual/second");
    startAndAwaitReady();
    expectFramesFlow();
    stop();
}

// ---- Submitted packets ----

TEST_F(OutboundThreadTest, WritesSubmittedPackets) {
    EXPECT_FALSE(outbound->submitPacket("x")) << "not running";
    startAndAwaitReady();
    EXPECT_FALSE(outbound->submitPacket({}));
    EXPECT_FALSE(outbound->submitPacket(QByteArray(65, 'x')));
    EXPECT_TRUE(outbound->submitPacket(QByteArray(64, 'x')));
    EXPECT_TRUE(outbound->submitPacket(QByteArray::fromHex("a000")));
    adapter.fail(VIRTUAL_ADAPTER_WRITE);
    EXPECT_FALSE(outbound->submitPacket("y"));
    EXPECT_TRUE(outbound->submitPacket("z"));
    stop();
    EXPECT_FALSE(outbound->submitPacket("x")) << "stopped";

    OutputReport full;
    full.fill('x');
    full[0] = 0;
    EXPECT_THAT(adapter.received(), ElementsAre(full, OutputReport{0x00, 0xA0}, OutputReport{0x00, 'z'}));
}

TEST_F(OutboundThreadTest, RefusesASecondSubmissionWhileOneIsWritten) {
    startAndAwaitReady();
    adapter.stall(VIRTUAL_ADAPTER_WRITE);
    auto first = submitElsewhere("1");
    adapter.await(VIRTUAL_ADAPTER_COUNT_STALLED, 1);
    EXPECT_FALSE(outbound->submitPacket("2"));
    adapter.release();
    EXPECT_TRUE(first.get());
    stop();
}

TEST_F(OutboundThreadTest, AnswersASubmissionThatWaitsWhenTheRunEnds) {
    startAndAwaitReady();
    adapter.stall(VIRTUAL_ADAPTER_WRITE);
    publish(1);
    adapter.await(VIRTUAL_ADAPTER_COUNT_STALLED, 1);
    auto waiting = submitElsewhere("x"); // the thread is inside a frame's write
    std::thread releaser([this] {
        while (outbound->isReady()) // until stop() is under way
            std::this_thread::yield();
        adapter.release();
    });
    stop();
    releaser.join();
    EXPECT_FALSE(waiting.get());
    EXPECT_EQ(adapter.received().size(), 1U);
}

// Submitters at full speed while runs come and go: each is answered, and truthfully.
TEST_F(OutboundThreadTest, AnswersEverySubmissionThroughManyRuns) {
    std::atomic<bool> isOver{false};
    std::atomic<std::uint64_t> confirmed{0};
    std::thread submitter([&] {
        while (!isOver.load()) {
            if (outbound->submitPacket("x"))
                confirmed.fetch_add(1);
        }
    });
    for (int run = 0; run < 30; ++run) {
        const std::uint64_t before = adapter.statistics().writes;
        startAndAwaitReady();
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, before + 1);
        stop();
    }
    isOver.store(true);
    submitter.join();
    EXPECT_EQ(confirmed.load(), adapter.statistics().writes);
}

// ---- Stopping and destruction ----

TEST_F(OutboundThreadTest, StopRightBehindStartIsNotLost) {
    stop();
    EXPECT_THAT(log.take(), IsEmpty()) << "never started";
    for (int i = 0; i < 50; ++i) {
        start();
        stop();
        EXPECT_FALSE(outbound->isRunning());
        EXPECT_FALSE(outbound->isReady());
    }
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
    const auto signalled = log.take();
    EXPECT_EQ(std::count(signalled.begin(), signalled.end(), "stopped"), 50);
    startAndAwaitReady();
    expectFramesFlow();
    stop();
    stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "stopped"));
}

TEST_F(OutboundThreadTest, PreparingARunThatIsUnderWayChangesNothing) {
    startAndAwaitReady();
    outbound->prepareStart();
    EXPECT_TRUE(outbound->isReady());
    stop();
}

TEST_F(OutboundThreadTest, CanBeDestroyedAtEveryStage) {
    outbound.reset(); // never started
    makeOutbound();
    start();
    outbound.reset(); // about to begin
    makeOutbound();
    startAndAwaitReady();
    expectFramesFlow();
    outbound.reset(); // running
    log.take();

    makeOutbound();
    outbound->setDevicePath({});
    start();
    awaitEnd();
    outbound.reset(); // ended by itself, its error still posted
    const auto signalled = log.take();
    EXPECT_EQ(std::count(signalled.begin(), signalled.end(), kOpenFailed), 0);
}

} // namespace
} // namespace Vantor
