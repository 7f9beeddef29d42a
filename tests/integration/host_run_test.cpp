// The whole of it, as processes: a producer publishes, the host's plug-in forwards to a simulated adapter,
// and what comes back is in the blocks and in the report.

#include "host_fixture.h"

namespace Vantor {
namespace {

class HostRuns : public HostProcesses {};

TEST_F(HostRuns, CarriesFiveThousandFramesAtOneKilohertz) {
    ASSERT_EQ(runHost(words({"--feed", "1000", "--frames", "5000"})), 0) << qPrintable(output);
    EXPECT_EQ(number("frames/published"), 5000);
    EXPECT_EQ(number("frames/forwarded") + number("frames/overwritten"), 5000);
    EXPECT_GT(number("frames/forwarded"), 500) << "nine in ten frames were lost";
    // The sum alone would also hold if frames were lost after they had been taken. Only one that comes
    // between the reader's waking and its copy is claimed and yet overwritten, which happens the more often
    // the later a machine wakes its threads.
    EXPECT_LE(number("frames/overwritten"), number("frames/unclaimed") * 5 / 4 + 50);
    EXPECT_EQ(number("frames/intact"), number("frames/forwarded"));
    expectCleanFrames();
    EXPECT_EQ(number("disconnections"), 0);
    // Three reports of 60 bytes carry a frame of 128 bytes, which is what the producer makes unless told
    // otherwise.
    EXPECT_GE(number("reports/written"), 3 * number("frames/forwarded"));
    EXPECT_GT(number("reports/read"), 0);
    const double p50 = reported("latency_us/p50").toDouble();
    const double p99 = reported("latency_us/p99").toDouble();
    EXPECT_GT(p50, 0);
    EXPECT_LE(p50, p99);
    EXPECT_LE(p99, reported("latency_us/max").toDouble());
    for (const char* const path : {"blocks/ControllerInput/writes", "blocks/ControllerReport/writes",
                                   "rates/cv_hz", "rates/input_pps", "rates/state_pps"})
        EXPECT_GT(number(path), 10) << path;
    for (const char* const path : {"status/firmware", "status/output_protocol", "status/usb_ports/output"})
        EXPECT_TRUE(reported(path).isString()) << path;
    EXPECT_GE(number("status/loaded_slot"), 0);
    EXPECT_FALSE(reported("status/slots").toArray().isEmpty());
    EXPECT_TRUE(reported("errors").toArray().isEmpty());
    EXPECT_FALSE(blockExists(BlockName::kCVData)) << "a block was left behind";
}

TEST_F(HostRuns, GetsALostAdapterBackOnAnotherPathUnderLoad) {
    ASSERT_EQ(runHost(words(
                  {"--duration", "5", "--feed", "1000", "--unplug-after", "1000", "--replug-after", "700"})),
              0)
        << qPrintable(output);
    EXPECT_EQ(number("disconnections"), 1);
    EXPECT_EQ(number("reconnections"), 1);
    EXPECT_GE(number("reconnection_ms"), 0);
    EXPECT_LE(number("reconnection_ms"), 2000);
    EXPECT_EQ(number("frames/forwarded") + number("frames/overwritten"), number("frames/published"));
    EXPECT_GT(number("rates/cv_hz"), 10) << "frames do not flow again";
    EXPECT_EQ(reported("status/connection").toString(), QStringLiteral("connected"));
    expectCleanFrames();
}

TEST_F(HostRuns, CarriesFramesOfEverySizeAsFastAsTheyCome) {
    for (const char* const bytes : {"20", "60", "61", "255", "256"}) {
        ASSERT_EQ(runHost(words({"--feed", "0", "--frames", "5000", "--bytes", bytes})), 0)
            << bytes << qPrintable(output);
        EXPECT_EQ(number("frames/forwarded") + number("frames/overwritten"), 5000) << bytes;
        expectCleanFrames();
    }
}

TEST_F(HostRuns, RefusesASecondHostAndLeavesTheFirstAlone) {
    QProcess first;
    startHost(first, words({"--frames", "2000"}));
    ASSERT_TRUE(framesPublished(first, 1));
    EXPECT_EQ(runHost(words({"--frames", "10"})), 1);
    EXPECT_TRUE(output.contains(QStringLiteral("Another Vantor host (process %1)").arg(first.processId())))
        << qPrintable(output);
    EXPECT_EQ(waitForEnd(first), 0);
    EXPECT_EQ(number("frames/forwarded") + number("frames/overwritten"), 2000);
}

TEST_F(HostRuns, OutlivesAProducerThatIsKilledAndTakesTheNextOne) {
    QProcess host;
    startHost(host, words({"--duration", "8"})); // two more processes have to start meanwhile
    ASSERT_TRUE(framesPublished(host, 0));
    QProcess killed;
    startFeed(killed, words({"--hz", "5000"}));
    ASSERT_TRUE(framesPublished(host, 300));
    killed.kill();
    ASSERT_TRUE(killed.waitForFinished(kRunPatienceMs));
    const std::int64_t before = lastFrame();
    QProcess next;
    startFeed(next, words({"--frames", "500"}));
    EXPECT_EQ(waitForEnd(next), 0) << next.readAllStandardError().constData();
    EXPECT_EQ(waitForEnd(host), 0);
    EXPECT_TRUE(reported("frames/published").isNull()) << "the host had no producer of its own to ask";
    // How many are overwritten depends on the machine, but numbers go on across producers, and those of the
    // killed one alone span `before` at most.
    EXPECT_GT(number("frames/intact") + number("frames/overwritten"), before);
    expectCleanFrames();
}

TEST_F(HostRuns, TakesOverWhatAKilledHostLeftBehind) {
    QProcess killed;
    startHost(killed, words({"--frames", "100000"}));
    ASSERT_TRUE(framesPublished(killed, 100));
    killed.kill();
    ASSERT_TRUE(killed.waitForFinished(kRunPatienceMs));
    ASSERT_TRUE(writerHasEnded()) << "the killed host's producer runs on";
    EXPECT_EQ(runHost(words({"--frames", "300"})), 0) << qPrintable(output);
    EXPECT_EQ(number("frames/published"), 300);
}

TEST_F(HostRuns, LoadsFilesCapturesThePatternAndReportsBoth) {
    ASSERT_EQ(runHost(words({"--load", "1=" FERRYLINK_EXAMPLES_FOLDER "/toggle.gpc", "--load",
                             "5=" FERRYLINK_EXAMPLES_FOLDER "/remap.gpc", "--capture",
                             "keyboard,mouse,controller", "--duration", "2"})),
              0)
        << qPrintable(output);
    const QJsonArray loads = reported("loads").toArray();
    ASSERT_EQ(loads.size(), 2);
    EXPECT_TRUE(loads[0][QStringLiteral("ok")].toBool() && loads[1][QStringLiteral("ok")].toBool());
    EXPECT_EQ(number("status/loaded_slot"), 5) << "the last one stays loaded";
    QStringList names;
    for (const auto& slot : reported("status/slots").toArray())
        names += slot[QStringLiteral("name")].toString();
    EXPECT_TRUE(names.contains(QStringLiteral("Toggle sprint"))) << qPrintable(names.join(u' '));
    EXPECT_TRUE(names.contains(QStringLiteral("Left-handed"))) << qPrintable(names.join(u' '));
    EXPECT_TRUE(reported("kmg/started").toBool());
    EXPECT_GT(number("kmg/packets"), 10);
    EXPECT_GT(number("rates/keyboard_hz"), 0);
    EXPECT_TRUE(reported("errors").toArray().isEmpty());
}

TEST_F(HostRuns, SaysWhatDidNotHappen) {
    struct Case {
        QStringList arguments;
        const char* said;
    };
    const std::vector<Case> cases{
        {words({"--plugin", FERRYLINK_BIN_DIRECTORY "/cvfeed"}), "The plug-in cannot be loaded"},
        {words({"--plugin", "/no/such/plugin"}), "The plug-in cannot be loaded from /no/such/plugin"},
        {words({"--feed", "1", "--duration", "0.3", "--unplug-after", "0"}), "No frame was forwarded"},
        {words({"--duration", "0.1", "--load", "1=/no/such.gpc"}),
         "/no/such.gpc was not loaded into slot 1: GPC Script: Could not open such.gpc."},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(runHost(c.arguments), 1) << c.said;
        EXPECT_TRUE(output.contains(QLatin1String(c.said))) << c.said << qPrintable(output);
    }
}

TEST_F(HostRuns, AReportThatCannotBeWrittenIsAFailure) {
    ASSERT_TRUE(QDir(directory.path()).mkdir(QStringLiteral("report.json")));
    EXPECT_EQ(runHost(words({"--frames", "10"})), 1);
    EXPECT_TRUE(output.contains(QStringLiteral("cannot be written"))) << qPrintable(output);
}

} // namespace
} // namespace Vantor
