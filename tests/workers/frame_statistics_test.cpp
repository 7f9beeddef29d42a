#include "workers/frame_statistics.h"
#include "workers/report_rates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace Vantor {
namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kStart = 5'000 * kMs;
constexpr std::int64_t kPeriodEnd = kStart + 1'000 * kMs;

struct LatencyCase {
    const char* name;
    std::vector<std::int64_t> latenciesNs; ///< -1: a frame without a stamp
    double latencyMs;
    double jitterMs;
};

void PrintTo(const LatencyCase& latency, std::ostream* out) {
    *out << latency.name;
}

class FrameLatency : public testing::TestWithParam<LatencyCase> {};

TEST_P(FrameLatency, IsMeanAndDeviationOfThePeriod) {
    FrameStatistics statistics;
    statistics.restart(kStart);
    const std::int64_t now = kStart + 500 * kMs;
    for (const std::int64_t latency : GetParam().latenciesNs)
        statistics.frameForwarded(latency < 0 ? 0 : now - latency, now);

    EXPECT_FALSE(statistics.takeFrameFigures(kPeriodEnd - 1));
    const auto figures = statistics.takeFrameFigures(kPeriodEnd);
    ASSERT_TRUE(figures);
    EXPECT_EQ(figures->frames, GetParam().latenciesNs.size());
    EXPECT_NEAR(figures->latencyMs, GetParam().latencyMs, 1e-9);
    EXPECT_NEAR(figures->jitterMs, GetParam().jitterMs, 1e-6);
    EXPECT_EQ(statistics.latencyMs(), figures->latencyMs);
    EXPECT_EQ(statistics.jitterMs(), figures->jitterMs);
}

INSTANTIATE_TEST_SUITE_P(Samples, FrameLatency,
                         testing::Values(LatencyCase{"None", {}, 0, 0}, LatencyCase{"One", {2 * kMs}, 2, 0},
                                         LatencyCase{"TwoEqual", {333'333, 333'333}, 0.333333, 0},
                                         LatencyCase{"TwoDifferent", {1 * kMs, 3 * kMs}, 2, 1},
                                         LatencyCase{
                                             "UnstampedFramesDoNotCount", {-1, 1 * kMs, -1, 3 * kMs}, 2, 1},
                                         LatencyCase{"StaleStamp", {3'600'000 * kMs}, 3'600'000, 0}),
                         [](const auto& testCase) { return testCase.param.name; });

TEST(FrameStatistics, AStampAheadOfTheClockShowsAsAHugeLatency) {
    FrameStatistics statistics;
    statistics.restart(kStart);
    statistics.frameForwarded(kStart + 1, kStart);
    EXPECT_GT(statistics.latencyMs(), 1e13);
}

TEST(FrameStatistics, EveryPeriodStartsAfresh) {
    FrameStatistics statistics;
    statistics.restart(kStart);
    statistics.packetWritten();
    statistics.packetWritten();
    statistics.frameForwarded(kStart, kStart + 4 * kMs);
    EXPECT_EQ(statistics.latencyMs(), 4);
    EXPECT_FALSE(statistics.takePacketRate(kPeriodEnd - 1));
    EXPECT_EQ(statistics.takePacketRate(kPeriodEnd + 7 * kMs), 2U);
    EXPECT_EQ(statistics.takeFrameFigures(kPeriodEnd)->frames, 1U);

    statistics.packetWritten();
    EXPECT_FALSE(statistics.takePacketRate(kPeriodEnd + 1'006 * kMs))
        << "the next period begins when it was taken";
    EXPECT_EQ(statistics.takePacketRate(kPeriodEnd + 1'007 * kMs), 1U);
    const auto second = statistics.takeFrameFigures(kPeriodEnd + 1'000 * kMs);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->frames, 0U);
    EXPECT_EQ(second->latencyMs, 0);
}

TEST(FrameStatistics, AWaitNeverOutlastsThePeriodThatEndsFirst) {
    FrameStatistics statistics;
    statistics.restart(kStart);
    EXPECT_EQ(statistics.waitTimeoutMs(kStart), 1000U);
    EXPECT_EQ(statistics.waitTimeoutMs(kStart + 1), 1000U);
    EXPECT_EQ(statistics.waitTimeoutMs(kStart + 999 * kMs + 999'999), 1U);
    EXPECT_EQ(statistics.waitTimeoutMs(kPeriodEnd), 0U);
    EXPECT_EQ(statistics.waitTimeoutMs(kPeriodEnd + 90'000 * kMs), 0U);
    ASSERT_TRUE(statistics.takePacketRate(kPeriodEnd));
    EXPECT_EQ(statistics.waitTimeoutMs(kPeriodEnd), 0U) << "the frame period is still due";
    ASSERT_TRUE(statistics.takeFrameFigures(kPeriodEnd));
    EXPECT_EQ(statistics.waitTimeoutMs(kPeriodEnd), 1000U);
}

TEST(ReportRates, CountsEachKindPerPeriod) {
    ReportRates rates;
    rates.countInput(); // before the run
    rates.restart(kStart);
    for (int i = 0; i < 3; ++i)
        rates.countInput();
    rates.countState();
    EXPECT_FALSE(rates.take(kPeriodEnd - 1));
    const auto first = rates.take(kPeriodEnd + 200 * kMs);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->inputReports, 3U);
    EXPECT_EQ(first->stateReports, 1U);
    EXPECT_FALSE(rates.take(kPeriodEnd + 1'199 * kMs));
    const auto second = rates.take(kPeriodEnd + 1'200 * kMs);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->inputReports, 0U);
    EXPECT_EQ(second->stateReports, 0U);
}

} // namespace
} // namespace Vantor
