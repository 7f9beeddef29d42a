// The development host's parts: what its options come to, and the books it keeps on frames.

#include "tools/ferrylink_host/command_line.h"
#include "tools/ferrylink_host/run_report.h"

#include <QByteArrayList>
#include <QDir>
#include <gtest/gtest.h>

#include <vector>

namespace Vantor::devhost {
namespace {

using Words = std::vector<const char*>;

std::optional<Options> parse(const Words& words, int& exitCode) {
    QByteArrayList texts{"ferrylink-host"};
    for (const char* const word : words)
        texts += word;
    std::vector<char*> argv;
    for (QByteArray& text : texts)
        argv.push_back(text.data());
    return parseCommandLine(static_cast<int>(argv.size()), argv.data(), exitCode);
}

TEST(HostCommandLine, RefusesWhatCannotBeDone) {
    const std::vector<Words> wrong{
        {"--adapter", "serial"},
        {"--feed", "-1"},
        {"--feed", "nan"},
        {"--feed", "2000000"},
        {"--frames", "0"},
        {"--frames", "-5"},
        {"--duration", "0"},
        {"--duration", "nan"},
        {"--bytes", "64"},
        {"--feed", "10", "--bytes", "19"},
        {"--feed", "10", "--bytes", "257"},
        {"--adapter", "usb", "--unplug-after", "10"},
        {"--replug-after", "10"},
        {"--unplug-after", "-1"},
        {"--instance", "../../etc"},
        {"--load"},
        {"--load", "0=a.gpc"},
        {"--load", "10=a.gpc"},
        {"--load", "1="},
        {"--load", "a.gpc"},
        {"--capture", "keyboard,joystick"},
        {"stray"},
    };
    for (const Words& words : wrong) {
        int exitCode = kExitFine;
        EXPECT_FALSE(parse(words, exitCode)) << words.front();
        EXPECT_EQ(exitCode, kExitUsage) << words.front();
    }
    int exitCode = kExitFailed;
    EXPECT_FALSE(parse({"--help"}, exitCode));
    EXPECT_EQ(exitCode, kExitFine);
}

TEST(HostCommandLine, FillsInWhatFollowsFromTheRest) {
    struct Case {
        Words words;
        std::optional<double> feedHz;
        std::optional<qint64> frames;
        bool starts;
    };
    const std::vector<Case> cases{
        {{}, std::nullopt, std::nullopt, false},
        {{"--feed", "60"}, 60, std::nullopt, true},
        {{"--frames", "10"}, 1000, 10, true},
        {{"--headless"}, 1000, 5000, true},
        {{"--headless", "--feed", "0"}, 0, 5000, true},
        {{"--headless", "--duration", "2"}, std::nullopt, std::nullopt, true},
        {{"--serial", "X"}, std::nullopt, std::nullopt, true},
        {{"--load", "1=a.gpc"}, std::nullopt, std::nullopt, true},
        {{"--capture", "mouse"}, std::nullopt, std::nullopt, true},
    };
    for (const Case& c : cases) {
        int exitCode = kExitFine;
        const std::optional<Options> options = parse(c.words, exitCode);
        ASSERT_TRUE(options);
        EXPECT_EQ(options->feedHz, c.feedHz);
        EXPECT_EQ(options->frames, c.frames);
        EXPECT_EQ(options->startsByItself(), c.starts);
    }
}

TEST(HostCommandLine, TakesLoadsInTheirOrderAndCaptureAsAList) {
    int exitCode = kExitFine;
    const std::optional<Options> options =
        parse({"--load", "9=/a=b.gpc", "--capture", "controller,keyboard", "--load", "2=c.git"}, exitCode);
    ASSERT_TRUE(options);
    ASSERT_EQ(options->loads.size(), 2);
    EXPECT_EQ(options->loads[0].slot, 9);
    EXPECT_TRUE(options->loads[0].file.endsWith(QStringLiteral("/a=b.gpc")));
    EXPECT_EQ(options->loads[1].slot, 2);
    EXPECT_EQ(options->loads[1].file, QDir::current().absoluteFilePath(QStringLiteral("c.git")));
    EXPECT_TRUE(options->capture.keyboard && options->capture.controller && !options->capture.mouse);
}

virtual_adapter_statistics received(std::uint64_t intact, std::uint64_t corrupt, std::uint64_t missing,
                                    std::uint64_t first, std::uint64_t last) {
    virtual_adapter_statistics counts{};
    counts.frames_intact = intact;
    counts.frames_corrupt = corrupt;
    counts.frames_missing = missing;
    counts.first_sequence = first;
    counts.last_sequence = last;
    return counts;
}

TEST(HostFrameFigures, AccountForEveryPublishedFrameOrSayThatTheyDoNot) {
    struct Case {
        const char* what;
        FeedResult feed;
        virtual_adapter_statistics adapter;
        qint64 forwarded;
        qint64 overwritten;
        bool balance;
    };
    const std::vector<Case> cases{
        {"all arrived", {100, 1, 100}, received(100, 0, 0, 1, 100), 100, 0, true},
        {"gaps inside", {100, 1, 100}, received(97, 0, 3, 1, 100), 97, 3, true},
        {"head and tail lost", {100, 11, 110}, received(90, 0, 0, 16, 105), 90, 10, true},
        {"a corrupt one leaves a gap too", {100, 1, 100}, received(98, 1, 2, 1, 100), 99, 1, true},
        {"nothing arrived", {100, 1, 100}, received(0, 0, 0, 0, 0), 0, 100, true},
        {"nothing was published", {0, std::nullopt, std::nullopt}, received(0, 0, 0, 0, 0), 0, 0, true},
        {"the producer counted one less than it numbered",
         {99, 1, 100},
         received(100, 0, 0, 1, 100),
         100,
         0,
         false},
        {"a gap that was not counted", {100, 1, 100}, received(98, 0, 1, 1, 100), 98, 1, false},
    };
    for (const Case& c : cases) {
        const FrameFigures figures = FrameFigures::from(c.feed, &c.adapter);
        EXPECT_EQ(figures.forwarded, c.forwarded) << c.what;
        EXPECT_EQ(figures.overwritten, c.overwritten) << c.what;
        EXPECT_EQ(figures.balance(), c.balance) << c.what;
    }
}

TEST(HostReport, SaysNullOverUsbForWhatCannotBeKnown) {
    RunReport report;
    report.virtualAdapter = false;
    report.frames = FrameFigures::from(FeedResult{10, 1, 10}, nullptr);
    const QJsonObject json = report.toJson();
    const QJsonObject frames = json[QStringLiteral("frames")].toObject();
    EXPECT_EQ(frames[QStringLiteral("published")].toInteger(), 10);
    for (const char* const key :
         {"forwarded", "intact", "corrupt", "overwritten", "unclaimed", "repeated", "out_of_order"})
        EXPECT_TRUE(frames[QLatin1String(key)].isNull()) << key;
    EXPECT_TRUE(json[QStringLiteral("latency_us")].isNull());
    EXPECT_TRUE(json[QStringLiteral("reports")].toObject()[QStringLiteral("written")].isNull());
    EXPECT_TRUE(
        json[QStringLiteral("blocks")][QStringLiteral("ControllerInput")][QStringLiteral("writes")].isNull());

    QString error;
    EXPECT_FALSE(report.write(QDir::tempPath(), error)) << "a directory is no file";
    EXPECT_FALSE(error.isEmpty());
}

} // namespace
} // namespace Vantor::devhost
