#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "platform/event.h"
#include "simulator/test_frame.h"
#include "tests/support/process_text.h"
#include "tools/cvfeed_schedule.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <memory>

namespace Vantor {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

TEST(FrameSchedule, DoesNotDrift) {
    FrameSchedule schedule(3, 1000);
    for (int frame = 0; frame < 3'000'000; ++frame)
        schedule.advance(schedule.deadlineNs());
    EXPECT_EQ(schedule.deadlineNs(), 1000 + std::int64_t{1'000'000} * 1'000'000'000);
    EXPECT_EQ(schedule.skipped(), 0U);
}

TEST(FrameSchedule, SkipsWhatHasPassedAndStaysOnItsGrid) {
    constexpr std::int64_t kPeriodNs = 1'000'000;
    FrameSchedule schedule(1000, 0);
    schedule.advance(kPeriodNs * 19 / 10); // late, but the next slot has only begun
    EXPECT_EQ(schedule.deadlineNs(), kPeriodNs);
    schedule.advance(kPeriodNs * 75 / 10);
    EXPECT_EQ(schedule.deadlineNs(), kPeriodNs * 7);
    EXPECT_EQ(schedule.skipped(), 5U);
}

TEST(FrameSchedule, WithoutARateEveryFrameIsDueAtOnce) {
    FrameSchedule schedule(0, 50);
    schedule.advance(1'000'000);
    EXPECT_EQ(schedule.deadlineNs(), 50);
    EXPECT_EQ(schedule.skipped(), 0U);
}

TEST(TestFrame, EveryChangedBitIsNoticed) {
    for (const std::size_t bytes : {std::size_t{20}, std::size_t{61}, std::size_t{255}, std::size_t{256}}) {
        std::array<std::uint8_t, 256> storage{};
        const std::span frame = std::span(storage).first(bytes);
        ASSERT_TRUE(simulator::fillTestFrame(frame, 0x0102030405060708, 77));
        EXPECT_EQ(frame[4], 8); // little-endian
        const std::span arrived = frame.first(std::min<std::size_t>(bytes, 255));
        const auto info = simulator::checkTestFrame(arrived);
        ASSERT_TRUE(info.has_value()) << bytes;
        EXPECT_EQ(info->sequence, 0x0102030405060708U);
        EXPECT_EQ(info->stampNs, 77U);
        for (std::size_t bit = 0; bit < arrived.size() * 8; ++bit) {
            const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
            arrived[bit / 8] ^= mask;
            EXPECT_FALSE(simulator::checkTestFrame(arrived).has_value()) << bytes << " bytes, bit " << bit;
            arrived[bit / 8] ^= mask;
        }
        EXPECT_FALSE(simulator::checkTestFrame(arrived.first(arrived.size() - 1)).has_value());
    }
    std::array<std::uint8_t, 300> wrong{};
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{19}, std::size_t{257}})
        EXPECT_FALSE(simulator::fillTestFrame(std::span(wrong).first(bytes), 1, 1)) << bytes;
}

struct Outcome {
    int exitCode;
    std::string output;
    std::string errors;
};

class CvfeedTest : public testing::Test {
protected:
    void startHost() {
        host = std::make_unique<MemoryBlockHost>();
        ASSERT_TRUE(host->create(blocks)) << qPrintable(host->errorString());
    }

    void start(QStringList arguments) {
        arguments += {"--instance", instance};
        feed.start(QCoreApplication::applicationDirPath() + "/cvfeed", arguments);
        ASSERT_TRUE(feed.waitForStarted());
    }

    Outcome finish() {
        EXPECT_TRUE(feed.waitForFinished());
        EXPECT_EQ(feed.exitStatus(), QProcess::NormalExit);
        return {feed.exitCode(), test::textOf(feed.readAllStandardOutput()),
                test::textOf(feed.readAllStandardError())};
    }

    Outcome run(const QStringList& arguments) {
        start(arguments);
        return finish();
    }

    nlohmann::json report() const {
        QFile file(reportPath);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return nlohmann::json::parse(file.readAll().toStdString());
    }

    const QString instance = "cvfeed-" + QString::number(QCoreApplication::applicationPid());
    const QList<MemoryBlockInfo> blocks = standardBlocks(instance);
    const QTemporaryDir directory;
    const QString reportPath = directory.filePath("report.json");
    std::unique_ptr<MemoryBlockHost> host;
    QProcess feed;
};

TEST_F(CvfeedTest, PublishesTestFramesAndContinuesTheSequence) {
    startHost();
    SharedMemoryAccessor reader(blocks[3]);
    ASSERT_TRUE(reader.connect());
    const Outcome first = run({"--hz", "0", "--frames", "300", "--bytes", "256"});
    EXPECT_EQ(first.exitCode, 0) << first.errors;
    EXPECT_THAT(first.output, MatchesRegex("300 frames published in .* s, .* Hz, 0 late\n"));

    const Outcome second = run({"--hz", "2000", "--frames", "100", "--bytes", "61", "--report", reportPath});
    EXPECT_EQ(second.exitCode, 0) << second.errors;
    const nlohmann::json said = report();
    EXPECT_EQ(said["published"], 100);
    EXPECT_EQ(said["first_sequence"], 301);
    EXPECT_EQ(said["last_sequence"], 400);
    EXPECT_EQ(said["unclaimed"], 99) << "nobody takes any here, and nobody can overwrite the last";
    EXPECT_GE(said["seconds"], 99 / 2000.0);
    EXPECT_GT(said["hz"], 0);
    EXPECT_LT(said["hz"], 2100); // faster would mean that deadlines are not kept

    std::array<std::uint8_t, kMaxFrameBytes> frame{};
    std::int64_t sequence = 0;
    ASSERT_TRUE(reader.readData(frame.data(), frame.size(), sequence));
    const auto info = simulator::checkTestFrame(std::span(frame).first(61));
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->sequence, 400U);
    EXPECT_EQ(sequence, 400);
}

TEST_F(CvfeedTest, WithoutAHostItSaysWhatToDo) {
    const Outcome outcome = run({"--frames", "1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.errors,
              "No host is running: the block \"CVData\" does not exist. Start ferrylink-host first.\n");
}

TEST_F(CvfeedTest, EndsWithItsHostEvenBetweenTwoFrames) {
    startHost();
    SharedMemoryAccessor reader(blocks[3]);
    ASSERT_TRUE(reader.connect());
    start({"--hz", "0.001", "--report", reportPath});
    const platform::EventHandle event = reader.getEventHandle();
    ASSERT_EQ(platform::waitAny({&event, 1}, 20'000).kind, platform::WaitResult::Kind::signalled);
    host.reset();
    const Outcome outcome = finish();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.errors, "The host that made the block \"CVData\" has ended.\n");
    EXPECT_EQ(report()["published"], 1);
    EXPECT_TRUE(report()["hz"].is_null()) << "one frame has no rate";
}

TEST_F(CvfeedTest, TheDurationIsKeptEvenBetweenTwoFrames) {
    startHost();
    EXPECT_EQ(run({"--hz", "0.001", "--duration", "0.05", "--report", reportPath}).exitCode, 0);
    EXPECT_EQ(report()["published"], 1);
    EXPECT_GE(report()["seconds"], 0.05);
    EXPECT_LT(report()["seconds"], 100);
}

TEST_F(CvfeedTest, ASecondFeedIsRefused) {
    startHost();
    SharedMemoryAccessor first(blocks[3]);
    ASSERT_TRUE(first.connect());
    ASSERT_TRUE(first.writeData("x", 1));
    const Outcome outcome = run({"--frames", "1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("holds the block \"CVData\""));
}

TEST_F(CvfeedTest, WrongUsageAndHelpAreToldApart) {
    const QList<QStringList> wrong{{"--bytes", "19"},    {"--bytes", "257"},    {"--hz", "-1"},
                                   {"--hz", "nan"},      {"--hz", "1e-300"},    {"--frames", "0"},
                                   {"--duration", "-1"}, {"--instance", "a/b"}, {"--unknown"}};
    for (const QStringList& arguments : wrong) {
        feed.start(QCoreApplication::applicationDirPath() + "/cvfeed", arguments);
        const Outcome outcome = finish();
        EXPECT_EQ(outcome.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_FALSE(outcome.errors.empty());
    }
    EXPECT_EQ(run({"--help"}).exitCode, 0);
}

} // namespace
} // namespace Vantor
