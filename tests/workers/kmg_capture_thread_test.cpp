#include "host/block_access.h"
#include "host/logging_service.h"
#include "tests/workers/worker_fixture.h"
#include "workers/kmg_capture_thread.h"

#include <QByteArray>

#include <thread>

namespace Vantor {
namespace {

using test::Adapter;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoBlocks[] = "error: No input blocks available";
constexpr char kOpenFailed[] = "error: Failed to open Titan Two for KMG capture";
constexpr char kStartFailed[] = "error: Failed to send KMG start packets";
constexpr char kWriteFailed[] = "error: Failed to send KMG input packet";

constexpr KmgCapture kAll{true, true, true};
constexpr std::uint64_t kStartReports = 4;          // with all three devices
constexpr std::uint64_t kBegun = kStartReports + 1; // and the neutral packet

bool hasLogged(LogEntry::Level level, const QString& text) {
    const QList<LogEntry> entries = LoggingService::instance().entries();
    return std::any_of(entries.begin(), entries.end(), [&](const LogEntry& entry) {
        return entry.level == level && entry.source == QLatin1String("KMGCapture") &&
               entry.message.contains(text);
    });
}

KeyboardData holding(std::initializer_list<int> keys) {
    KeyboardData keyboard;
    for (const int key : keys)
        keyboard.keys[static_cast<std::size_t>(key)] = 1;
    return keyboard;
}

MouseData mouse(std::int32_t x, std::uint16_t buttons = 0) {
    MouseData record;
    record.motionX = x;
    record.buttons = buttons;
    return record;
}

int motionX(const OutputReport& report) {
    return static_cast<std::int16_t>(report[14] | report[15] << 8);
}

class KmgCaptureThreadTest : public testing::Test {
protected:
    KmgCaptureThreadTest() { makeCapture(blocks.all()); }

    void makeCapture(const QList<MemoryBlockInfo>& offered) {
        capture = std::make_unique<KMGCaptureThread>();
        auto* source = capture.get();
        QObject::connect(source, &KMGCaptureThread::captureStarted, &log, [this] { log.add("started"); });
        QObject::connect(source, &KMGCaptureThread::captureStopped, &log, [this] { log.add("stopped"); });
        QObject::connect(source, &KMGCaptureThread::captureError, &log,
                         [this](const QString& error) { log.add("error: " + error); });
        source->setMemoryBlocks(offered);
        source->setDevicePath(Adapter::kPath);
    }
    void start(const KmgCapture& devices = kAll) {
        capture->setCapture(devices[0], devices[1], devices[2]);
        capture->prepareStart();
        capture->start(QThread::HighestPriority);
    }
    void startAndAwaitCapture(const KmgCapture& devices = kAll) {
        start(devices);
        log.waitFor("started");
    }
    /// Looking at the run's state is what orders the owner behind the worker for a race detector, too, which
    /// does not see into QThread::wait().
    void awaitEnd() {
        EXPECT_TRUE(capture->wait(test::kPatienceMs));
        EXPECT_FALSE(capture->isRunning());
    }

    template<class Record>
    static void publish(test::Peer& block, const Record& record) {
        EXPECT_TRUE(block.writeData(&record, sizeof record)) << qPrintable(block.errorString());
    }
    /// The last of `count` reports that have gone out, when the last is there.
    OutputReport reportNumber(std::uint64_t count) {
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, count);
        const auto reports = adapter.received(count - 1);
        return reports.empty() ? OutputReport{} : reports.front();
    }
    void expectLastIsNeutral() {
        const auto reports = adapter.received();
        ASSERT_FALSE(reports.empty());
        EXPECT_EQ(reports.back(), kNeutralKmgReport);
    }

    Adapter adapter;
    test::Blocks blocks;
    test::Peer keyboardBlock{blocks, BlockName::kKeyboardRawInput};
    test::Peer mouseBlock{blocks, BlockName::kMouseRawInput};
    test::Peer controllerBlock{blocks, BlockName::kControllerOutput};
    test::SignalLog log;
    std::unique_ptr<KMGCaptureThread> capture;
};

// ---- Beginning and ending ----

TEST_F(KmgCaptureThreadTest, DeclaresTheDevicesAndLeavesThemAtRest) {
    struct Case {
        KmgCapture devices;
        std::size_t startReports;
        const char* names;
    };
    for (const Case& run : {Case{kAll, 4, "Capturing keyboard, mouse, controller"},
                            Case{{false, true, false}, 2, "Capturing mouse"},
                            Case{{true, false, true}, 2, "Capturing keyboard, controller"}}) {
        test::clearLog();
        const std::uint64_t before = adapter.statistics().writes;
        startAndAwaitCapture(run.devices);
        EXPECT_TRUE(capture->isRunning());
        EXPECT_TRUE(hasLogged(LogEntry::Level::info, run.names));
        capture->stop();
        EXPECT_FALSE(capture->isRunning());
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
        EXPECT_THAT(log.take(), ElementsAre("started", "stopped"));

        const auto reports = adapter.received(before);
        ASSERT_EQ(reports.size(), run.startReports + 2) << run.names;
        const KmgStartStream stream = makeKmgStartStream(run.devices);
        for (std::size_t i = 0; i < run.startReports; ++i)
            EXPECT_EQ(reports[i], makeKmgStartReport(stream, i)) << run.names << ", report " << i;
        EXPECT_EQ(reports[run.startReports], kNeutralKmgReport);
        EXPECT_EQ(reports[run.startReports + 1], kNeutralKmgReport);
    }
}

TEST_F(KmgCaptureThreadTest, StopRightBehindStartIsNotLost) {
    capture->stop();
    EXPECT_THAT(log.take(), IsEmpty()) << "never started";
    for (int i = 0; i < 30; ++i) {
        start();
        capture->stop();
        EXPECT_FALSE(capture->isRunning());
    }
    EXPECT_EQ(adapter.statistics().open_handles, 0U);
    const auto signalled = log.take();
    EXPECT_EQ(std::count(signalled.begin(), signalled.end(), "stopped"), 30);
    startAndAwaitCapture();
    capture->stop();
    capture->stop();
    EXPECT_THAT(log.take(), ElementsAre("started", "stopped"));
}

TEST_F(KmgCaptureThreadTest, EndsAtRestWhereverItIsStopped) {
    for (std::uint64_t write = 1; write <= kBegun + 1; ++write) {
        adapter.stall(VIRTUAL_ADAPTER_WRITE, static_cast<unsigned>(write));
        start();
        if (write > kBegun) {
            log.waitFor("started");
            publish(keyboardBlock, holding({0x41}));
        }
        adapter.await(VIRTUAL_ADAPTER_COUNT_STALLED, 1);
        std::thread releaser([this] { adapter.release(); });
        capture->stop();
        releaser.join();
        expectLastIsNeutral();
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
        const auto signalled = log.take();
        EXPECT_EQ(signalled.back(), "stopped");
        EXPECT_EQ(std::count(signalled.begin(), signalled.end(), "stopped"), 1) << write;
    }
}

TEST_F(KmgCaptureThreadTest, PreparingARunThatIsUnderWayChangesNothing) {
    startAndAwaitCapture();
    capture->prepareStart();
    publish(keyboardBlock, holding({0x41}));
    EXPECT_EQ(reportNumber(kBegun + 1)[7], 0x04);
    capture->stop();
}

TEST_F(KmgCaptureThreadTest, CanBeDestroyedAtEveryStage) {
    capture.reset(); // never started
    makeCapture(blocks.all());
    start();
    capture.reset(); // about to begin
    makeCapture(blocks.all());
    startAndAwaitCapture();
    capture.reset(); // running
    expectLastIsNeutral();
    log.take();

    makeCapture({});
    start();
    awaitEnd();
    capture.reset(); // ended by itself, its error still posted
    EXPECT_THAT(log.take(), IsEmpty());
}

// ---- Forwarding ----

TEST_F(KmgCaptureThreadTest, SendsOnePacketForEachChange) {
    startAndAwaitCapture();
    OutputReport expected = kNeutralKmgReport;

    publish(keyboardBlock, holding({0x41}));
    expected[7] = 0x04;
    EXPECT_EQ(reportNumber(kBegun + 1), expected);

    ControllerData controller;
    controller.buttons[20] = 100;
    publish(controllerBlock, controller);
    expected[23] = 0x01;
    std::fill_n(expected.begin() + 24, 4, std::uint8_t{0x80});
    EXPECT_EQ(reportNumber(kBegun + 2), expected) << "the key is still held";

    // The same states again are no change; what goes out next is the button's packet.
    publish(keyboardBlock, holding({0x41}));
    publish(controllerBlock, controller);
    publish(mouseBlock, mouse(0, 3));
    expected[13] = 0x01;
    expected[19] = 0x03;
    EXPECT_EQ(reportNumber(kBegun + 3), expected);

    publish(keyboardBlock, holding({}));
    expected[7] = 0;
    EXPECT_EQ(reportNumber(kBegun + 4), expected);
    capture->stop();
    EXPECT_EQ(adapter.statistics().writes, kBegun + 5);
    expectLastIsNeutral();
}

TEST_F(KmgCaptureThreadTest, SendsEachMotionOnce) {
    startAndAwaitCapture();
    publish(mouseBlock, mouse(5, 1));
    EXPECT_EQ(motionX(reportNumber(kBegun + 1)), 5);
    publish(mouseBlock, mouse(5, 1));
    EXPECT_EQ(motionX(reportNumber(kBegun + 2)), 5) << "the same motion again is another motion";
    publish(keyboardBlock, holding({0x41}));
    const OutputReport report = reportNumber(kBegun + 3);
    EXPECT_EQ(motionX(report), 0);
    EXPECT_EQ(report[19], 1) << "the button stays";
    EXPECT_EQ(report[7], 0x04);
    capture->stop();
}

TEST_F(KmgCaptureThreadTest, BeginsWithWhatIsHeldButNotWithMotionFromBefore) {
    for (int run = 0; run < 2; ++run) { // the second has nothing but records that the first has seen
        if (run == 0) {
            publish(keyboardBlock, holding({0x42}));
            publish(mouseBlock, mouse(77, 2));
        }
        const std::uint64_t before = adapter.statistics().writes;
        startAndAwaitCapture();
        const OutputReport first = reportNumber(before + kBegun + 1);
        EXPECT_EQ(first[7], 0x05);
        EXPECT_EQ(first[19], 2);
        EXPECT_FALSE(hasMotion(first));
        capture->stop();
        log.take();
    }
}

TEST_F(KmgCaptureThreadTest, ForwardsOnlyWhatIsCaptured) {
    startAndAwaitCapture({false, true, false});
    publish(keyboardBlock, holding({0x41}));
    publish(mouseBlock, mouse(1));
    EXPECT_EQ(reportNumber(4)[7], 0) << "two start reports, the neutral packet, and this one";
    capture->stop();
}

// A producer that died inside a write leaves the state word at "being written" with its event set.
TEST_F(KmgCaptureThreadTest, KeepsItsStateOverARecordThatNeverGetsStable) {
    startAndAwaitCapture();
    publish(keyboardBlock, holding({0x41}));
    EXPECT_EQ(reportNumber(kBegun + 1)[7], 0x04);

    std::byte* header = keyboardBlock.getHeaderPointer();
    header[BlockLayout::kHeaderBytes + 0x42] = std::byte{1};
    blockStore<std::int32_t>(header, BlockLayout::kStateOffset, 2, std::memory_order_relaxed);
    blockStore<std::int64_t>(header, BlockLayout::kSequenceOffset, 2, std::memory_order_release);
    auto event = platform::Event::shared(blocks.info(BlockName::kKeyboardRawInput).segmentName.toStdString() +
                                             ".event",
                                         header + BlockLayout::kEventWordOffset);
    ASSERT_TRUE(event.set());
    // A button, not motion: the worker, awake already, may see the record before its event is set, and a
    // second look behind motion would be a report more.
    publish(mouseBlock, mouse(0, 1));
    const OutputReport report = reportNumber(kBegun + 2);
    EXPECT_EQ(report[7], 0x04);
    EXPECT_EQ(report[8], 0x00);

    publish(keyboardBlock, holding({0x43}));
    EXPECT_EQ(reportNumber(kBegun + 3)[7], 0x06) << "the record behind the broken one";
    capture->stop();
}

TEST_F(KmgCaptureThreadTest, SendsTheMotionOfRecordsThatWereOverwritten) {
    startAndAwaitCapture();
    MouseData record;
    record.totalsStartNs = 1;
    const auto move = [&](std::int32_t x) {
        record.motionX = x;
        record.totalX += x;
        publish(mouseBlock, record);
    };
    move(1);
    EXPECT_EQ(motionX(reportNumber(kBegun + 1)), 1);
    adapter.stall(VIRTUAL_ADAPTER_WRITE);
    move(2);
    adapter.await(VIRTUAL_ADAPTER_COUNT_STALLED, 1);
    for (const int x : {10, -3, 20}) // while the thread is busy
        move(x);
    adapter.release();
    EXPECT_EQ(motionX(reportNumber(kBegun + 2)), 2);
    EXPECT_EQ(motionX(reportNumber(kBegun + 3)), 27);
    capture->stop();
}

// The same at full speed, with however many records each packet stands for.
TEST_F(KmgCaptureThreadTest, LosesNoMotionToAFastProducer) {
    startAndAwaitCapture();
    MouseData record;
    record.totalsStartNs = 1;
    constexpr int kRecords = 4000;
    for (int i = 0; i < kRecords; ++i) {
        record.motionX = i % 3 - 1 + i / (kRecords / 2);
        record.totalX += record.motionX;
        record.buttons = static_cast<std::uint16_t>(i == kRecords - 1 ? 0x8000 : 0);
        publish(mouseBlock, record);
        if (i == 0) // until then no totals are known
            adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, kBegun + 1);
    }
    std::int64_t moved = 0;
    std::uint64_t seen = kBegun;
    for (bool isLast = false; !isLast;) {
        adapter.await(VIRTUAL_ADAPTER_COUNT_WRITES, seen + 1);
        for (const OutputReport& report : adapter.received(seen)) {
            moved += motionX(report);
            isLast = isLast || report[20] == 0x80;
            ++seen;
        }
        ASSERT_FALSE(HasFailure());
    }
    capture->stop();
    EXPECT_EQ(moved, record.totalX);
}

// ---- Failing ----

TEST_F(KmgCaptureThreadTest, SaysWhyItCannotBegin) {
    struct Case {
        const char* what;
        QList<MemoryBlockInfo> offered;
        KmgCapture devices;
        const char* path;
        bool openFails;
        unsigned failingWrite; ///< 0: none
        const char* error;
    };
    const QList<MemoryBlockInfo> gone{{BlockName::kMouseRawInput, "vantor.test-none.Mouse", 256}};
    const char* path = Adapter::kPath;
    for (const Case& run : {Case{"nothing captured", blocks.all(), {}, path, false, 0, kNoBlocks},
                            Case{"nothing offered", {}, kAll, path, false, 0, kNoBlocks},
                            Case{"not there", gone, kAll, path, false, 0, kNoBlocks},
                            Case{"no path", blocks.all(), kAll, "", false, 0, kOpenFailed},
                            Case{"no such path", blocks.all(), kAll, "virtual/none", false, 0, kOpenFailed},
                            Case{"refused", blocks.all(), kAll, path, true, 0, kOpenFailed},
                            Case{"first report", blocks.all(), kAll, path, false, 1, kStartFailed},
                            Case{"last report", blocks.all(), kAll, path, false, 4, kStartFailed}}) {
        makeCapture(run.offered);
        capture->setDevicePath(run.path);
        if (run.openFails)
            adapter.fail(VIRTUAL_ADAPTER_OPEN);
        if (run.failingWrite > 0)
            adapter.fail(VIRTUAL_ADAPTER_WRITE, run.failingWrite);
        const std::uint64_t before = adapter.statistics().writes;
        start(run.devices);
        awaitEnd();
        EXPECT_FALSE(capture->isRunning());
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
        EXPECT_EQ(adapter.statistics().writes - before, run.failingWrite > 0 ? run.failingWrite - 1 : 0U);
        capture->stop(); // nothing to stop
        EXPECT_THAT(log.take(), ElementsAre(run.error, "stopped")) << run.what;
        adapter.fail(VIRTUAL_ADAPTER_OPEN, 1, 0);
    }
    makeCapture(blocks.all());
    startAndAwaitCapture();
    capture->stop();
}

TEST_F(KmgCaptureThreadTest, ACaptureBeginsThoughItsNeutralPacketFails) {
    adapter.fail(VIRTUAL_ADAPTER_WRITE, kStartReports + 1);
    startAndAwaitCapture();
    capture->stop();
    EXPECT_EQ(adapter.statistics().writes, kStartReports + 1);
    EXPECT_THAT(log.take(), ElementsAre("started", "stopped"));
}

TEST_F(KmgCaptureThreadTest, EndsWithTheFirstFailedPacket) {
    for (const bool isForGood : {false, true}) {
        startAndAwaitCapture();
        const std::uint64_t before = adapter.statistics().writes;
        adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, isForGood ? VIRTUAL_ADAPTER_FOREVER : 1);
        publish(keyboardBlock, holding({isForGood ? 0x41 : 0x42}));
        log.waitFor("stopped");
        EXPECT_FALSE(capture->isRunning());
        EXPECT_EQ(adapter.statistics().open_handles, 0U);
        EXPECT_THAT(log.take(), ElementsAre("started", kWriteFailed, "stopped"));
        // One attempt to leave everything at rest.
        EXPECT_EQ(adapter.statistics().writes - before, isForGood ? 0U : 1U);
        expectLastIsNeutral();
        adapter.fail(VIRTUAL_ADAPTER_WRITE, 1, 0);
        publish(keyboardBlock, holding({}));
    }
}

TEST_F(KmgCaptureThreadTest, GoesOnWithAnAdapterThatComesBackElsewhere) {
    startAndAwaitCapture();
    ASSERT_EQ(virtual_adapter_unplug(adapter.number), 0);
    publish(keyboardBlock, holding({0x41}));
    log.waitFor("stopped");
    EXPECT_THAT(log.take(), ElementsAre("started", kWriteFailed, "stopped"));

    ASSERT_EQ(virtual_adapter_replug(adapter.number, "virtual/second"), 0);
    capture->setDevicePath("virtual/second");
    startAndAwaitCapture();
    capture->stop();
    expectLastIsNeutral();
}

TEST_F(KmgCaptureThreadTest, TellsOfAFailureBeforeTheNextRunBegins) {
    capture->setDevicePath({});
    start();
    awaitEnd(); // what it said is still on its way
    capture->setDevicePath(Adapter::kPath);
    startAndAwaitCapture();
    capture->stop();
    EXPECT_THAT(log.take(), ElementsAre(kOpenFailed, "stopped", "started", "stopped"));
}

// ---- Blocks and figures ----

TEST_F(KmgCaptureThreadTest, WarnsOfAMissingBlockAndCapturesTheRest) {
    test::clearLog();
    makeCapture({blocks.info(BlockName::kMouseRawInput)});
    startAndAwaitCapture();
    EXPECT_TRUE(hasLogged(LogEntry::Level::warning, "\"KeyboardRawInput\""));
    EXPECT_TRUE(hasLogged(LogEntry::Level::warning, "\"ControllerOutput\""));
    EXPECT_FALSE(hasLogged(LogEntry::Level::warning, "\"MouseRawInput\""));

    capture->setMemoryBlocks(blocks.all()); // for the next run
    publish(keyboardBlock, holding({0x41}));
    publish(mouseBlock, mouse(9));
    const OutputReport report = reportNumber(kBegun + 1);
    EXPECT_EQ(motionX(report), 9);
    EXPECT_EQ(report[7], 0);
    capture->stop();
    log.take();

    const std::uint64_t before = adapter.statistics().writes;
    startAndAwaitCapture();
    EXPECT_EQ(reportNumber(before + kBegun + 1)[7], 0x04);
    capture->stop();
}

TEST_F(KmgCaptureThreadTest, PublishesItsRatesAndTakesThemBack) {
    std::array<std::atomic<std::uint32_t>, 3> hz{77, 77, 77};
    const auto awaitHz = [&hz](std::size_t device, bool isZero) {
        while ((hz[device].load() == 0) != isZero)
            std::this_thread::yield();
    };
    capture->setKeyboardHzSink(&hz[0]);
    capture->setMouseHzSink(&hz[1]);
    capture->setControllerHzSink(&hz[2]);
    startAndAwaitCapture();
    EXPECT_EQ(hz[0].load() + hz[1].load() + hz[2].load(), 0U);

    publish(mouseBlock, mouse(1));
    awaitHz(1, false);
    EXPECT_EQ(hz[1].load(), 1U);
    EXPECT_EQ(hz[0].load() + hz[2].load(), 0U);
    awaitHz(1, true); // a silent second
    publish(keyboardBlock, holding({0x41}));
    awaitHz(0, false);
    capture->stop();
    EXPECT_EQ(hz[0].load(), 0U);
}

} // namespace
} // namespace Vantor
