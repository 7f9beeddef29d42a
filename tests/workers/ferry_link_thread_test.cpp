#include "tests/workers/controller_reports.h"
#include "tests/workers/worker_fixture.h"
#include "workers/ferry_link_thread.h"

#include <thread>

namespace Vantor {
namespace {

using test::Adapter;
using test::part;
using test::Parts;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kOpenFailed[] = "error: Failed to open Titan Two device";
constexpr char kPhaseOneFailed[] = "error: Failed to initialize Titan Two device";
constexpr char kPhaseTwoFailed[] = "error: Failed to complete initialization sequence";

class BridgeThreadTest : public testing::Test {
protected:
    BridgeThreadTest() { makeBridge(); }

    void makeBridge() {
        bridge = std::make_unique<FerryLinkThread>();
        auto* source = bridge.get();
        QObject::connect(source, &FerryLinkThread::bridgeStarted, &log, [this] { log.add("started"); });
        QObject::connect(source, &FerryLinkThread::bridgeStopped, &log, [this] { log.add("stopped"); });
        QObject::connect(source, &FerryLinkThread::bridgeError, &log,
                         [this](const QString& error) { log.add("error: " + error); });
        QObject::connect(source, &FerryLinkThread::connectionStatusChanged, &log,
                         [this](bool connected) { log.add(connected ? "connected" : "closed"); });
        QObject::connect(source, &FerryLinkThread::deviceDisconnected, &log,
                         [this] { log.add("disconnected"); });
        bridge->setMemoryBlocks(blocks.all());
        bridge->setDevicePath(Adapter::kPath);
    }
    void start() {
        bridge->prepareStart();
        bridge->start(QThread::HighestPriority);
    }
    void startAndAwaitReading() {
        const auto before = adapter.statistics().initialisations;
        start();
        adapter.await(VIRTUAL_ADAPTER_COUNT_INITIALISATIONS, before + 1);
        adapter.awaitTimeOut();
    }
    void stop() {
        test::SignalLog::deliver();
        bridge->stop();
    }
    /// Until a run that ends by itself is over.
    void awaitEnd() { EXPECT_TRUE(bridge->wait(test::kPatienceMs)); }

    void injectState(std::uint8_t type, const Parts& parts, const std::vector<int>& order = {0, 1, 2}) {
        for (const int index : order)
            adapter.inject(part(type, index, parts));
    }
    /// Until `block` holds a record behind the given one.
    static void awaitRecord(test::Peer& block, std::int64_t before) {
        const std::array<platform::EventHandle, 1> event{block.getEventHandle()};
        do {
            ASSERT_EQ(platform::waitAny(event, test::kPatienceMs).kind,
                      platform::WaitResult::Kind::signalled);
            block.resetEvent();
        } while (block.sequence() == before);
    }
    void expectAtRest() {
        const ControllerData rest;
        for (const test::Peer* block : {&input, &output})
            EXPECT_EQ(std::memcmp(block->getDataPointer(), &rest, sizeof rest), 0);
    }

    Adapter adapter;
    test::Blocks blocks;
    test::Peer input{blocks, BlockName::kControllerInput};
    test::Peer output{blocks, BlockName::kControllerReport};
    test::SignalLog log;
    std::unique_ptr<FerryLinkThread> bridge;
};

// ---- Opening and initialisation ----

TEST_F(BridgeThreadTest, InitialisesTheAdapterAndLeavesItClosed) {
    startAndAwaitReading();
    EXPECT_TRUE(bridge->isRunning());
    EXPECT_TRUE(bridge->isConnected());
    stop();
    EXPECT_FALSE(bridge->isRunning());
    EXPECT_FALSE(bridge->isConnected());
    EXPECT_THAT(log.take(), ElementsAre("started", "connected", "stopped", "closed"));

    const auto statistics = adapter.statistics(); // the adapter knows the packets from tables of its own
    EXPECT_EQ(statistics.errors, 0U);
    EXPECT_EQ(statistics.initialisations, 1U);
    EXPECT_EQ(statistics.closing_packets, 1U);
    EXPECT_EQ(statistics.reports_since_stop, 0U);
    EXPECT_EQ(statistics.writes, 6U);
    EXPECT_EQ(statistics.open_handles, 0U);

    std::array<std::int64_t, 6> times{};
    OutputReport report{};
    for (std::size_t i = 0; i < times.size(); ++i)
        virtual_adapter_captured(adapter.number, i, report.data(), report.size(), &times[i]);
    for (std::size_t i = 1; i < times.size(); ++i)
        EXPECT_GE(times[i] - times[i - 1], 5'000'000) << "no pause behind packet " << i;
}

TEST_F(BridgeThreadTest, SaysThatItCannotOpenTheAdapterAndCanBeStartedAgain) {
    struct OpenCase {
        const char* name;
        const char* path;
        const char* serial;
        unsigned failingOpens;
    };
    for (const OpenCase& wanted :
         {OpenCase{"empty path", "", "", 0}, OpenCase{"no such path", "virtual/none", "", 0},
          OpenCase{"open fails", Adapter::kPath, "", 1},
          OpenCase{"other serial", Adapter::kPath, "2508-0002", 0},
          OpenCase{"longer serial", Adapter::kPath, "2508-00012", 0}}) {
        bridge->setDevicePath(wanted.path);
        bridge->setDeviceSerial(wanted.serial);
        adapter.fail(VIRTUAL_ADAPTER_OPEN, 1, wanted.failingOpens);
        start();
        log.waitFor(kOpenFailed);
        awaitEnd();
        EXPECT_FALSE(bridge->isRunning());
        EXPECT_FALSE(bridge->isConnected());
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
        stop(); // nothing to stop
        EXPECT_THAT(log.take(), ElementsAre("started", kOpenFailed)) << wanted.name;
    }
    EXPECT_EQ(adapter.statistics().writes, 0U);

    bridge->setDeviceSerial({});
    startAndAwaitReading();
    stop();
}

TEST_F(BridgeThreadTest, AcceptsAnAdapterOfThatSerialOrOneThatCannotTell) {
    bridge->setDeviceSerial(Adapter::kSerial);
    startAndAwaitReading();
    stop();

    bridge->setDeviceSerial("another");
    adapter.fail(VIRTUAL_ADAPTER_SERIAL);
    startAndAwaitReading();
    stop();
    EXPECT_EQ(adapter.statistics().closing_packets, 2U);
}

class BridgeInitialisation : public BridgeThreadTest, public testing::WithParamInterface<unsigned> {};

TEST_P(BridgeInitialisation, EndsAtThePacketThatFails) {
    const unsigned failing = GetParam();
    const char* error = failing <= 2 ? kPhaseOneFailed : kPhaseTwoFailed;
    adapter.fail(VIRTUAL_ADAPTER_WRITE, failing);
    start();
    log.waitFor(error);
    awaitEnd();
    EXPECT_EQ(adapter.statistics().writes, failing - 1) << "nothing follows the failed packet";
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
    EXPECT_FALSE(bridge->isRunning());
    EXPECT_TRUE(bridge->isConnected()) << "stays set on this path";
    expectAtRest();
    stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "connected", error));

    startAndAwaitReading();
    stop();
    EXPECT_FALSE(bridge->isConnected());
}

INSTANTIATE_TEST_SUITE_P(Packets, BridgeInitialisation, testing::Range(1U, 6U));

// ---- Failing reads ----

TEST_F(BridgeThreadTest, EndsAtTheHundredthFailedReadInARow) {
    startAndAwaitReading();
    for (int round = 0; round < 2; ++round) { // a report in between makes the count start over
        const auto failed = adapter.statistics().read_failures;
        adapter.fail(VIRTUAL_ADAPTER_READ, 1, 99);
        adapter.await(VIRTUAL_ADAPTER_COUNT_READ_FAILURES, failed + 99);
        const auto read = adapter.statistics().reads;
        adapter.inject({0x7F});
        adapter.await(VIRTUAL_ADAPTER_COUNT_READS, read + 1);
    }
    EXPECT_TRUE(bridge->isRunning());
    EXPECT_THAT(log.take(), ElementsAre("started", "connected"));

    adapter.fail(VIRTUAL_ADAPTER_READ, 1, 100);
    log.waitFor("disconnected");
    awaitEnd();
    EXPECT_EQ(adapter.statistics().closing_packets, 1U);
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
    EXPECT_FALSE(bridge->isRunning());
    EXPECT_FALSE(bridge->isConnected());
    stop();
    EXPECT_THAT(log.take(), ElementsAre("disconnected", "closed"));

    startAndAwaitReading();
    stop();
}

TEST_F(BridgeThreadTest, ATimeOutDoesNotMakeTheFailuresStartOver) {
    startAndAwaitReading();
    adapter.fail(VIRTUAL_ADAPTER_READ, 1, 99);
    adapter.await(VIRTUAL_ADAPTER_COUNT_READ_FAILURES, 99);
    adapter.awaitTimeOut();
    adapter.fail(VIRTUAL_ADAPTER_READ, 1, 1);
    log.waitFor("disconnected");
    awaitEnd();
    EXPECT_EQ(adapter.statistics().read_failures, 100U);
}

TEST_F(BridgeThreadTest, GoesOnWithAnAdapterThatComesBackElsewhere) {
    startAndAwaitReading();
    virtual_adapter_set_rates(adapter.number, 1000, 1000);
    awaitRecord(input, 0);
    ASSERT_EQ(virtual_adapter_unplug(adapter.number), 0);
    log.waitFor("disconnected");
    awaitEnd();
    expectAtRest();
    EXPECT_THAT(log.take(), ElementsAre("started", "connected", "disconnected", "closed"));

    ASSERT_EQ(virtual_adapter_replug(adapter.number, "virtual/second"), 0);
    bridge->setDevicePath("virtual/second");
    bridge->setDeviceSerial(Adapter::kSerial);
    const auto before = input.sequence();
    start();
    awaitRecord(input, before);
    stop();
    expectAtRest();
}

// ---- Controller states ----

TEST_F(BridgeThreadTest, PublishesControllerStatesAndClearsThemAtTheEnd) {
    startAndAwaitReading();
    injectState(0x13, {.firstButton = 150, .firstAxis = -250}, {2, 0, 1});
    awaitRecord(input, 0);
    const ControllerData record = input.controller();
    EXPECT_EQ(record.buttons[0], 100);
    EXPECT_EQ(record.axes[0], -100);
    EXPECT_EQ(record.connected, 1);
    EXPECT_NE(record.timestampNs, 0U);
    EXPECT_EQ(output.sequence(), 0) << "the other kind has not come";

    // A repeated fragment replaces the first one and completes nothing.
    injectState(0x14, {.firstButton = 10, .firstAxis = 0}, {0, 1});
    injectState(0x14, {.firstButton = 20, .firstAxis = 0}, {0, 2});
    awaitRecord(output, 0);
    EXPECT_EQ(output.sequence(), 1);
    EXPECT_EQ(output.controller().buttons[0], 20);

    stop();
    expectAtRest();
    EXPECT_EQ(input.sequence(), 2);
    EXPECT_EQ(output.sequence(), 2);
    startAndAwaitReading();
    stop();
    EXPECT_EQ(input.sequence(), 2) << "a block that is at rest is not written again";
}

TEST_F(BridgeThreadTest, PublishesNothingOfForeignReports) {
    startAndAwaitReading();
    injectState(0x13, {}, {0, 1});
    const auto wrong = [this](std::size_t offset, std::uint8_t value) {
        auto report = part(0x13, 2, {});
        report[offset] = value;
        adapter.inject(report);
    };
    wrong(0, 0x15);
    wrong(1, 0x01);
    wrong(2, 0xAD);
    wrong(3, 0x03);
    adapter.inject({0x13, 0x00, 0xAC}); // too short to have an index
    injectState(0x14, {});
    awaitRecord(output, 0);
    EXPECT_EQ(input.sequence(), 0);
    stop();
}

TEST_F(BridgeThreadTest, CountsStatesThatItDoesNotForward) {
    std::atomic<std::uint32_t> inputRate{77};
    std::atomic<std::uint32_t> stateRate{77};
    bridge->setInputRateSink(&inputRate);
    bridge->setStateRateSink(&stateRate);
    bridge->setForwardControllerInput(false);
    startAndAwaitReading();
    for (int i = 0; i < 3; ++i)
        injectState(0x13, {});
    injectState(0x14, {});
    awaitRecord(output, 0);
    while (stateRate.load() == 77) // a second, as published
        adapter.awaitReads(1);
    EXPECT_EQ(inputRate.load(), 3U);
    EXPECT_EQ(stateRate.load(), 1U);
    EXPECT_EQ(input.sequence(), 0);

    bridge->setForwardControllerInput(true);
    injectState(0x13, {});
    awaitRecord(input, 0);
    stop();
}

TEST_F(BridgeThreadTest, WorksWithoutBlocksAndNamesThem) {
    test::clearLog();
    bridge = std::make_unique<FerryLinkThread>();
    bridge->setDevicePath(Adapter::kPath);
    bridge->setMemoryBlocks({{BlockName::kControllerReport, "vantor.test-none.ControllerReport", 256}});
    startAndAwaitReading();
    const auto read = adapter.statistics().reads;
    injectState(0x13, {});
    injectState(0x14, {});
    adapter.await(VIRTUAL_ADAPTER_COUNT_READS, read + 6);
    EXPECT_TRUE(test::hasWarning("\"ControllerInput\""));
    EXPECT_TRUE(test::hasWarning("\"ControllerReport\""));

    bridge->setMemoryBlocks(blocks.all()); // for the next run
    stop();
    startAndAwaitReading();
    injectState(0x13, {});
    awaitRecord(input, 0);
    stop();
}

TEST_F(BridgeThreadTest, GivesUpABlockThatAnotherWriterHolds) {
    test::clearLog();
    const ControllerData foreign{.timestampNs = 1};
    ASSERT_TRUE(input.writeData(&foreign, sizeof foreign));
    startAndAwaitReading();
    injectState(0x13, {});
    injectState(0x13, {});
    injectState(0x14, {});
    awaitRecord(output, 0);
    EXPECT_EQ(input.sequence(), 1);
    EXPECT_TRUE(test::hasWarning("\"ControllerInput\" cannot be written"));
    stop();
}

// ---- Status reports ----

TEST_F(BridgeThreadTest, RelaysWhatStatusReportsSayInTheOwnersThread) {
    auto* source = bridge.get();
    QObject::connect(source, &FerryLinkThread::scriptInfoReceived, &log,
                     [this](const QList<TitanScriptInfo>& scripts) {
                         EXPECT_FALSE(scripts.isEmpty());
                         log.add("scripts");
                     });
    QObject::connect(source, &FerryLinkThread::loadedSlotChanged, &log,
                     [this](int slot) { log.add(QStringLiteral("slot %1").arg(slot)); });
    QObject::connect(source, &FerryLinkThread::usbPortInfoReceived, &log,
                     [this](const TitanUsbPortInfo& info) { log.add("ports " + info.prog); });
    QObject::connect(source, &FerryLinkThread::outputProtocolReceived, &log,
                     [this](int protocol) { log.add(QStringLiteral("protocol %1").arg(protocol)); });
    QObject::connect(source, &FerryLinkThread::firmwareVersionReceived, &log,
                     [this](const QString& version) { log.add("firmware " + version); });
    startAndAwaitReading();
    // The adapter has told of itself once by now; these are other values.
    adapter.inject({0x01, 0x00, 0x22, 0x00, 9, 8, 7, 6});
    adapter.inject({0x11, 0x00, 0x00, 0x00, 9});
    adapter.inject({0x02, 0x02, 0x00, 0x00, 13});
    adapter.inject({0x12, 0x00, 0x18, 0x00, 0, 2, 0, 0, 3, 0, 0, 4, 0});
    log.waitFor("firmware 9.8.7.6");
    log.waitFor("slot 9");
    log.waitFor("protocol 13");
    log.waitFor("ports Vantor");
    virtual_adapter_set_rates(adapter.number, 250, 250); // other reports close the listing
    log.waitFor("scripts");
    stop();
}

// ---- Stopping and destruction ----

TEST_F(BridgeThreadTest, StopRightBehindStartIsNotLost) {
    stop();
    EXPECT_THAT(log.take(), IsEmpty()) << "never started";
    for (int i = 0; i < 10; ++i) {
        start();
        stop();
        EXPECT_FALSE(bridge->isRunning());
    }
    EXPECT_EQ(adapter.statistics().closing_packets, 10U);
    EXPECT_EQ(adapter.statistics().reports_since_stop, 0U);
    const auto signalled = log.take();
    EXPECT_EQ(std::count(signalled.begin(), signalled.end(), "stopped"), 10);
    startAndAwaitReading();
    stop();
    stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "connected", "stopped", "closed"));
}

TEST_F(BridgeThreadTest, StopWaitsForTheInitialisationToEnd) {
    for (unsigned packet = 1; packet <= 5; ++packet) {
        adapter.stall(VIRTUAL_ADAPTER_WRITE, packet);
        start();
        adapter.await(VIRTUAL_ADAPTER_COUNT_STALLED, 1);
        std::thread releaser([this] { adapter.release(); });
        stop();
        releaser.join();
        EXPECT_EQ(adapter.statistics().closing_packets, packet);
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
    }
}

TEST_F(BridgeThreadTest, CanBeDestroyedAtEveryStage) {
    bridge.reset(); // never started
    makeBridge();
    start();
    bridge.reset(); // about to begin
    makeBridge();
    startAndAwaitReading();
    adapter.inject({0x11, 0x00, 0x00, 0x00, 1});
    bridge.reset(); // running, with something to relay
    log.take();

    makeBridge();
    bridge->setDevicePath({});
    start();
    awaitEnd();
    bridge.reset(); // ended by itself, its error still posted
    const auto signalled = log.take();
    EXPECT_EQ(std::count(signalled.begin(), signalled.end(), kOpenFailed), 0);
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
}

} // namespace
} // namespace Vantor
