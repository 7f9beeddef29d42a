// cvfeed: publishes test frames in the block "CVData" from a process of its own, at a steady rate, for trying
// out and measuring whoever reads that block. It needs a running host, which makes the block.

#include "cvfeed_schedule.h"
#include "host/block_access.h"
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/precise_sleep.h"
#include "simulator/test_frame.h"

#include <CLI/CLI.hpp>
#include <QSaveFile>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <limits>
#include <string>
#include <thread>

namespace {

using namespace Vantor;

constexpr int kExitFine = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

constexpr double kNsPerSecond = 1e9;
/// Longer than any machine runs, and short enough to be counted in nanoseconds.
constexpr double kMaxSeconds = 1e9;
constexpr std::int64_t kNsPerMs = 1'000'000;
/// How often the feed looks whether its host still runs.
constexpr std::int64_t kHostCheckNs = 250 * kNsPerMs;
/// Waits of at least this length can be ended by a signal at once; shorter ones are slept through, precisely.
constexpr std::int64_t kInterruptibleWaitNs = 20 * kNsPerMs;

struct Options {
    double hz = 1000;
    std::size_t bytes = 128;
    std::uint64_t frames = 0;   ///< 0 = no limit
    double durationSeconds = 0; ///< 0 = no limit
    std::string instance;
    std::string reportFile;
    bool untilInputEnds = false;
};

struct Summary {
    std::uint64_t published = 0;
    std::uint64_t late = 0;
    /// Frames that nobody had begun to take when the next one came: a reader's own account of what it missed
    /// can be held against it.
    std::uint64_t unclaimed = 0;
    std::int64_t firstSequence = 0;
    std::int64_t lastSequence = 0;
    std::int64_t firstNs = 0;
    std::int64_t lastNs = 0;
    double seconds = 0;
    std::string error; ///< empty when the feed ended as it was told to

    double realHz() const {
        const double span = static_cast<double>(lastNs - firstNs) / kNsPerSecond;
        return published > 1 && span > 0 ? static_cast<double>(published - 1) / span : 0;
    }
};

std::atomic<platform::Event*> stopEvent{nullptr};
static_assert(std::atomic<platform::Event*>::is_always_lock_free, "used in a signal handler");

/// Setting an event takes one atomic step and one system call, so a signal handler may.
void onSignal(int /*signal*/) {
    if (platform::Event* const event = stopEvent.load())
        event->set();
}

/// Ends the feed with standard input, which the system closes when the program that started this one is gone,
/// however it went. The thread may outlast main(), so the event that it sets must too.
void stopWhenInputEnds() {
    std::thread([] {
        while (std::getchar() != EOF)
            continue;
        onSignal(0);
    }).detach();
}

class Feed {
public:
    Feed(const Options& feedOptions, SharedMemoryAccessor& cvData, const platform::Event& stopRequest)
        : options(feedOptions), block(cvData), stop(stopRequest) {}

    Summary run();

private:
    bool isDone(std::int64_t nowNs) const;
    bool waitUntil(std::int64_t deadlineNs);
    bool checkHost(std::int64_t nowNs);
    bool publish();
    bool lastIsUnclaimed() const;

    const Options& options;
    SharedMemoryAccessor& block;
    const platform::Event& stop;
    platform::PreciseSleep sleep;
    std::array<std::uint8_t, simulator::kMaxTestFrameBytes> frame{};
    std::int64_t startNs = 0;
    std::int64_t endNs = std::numeric_limits<std::int64_t>::max();
    std::int64_t hostCheckedNs = 0;
    Summary summary;
};

bool Feed::isDone(std::int64_t nowNs) const {
    return stop.isSet() || (options.frames > 0 && summary.published >= options.frames) || nowNs >= endNs;
}

bool Feed::checkHost(std::int64_t nowNs) {
    if (nowNs - hostCheckedNs < kHostCheckNs)
        return true;
    hostCheckedNs = nowNs;
    if (block.isHostRunning())
        return true;
    summary.error = "The host that made the block \"CVData\" has ended.";
    return false;
}

/// False when the feed is to end instead of publishing at `deadlineNs`.
bool Feed::waitUntil(std::int64_t deadlineNs) {
    for (;;) {
        const std::int64_t nowNs = platform::monotonicNowNs();
        if (isDone(nowNs) || !checkHost(nowNs))
            return false;
        if (nowNs >= deadlineNs)
            return true;
        const std::int64_t wakeNs = std::min(deadlineNs, endNs);
        const std::int64_t remainingNs = wakeNs - nowNs;
        if (remainingNs < kInterruptibleWaitNs) {
            sleep.until(wakeNs);
            continue;
        }
        const std::int64_t waitNs = std::min(remainingNs - kInterruptibleWaitNs / 2, kHostCheckNs);
        const platform::EventHandle handle = stop.handle();
        platform::waitAny({&handle, 1}, static_cast<std::uint32_t>(waitNs / kNsPerMs));
    }
}

/// Whoever takes a frame resets the event first.
bool Feed::lastIsUnclaimed() const {
    const platform::EventHandle event = block.getEventHandle();
    return platform::waitAny({&event, 1}, 0).kind == platform::WaitResult::Kind::signalled;
}

bool Feed::publish() {
    const auto sequence = blockLoad<std::int64_t>(block.getHeaderPointer(), BlockLayout::kSequenceOffset,
                                                  std::memory_order_relaxed) +
                          1;
    const std::int64_t stampNs = platform::monotonicNowNs();
    simulator::fillTestFrame(std::span(frame).first(options.bytes), static_cast<std::uint64_t>(sequence),
                             static_cast<std::uint64_t>(stampNs));
    if (summary.published > 0 && lastIsUnclaimed())
        ++summary.unclaimed;
    if (!block.writeData(frame.data(), options.bytes, stampNs)) {
        summary.error = block.errorString().toStdString();
        return false;
    }
    if (summary.published++ == 0) {
        summary.firstSequence = sequence;
        summary.firstNs = stampNs;
    }
    summary.lastSequence = sequence;
    summary.lastNs = stampNs;
    return true;
}

Summary Feed::run() {
    startNs = platform::monotonicNowNs();
    if (options.durationSeconds > 0)
        endNs = startNs + std::llround(std::min(options.durationSeconds, kMaxSeconds) * kNsPerSecond);
    FrameSchedule schedule(options.hz, startNs);
    while (waitUntil(schedule.deadlineNs()) && publish())
        schedule.advance(summary.lastNs);
    summary.late = schedule.skipped();
    summary.seconds = static_cast<double>(platform::monotonicNowNs() - startNs) / kNsPerSecond;
    return summary;
}

/// What was not measured is null, never a number.
bool writeReport(const std::string& path, const Summary& summary) {
    nlohmann::json report{{"published", summary.published}, {"first_sequence", nullptr},
                          {"last_sequence", nullptr},       {"hz", nullptr},
                          {"seconds", summary.seconds},     {"late", summary.late},
                          {"unclaimed", summary.unclaimed}};
    if (summary.published > 0) {
        report["first_sequence"] = summary.firstSequence;
        report["last_sequence"] = summary.lastSequence;
    }
    if (summary.published > 1)
        report["hz"] = summary.realHz();
    const std::string text = report.dump(2) + '\n';
    QSaveFile file(QString::fromStdString(path));
    const bool written =
        file.open(QIODevice::WriteOnly) &&
        file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) &&
        file.commit();
    if (!written)
        std::fprintf(stderr, "cvfeed: cannot write %s: %s\n", path.c_str(), qPrintable(file.errorString()));
    return written;
}

int feed(const Options& options) {
    const QString instance = QString::fromStdString(options.instance);
    const QList<MemoryBlockInfo> blocks = standardBlocks(instance);
    const auto info = std::find_if(blocks.begin(), blocks.end(), [](const MemoryBlockInfo& block) {
        return block.name == BlockName::kCVData;
    });
    SharedMemoryAccessor block(*info);
    block.setWriterName(QStringLiteral("cvfeed"));
    if (!block.connect()) {
        const bool noHost = block.isBlockMissing();
        std::fprintf(
            stderr, "%s\n",
            noHost ? "No host is running: the block \"CVData\" does not exist. Start ferrylink-host first."
                   : qPrintable(block.errorString()));
        return kExitFailed;
    }

    static auto* const lastingStop = new platform::Event;
    const platform::Event& stop = *lastingStop;
    stopEvent = lastingStop;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    if (options.untilInputEnds)
        stopWhenInputEnds();
    const Summary summary = Feed(options, block, stop).run();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);

    std::printf("%llu frames published in %.2f s, %.1f Hz, %llu late\n",
                static_cast<unsigned long long>(summary.published), summary.seconds, summary.realHz(),
                static_cast<unsigned long long>(summary.late));
    std::fflush(stdout);
    if (!summary.error.empty())
        std::fprintf(stderr, "%s\n", summary.error.c_str());
    const bool reported = options.reportFile.empty() || writeReport(options.reportFile, summary);
    return summary.error.empty() && reported ? kExitFine : kExitFailed;
}

void declare(CLI::App& app, Options& options) {
    app.add_option("--hz", options.hz, "Frames in a second; 0 publishes as fast as it can")
        ->capture_default_str();
    app.add_option("--bytes", options.bytes, "Payload bytes of a frame")
        ->check(CLI::Range(simulator::kMinTestFrameBytes, simulator::kMaxTestFrameBytes))
        ->capture_default_str();
    app.add_option("--frames", options.frames, "End after this many frames")->check(CLI::PositiveNumber);
    app.add_option("--duration", options.durationSeconds, "End after this many seconds");
    app.add_option("--instance", options.instance,
                   "Which host to feed, when several run [default: $VANTOR_INSTANCE, else the ordinary one]");
    app.add_option("--report", options.reportFile, "Write what was done to this file, as JSON");
    app.add_flag("--until-input-ends", options.untilInputEnds,
                 "End with standard input, so that no feed outlives the program that started it");
    app.footer("Examples:\n"
               "  cvfeed                                   1000 frames a second until Ctrl+C\n"
               "  cvfeed --hz 60 --bytes 256               like a camera, with the largest frames\n"
               "  cvfeed --hz 1000 --frames 5000           five thousand frames, then a summary\n"
               "  cvfeed --hz 0 --duration 2 --report r.json   as fast as it can for two seconds\n"
               "\n"
               "A host must be running: it makes the block that the frames go to.\n"
               "Exit: 0 fine; 1 no host, the host ended, or another writer holds the block; 2 wrong usage.");
}

/// What the declarations cannot say. The comparisons are also false for what is not a number.
void validate(const Options& options) {
    constexpr double kMinHz = 0.001;
    constexpr double kMaxHz = 1e6;
    if (options.hz != 0 && !(options.hz >= kMinHz && options.hz <= kMaxHz))
        throw CLI::ValidationError("--hz", "a rate is 0, or from 0.001 to 1000000");
    if (!(options.durationSeconds >= 0))
        throw CLI::ValidationError("--duration", "a duration is not negative");
    if (!isValidInstance(QString::fromStdString(options.instance)))
        throw CLI::ValidationError("--instance",
                                   "an instance name has up to 32 letters, digits, '-' and '_'");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Publishes test frames in the shared-memory block \"CVData\".", "cvfeed");
    Options options;
    options.instance = defaultInstance().toStdString();
    declare(app, options);
    try {
        app.parse(argc, argv);
        validate(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitFine : kExitUsage;
    }
    return feed(options);
}
