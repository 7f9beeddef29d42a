// One shard of the fault campaign, a process of its own, because the simulated hidapi and the plug-in are
// there once in each:
//   ferrylink_fault_campaign --faults N [--seed N] [--shard N] [--shards N] [--verbose]
// Tries cases until N faults have struck, and prints one JSON document. Exit 0: all went well; 1: there are
// findings; 3: a case did not end. The cases follow from the seed; each shard takes its share of them.

#include "trial.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

using namespace Vantor::campaign;

namespace {

constexpr int kMostFindings = 20;
constexpr unsigned kEveryHowManieth = 4; ///< case has two faults
constexpr std::chrono::seconds kMostPerCase{90};

struct Plan {
    explicit Plan(unsigned seed) : random(seed), singles(singleFaults(random)) {}

    Case next() {
        if (++number % kEveryHowManieth == 0)
            return withSecond(singles[random() % singles.size()], random);
        return singles[taken++ % singles.size()];
    }

    std::mt19937 random;
    std::vector<Case> singles;
    unsigned number = 0;
    std::size_t taken = 0;
};

/// Ends the process when a case does not end, and says which.
class Watchdog {
public:
    Watchdog() : worker([this] { watch(); }) {}
    ~Watchdog() {
        {
            const std::lock_guard lock(mutex);
            ended = true;
        }
        changed.notify_all();
        worker.join();
    }
    void begin(const QString& what) {
        const std::lock_guard lock(mutex);
        name = what.toUtf8();
        ++round;
        changed.notify_all();
    }

private:
    void watch() {
        std::unique_lock lock(mutex);
        while (!ended) {
            const unsigned seen = round;
            if (changed.wait_for(lock, kMostPerCase, [&] { return ended || round != seen; }))
                continue;
            std::fprintf(stderr, "does not end: %s\n", name.constData());
            std::fflush(stderr);
            std::_Exit(3);
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    QByteArray name;
    unsigned round = 0;
    bool ended = false;
    std::thread worker;
};

struct Report {
    int cases = 0;
    int faults = 0;
    std::array<int, kActs> faultsByAct{};
    QJsonArray findings;

    void count(const Case& tried, const Trial::Result& result) {
        ++cases;
        faults += result.faultsStruck;
        faultsByAct[static_cast<std::size_t>(tried.act)] += result.faultsStruck;
        if (!result.complaints.isEmpty())
            findings +=
                describe(tried) + QStringLiteral(" -> ") + result.complaints.join(QStringLiteral("; "));
    }
    QJsonObject toJson() const {
        QJsonObject acts;
        for (std::size_t act = 0; act < kActs; ++act)
            acts[QLatin1String(nameOf(static_cast<Act>(act)))] = faultsByAct[act];
        return {{QStringLiteral("cases"), cases},
                {QStringLiteral("faults"), faults},
                {QStringLiteral("acts"), acts},
                {QStringLiteral("findings"), findings}};
    }
};

int valueOf(const QCommandLineParser& line, const char* option) {
    return line.value(QLatin1String(option)).toInt();
}

Report tryCases(Stage& stage, const QCommandLineParser& line) {
    const int goal = valueOf(line, "faults");
    const unsigned shards = static_cast<unsigned>(valueOf(line, "shards"));
    const unsigned shard = static_cast<unsigned>(valueOf(line, "shard"));
    Plan plan(static_cast<unsigned>(valueOf(line, "seed")));
    Report report;
    Watchdog watchdog;
    Trial trial(stage);
    watchdog.begin(QStringLiteral("the first start"));
    for (const QString& complaint : trial.warmUp())
        report.findings += QStringLiteral("the first start -> ") + complaint;
    for (unsigned number = 0; report.faults < goal && report.findings.size() < kMostFindings; ++number) {
        const Case tried = plan.next();
        if (number % shards != shard)
            continue;
        watchdog.begin(describe(tried));
        QElapsedTimer clock;
        clock.start();
        const Trial::Result result = trial.run(tried);
        report.count(tried, result);
        if (line.isSet(QStringLiteral("verbose")))
            std::fprintf(stderr, "%5lld ms  %s  %s\n", static_cast<long long>(clock.elapsed()),
                         qPrintable(describe(tried)),
                         qPrintable(result.complaints.join(QStringLiteral("; "))));
    }
    return report;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QCommandLineParser line;
    line.addOptions({{QStringLiteral("faults"), QStringLiteral("that shall strike"), QStringLiteral("N")},
                     {QStringLiteral("seed"), {}, QStringLiteral("N"), QStringLiteral("1")},
                     {QStringLiteral("shard"), {}, QStringLiteral("N"), QStringLiteral("0")},
                     {QStringLiteral("shards"), {}, QStringLiteral("N"), QStringLiteral("1")},
                     {QStringLiteral("verbose"), {}}});
    line.process(application);
    if (valueOf(line, "faults") < 1 || valueOf(line, "shards") < 1)
        return 2;

    Stage stage;
    if (!stage.problem().isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(stage.problem()));
        return 1;
    }
    QElapsedTimer clock;
    clock.start();
    const Report report = tryCases(stage, line);
    QJsonObject document = report.toJson();
    document[QStringLiteral("seconds")] = static_cast<double>(clock.elapsed()) / 1000;
    document[QStringLiteral("resident_kb")] = static_cast<qint64>(Footprint::now().residentKb);
    std::puts(QJsonDocument(document).toJson(QJsonDocument::Compact).constData());
    return report.findings.isEmpty() ? 0 : 1;
}
