// What a frame's way through the real stack costs beside a program that writes the same reports to the hidraw
// node itself. The two take turns, and each turn has a fresh adapter that measures from a frame's stamp to
// the arrival of its last report.

#include "usb_fixture.h"

#include <QCoreApplication>
#include <QProcess>

#include <algorithm>
#include <vector>

namespace Vantor {
namespace {

constexpr int kTurns = 3;
constexpr int kFramesHz = 25;
constexpr int kFrames = 250;
constexpr int kFrameBytes = 128; // three reports

/// At p50, of FerryLink's way to the bare writer's.
constexpr double kMaxRatio = 1.1;

struct Latency {
    double p50Us = 0;
    double p99Us = 0;
};

Latency latencyOf(const ServedAdapter& adapter) {
    return adapter.inspect([](const simulator::AdapterModel& model) {
        const simulator::LatencyHistogram& latency = model.frames().latency();
        return Latency{.p50Us = static_cast<double>(latency.percentile(50)) / 1e3,
                       .p99Us = static_cast<double>(latency.percentile(99)) / 1e3};
    });
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class Figures : public UsbScenario {
protected:
    void measureBare(const QString& node) {
        const ServedAdapter adapter(first, 0);
        QProcess bare;
        bare.start(
            QCoreApplication::applicationDirPath() + QStringLiteral("/ferrylink_usb_bare_writer"),
            {node, QString::number(kFrames), QString::number(kFramesHz), QString::number(kFrameBytes)});
        ASSERT_TRUE(bare.waitForFinished(static_cast<int>(kPatience.count())) && bare.exitCode() == 0);
        ASSERT_TRUE(adapter.waitForFrames(kFrames));
        keep("bare", latencyOf(adapter));
    }
    void measureFerryLink() {
        const ServedAdapter adapter(first, 0);
        UsbHost host;
        host.start({QStringLiteral("--feed"), QString::number(kFramesHz), QStringLiteral("--frames"),
                    QString::number(kFrames), QStringLiteral("--bytes"), QString::number(kFrameBytes)});
        ASSERT_EQ(host.waitForEnd(), 0) << host.said().constData();
        ASSERT_GT(adapter.frames().intact, static_cast<std::uint64_t>(kFrames) / 2);
        adapter.expectCleanFrames();
        keep("ferrylink", latencyOf(adapter));
    }
    void keep(const std::string& who, const Latency& latency) {
        const bool isBare = who == "bare";
        (isBare ? bareP50 : ferryP50).push_back(latency.p50Us);
        (isBare ? bareP99 : ferryP99).push_back(latency.p99Us);
    }

    std::vector<double> bareP50, bareP99, ferryP50, ferryP99;
};

TEST_F(Figures, AFramesWayBesideABareWriters) {
    ASSERT_TRUE(first.plug());
    const QString node = waitForAdapters(1).value(0).path;
    for (int turn = 0; turn < kTurns; ++turn) {
        ASSERT_NO_FATAL_FAILURE(measureBare(node));
        ASSERT_NO_FATAL_FAILURE(measureFerryLink());
    }
    const double ratio = medianOf(ferryP50) / medianOf(bareP50);
    EXPECT_LE(ratio, kMaxRatio);
    recordFigure("bare_p50_us", medianOf(bareP50));
    recordFigure("bare_p99_us", medianOf(bareP99));
    recordFigure("ferrylink_p50_us", medianOf(ferryP50));
    recordFigure("ferrylink_p99_us", medianOf(ferryP99));
    recordFigure("ratio_p50", ratio);
    recordFigure("ratio_p99", medianOf(ferryP99) / medianOf(bareP99));
}

} // namespace
} // namespace Vantor
