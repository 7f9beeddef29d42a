#include "simulator/test_frame.h"
#include "tests/simulator/adapter_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>

namespace {

using namespace Vantor::simulator;
using namespace Vantor::test;

/// The reports, id first, that carry a test frame of `size` bytes.
std::vector<Bytes> frameReports(std::uint64_t sequence, std::size_t size, std::uint64_t stampNs = 1) {
    Bytes frame(size);
    EXPECT_TRUE(fillTestFrame(frame, sequence, stampNs));
    frame.resize(std::min<std::size_t>(size, 255));
    std::vector<Bytes> reports;
    for (std::size_t begin = 0; begin < frame.size(); begin += 60) {
        Bytes& report = reports.emplace_back(65);
        report[1] = 0x60;
        report[3] = static_cast<std::uint8_t>(frame.size());
        report[4] = static_cast<std::uint8_t>(begin / 60);
        std::copy_n(frame.begin() + static_cast<std::ptrdiff_t>(begin),
                    std::min<std::size_t>(60, frame.size() - begin), report.begin() + 5);
    }
    return reports;
}

class Model : public AdapterTest {
protected:
    void sendFrames(std::initializer_list<std::uint64_t> sequences) {
        for (const std::uint64_t sequence : sequences)
            send(frameReports(sequence, 100));
    }
    const FrameStatistics& frames() const { return model.frames().statistics(); }
};

TEST_F(Model, AnswersTheInitialisationAndThenStreams) {
    initialise();
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
    EXPECT_EQ(counts().initialisations, 1U);
    const std::vector<Bytes> heads = drainHeads();
    ASSERT_GE(heads.size(), 5U);
    EXPECT_EQ(heads.front(), bytes("01 00 22 00 01"));
    EXPECT_EQ(heads[1], bytes("02 02 00 00 03"));
    EXPECT_EQ(heads[2][0], 0x03);
    EXPECT_EQ(heads[heads.size() - 2], bytes("12 00 18 00 00"));
    EXPECT_EQ(heads.back(), bytes("11 00 01 00 01"));

    EXPECT_EQ(model.nextDueNs(), now + 4 * kMsNs) << "250 states per second";
    EXPECT_TRUE(drain().empty());
    now += 4 * kMsNs;
    const auto states = drain();
    ASSERT_EQ(states.size(), 6U);
    for (std::size_t index = 0; index < states.size(); ++index)
        EXPECT_EQ(Bytes(states[index].begin(), states[index].begin() + 4),
                  (Bytes{static_cast<std::uint8_t>(0x13 + index / 3), 0, 0xAC,
                         static_cast<std::uint8_t>(index % 3)}));
    now += 4 * kMsNs;
    EXPECT_NE(drain()[0], states[0]) << "values move";
}

TEST_F(Model, BothEndsStopTheStreamsAndAreToldApart) {
    for (const char* end : {kClosing, kStop}) {
        initialise();
        drain();
        send(bytes(end));
        now += 100 * kMsNs;
        EXPECT_TRUE(drain().empty());
        EXPECT_EQ(counts().reportsSinceStop, 0U);
    }
    EXPECT_EQ(counts().closingPackets, 1U);
    EXPECT_EQ(counts().stopPackets, 1U);
    send(bytes("00 A0", 65));
    EXPECT_EQ(counts().reportsSinceStop, 1U);
}

TEST_F(Model, StreamsAtTheChosenRatesAndSkipsWhatNobodyFetched) {
    model.setStreamRates(1000, 0, now);
    initialise();
    drain();
    for (int millisecond = 0; millisecond < 500; ++millisecond) {
        now += kMsNs;
        drain();
    }
    EXPECT_EQ(counts().inputStates, 500U);
    EXPECT_EQ(counts().reportStates, 0U);
    now += 3'600'000 * kMsNs;
    EXPECT_LT(drain().size(), 100U);
    EXPECT_GT(counts().statesSkipped, 3'599'000U);
    model.powerOff();
    now += kMsNs;
    EXPECT_TRUE(drain().empty());
    EXPECT_EQ(model.nextDueNs(), AdapterModel::kNeverNs);
}

TEST_F(Model, AStateThatHasBegunIsDueWhateverBecomesOfItsRate) {
    model.setStreamRates(1000, 0, now);
    initialise();
    drain();
    now += kMsNs;
    Report report;
    ASSERT_TRUE(model.nextInputReport(now, report));
    model.setStreamRates(1, 0, now);
    EXPECT_LE(model.nextDueNs(), now);
    EXPECT_EQ(drain().size(), 2U);
    EXPECT_GT(model.nextDueNs(), now);
}

TEST_F(Model, NoByteOfAFixedPacketMayDiffer) {
    std::vector<Bytes> packets;
    for (const char* packet : kInitialisation)
        packets.push_back(bytes(packet));
    packets.push_back(bytes(kClosing));
    packets.push_back(bytes(kStop));
    for (std::size_t packet = 0; packet < packets.size(); ++packet) {
        for (std::size_t place = 2; place < 65; ++place) {
            AdapterModel fresh;
            for (std::size_t before = 0; before < std::min<std::size_t>(packet, 5); ++before)
                fresh.receiveWithId(packets[before], now);
            Bytes wrong = packets[packet];
            wrong[place] ^= 0x10;
            fresh.receiveWithId(wrong, now);
            EXPECT_EQ(fresh.statistics().errors, 1U) << packet << " at " << place;
        }
    }
}

TEST_F(Model, SaysWhatIsWrongWithAReport) {
    Bytes wrongByte = bytes(kInitialisation[0]);
    wrongByte[16] = 0x3D;
    const struct {
        Bytes report;
        const char* text;
    } cases[] = {
        {bytes("00 A0", 64), "output report of 64 bytes instead of 65"},
        {bytes("01 A0", 65), "output report with id 0x01 instead of 0"},
        {{}, "output report of 0 bytes instead of 65"},
        {bytes("00 77", 65), "unknown command 0x77"},
        {wrongByte, "initialisation packet 1: byte 15 is 0x3D instead of 0x3C"},
        {bytes(kInitialisation[2]), "initialisation packet 3 came behind packet 0"},
        {bytes("00 F1", 65), "neither the closing nor the stop packet"},
        {bytes("00 60 00 00", 65), "frame packet: the frame's length is zero (length 0, chunk 0)"},
    };
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        send(cases[index].report);
        EXPECT_EQ(model.errorText(index), cases[index].text);
    }
    for (int more = 0; more < 1000; ++more)
        send(bytes("00 77", 65));
    EXPECT_EQ(counts().errors, 1008U);
    EXPECT_EQ(model.errorText(8), "");
}

TEST_F(Model, TakesFramesOfEverySize) {
    std::uint64_t sequence = 1;
    for (std::size_t size = kMinTestFrameBytes; size <= kMaxTestFrameBytes; ++size)
        send(frameReports(sequence++, size));
    EXPECT_EQ(frames().intact, sequence - 1);
    EXPECT_EQ(frames().missing + frames().corrupt + frames().foreign, 0U);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
}

TEST_F(Model, CatchesEveryKindOfDamage) {
    const std::map<std::string, std::function<void(std::vector<Bytes>&)>> damages{
        {"payload byte", [](auto& reports) { reports[1][20] ^= 1; }},
        {"padding byte", [](auto& reports) { reports[3][64] = 1; }},
        {"byte 1", [](auto& reports) { reports[2][2] = 1; }},
        {"total length", [](auto& reports) { reports[2][3] -= 1; }},
        {"chunk dropped", [](auto& reports) { reports.erase(reports.begin() + 1); }},
        {"first chunk dropped", [](auto& reports) { reports.erase(reports.begin()); }},
        {"last chunk dropped", [](auto& reports) { reports.pop_back(); }},
        {"chunk repeated", [](auto& reports) { reports.insert(reports.begin() + 1, reports[1]); }},
        {"chunks swapped", [](auto& reports) { std::swap(reports[1], reports[2]); }},
        {"chunk index too high", [](auto& reports) { reports[3][4] = 200; }},
    };
    for (const auto& [name, damage] : damages) {
        AdapterModel fresh;
        const auto sendAll = [&](const std::vector<Bytes>& reports) {
            for (const Bytes& report : reports)
                fresh.receiveWithId(report, now);
        };
        sendAll(frameReports(1, 200));
        auto reports = frameReports(2, 200);
        damage(reports);
        sendAll(reports);
        sendAll(frameReports(3, 200));
        const FrameStatistics& result = fresh.frames().statistics();
        EXPECT_EQ(result.corrupt, 1U) << name;
        EXPECT_EQ(result.intact, 2U) << name;
        EXPECT_EQ(result.missing, 1U) << name;
        EXPECT_GE(fresh.statistics().errors, 1U) << name;
    }
}

TEST_F(Model, KeepsCountOfOrderRepeatsAndGaps) {
    sendFrames({10, 11, 15});
    EXPECT_EQ(frames().missing, 3U);
    sendFrames({13, 13, 11, 15});
    EXPECT_EQ(frames().outOfOrder, 1U);
    EXPECT_EQ(frames().repeated, 3U);
    EXPECT_EQ(frames().missing, 2U);
    EXPECT_EQ(frames().intact, 4U);
    sendFrames({16 + 5000, 17 + 5000});
    EXPECT_EQ(frames().missing, 2U + 5000U);
    EXPECT_EQ(frames().firstSequence, 10U);
    EXPECT_EQ(frames().lastSequence, 5017U);
}

TEST_F(Model, TellsForeignFramesFromDamagedOnes) {
    send(bytes("00 60 00 03 00 01 02 03", 65));
    EXPECT_EQ(frames().foreign, 1U);
    auto damaged = frameReports(1, 60);
    damaged[0][30] ^= 0xFF;
    send(damaged);
    EXPECT_EQ(frames().corrupt, 1U);
    EXPECT_EQ(frames().foreign, 1U);
}

TEST_F(Model, ForgetsHalfAFrameWithItsPower) {
    auto reports = frameReports(1, 200);
    send(reports[0]);
    model.powerOff();
    send(frameReports(2, 200));
    EXPECT_EQ(frames().intact, 1U);
    EXPECT_EQ(frames().corrupt, 0U);
}

TEST_F(Model, MeasuresFromTheStampToTheLastReport) {
    for (std::uint64_t sample = 1; sample <= 1000; ++sample)
        send(frameReports(sample, 100, static_cast<std::uint64_t>(now) - sample * 1000));
    const LatencyHistogram& latency = model.frames().latency();
    EXPECT_EQ(latency.samples(), 1000U);
    EXPECT_NEAR(static_cast<double>(latency.percentile(50)), 500e3, 5e3);
    EXPECT_NEAR(static_cast<double>(latency.percentile(99)), 990e3, 9.9e3);
    EXPECT_EQ(latency.maximum(), 1000'000U);
    send(frameReports(1001, 100, 0));
    send(frameReports(1002, 100, static_cast<std::uint64_t>(now) + 5));
    EXPECT_EQ(latency.samples(), 1000U) << "no stamp, or one of another clock, gives no sample";
}

TEST(LatencyHistogram, StaysWithinOnePercentOverItsWholeRange) {
    EXPECT_EQ(LatencyHistogram().percentile(50), 0U);
    for (std::uint64_t value = 1; value < std::uint64_t{1} << 62; value = value * 5 / 3 + 1) {
        LatencyHistogram histogram;
        histogram.add(value);
        histogram.add(~std::uint64_t{0});
        const double found = static_cast<double>(histogram.percentile(50));
        EXPECT_NEAR(found, static_cast<double>(value), static_cast<double>(value) * 0.01);
        EXPECT_EQ(histogram.maximum(), ~std::uint64_t{0});
    }
}

} // namespace
