// The fault campaign over several processes at once, since most of each one's time is waiting. A longer run:
// FERRYLINK_CAMPAIGN_FAULTS, FERRYLINK_CAMPAIGN_SEED, FERRYLINK_CAMPAIGN_SHARDS in the environment.

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace Vantor {
namespace {

constexpr int kMostPerShardMs = 24 * 3600 * 1000; // the shards watch themselves

int fromEnvironment(const char* name, int otherwise) {
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(name, &isNumber);
    return isNumber && value > 0 ? value : otherwise;
}

class Campaign : public testing::Test {
protected:
    void startShards() {
        for (int shard = 0; shard < shards; ++shard) {
            auto process = std::make_unique<QProcess>();
            process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            const auto number = [](int value) { return QString::number(value); };
            process->start(QCoreApplication::applicationDirPath() +
                               QStringLiteral("/ferrylink_fault_campaign"),
                           {QStringLiteral("--faults"), number((faults + shards - 1) / shards),
                            QStringLiteral("--seed"), number(seed), QStringLiteral("--shard"), number(shard),
                            QStringLiteral("--shards"), number(shards)});
            processes.push_back(std::move(process));
        }
    }
    void collect(QProcess& process) {
        ASSERT_TRUE(process.waitForFinished(kMostPerShardMs)) << qPrintable(process.errorString());
        ASSERT_EQ(process.exitStatus(), QProcess::NormalExit) << "a shard has crashed";
        const QJsonObject report = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        ASSERT_FALSE(report.isEmpty()) << "exit " << process.exitCode();
        for (const auto& finding : report[QStringLiteral("findings")].toArray())
            ADD_FAILURE() << qPrintable(finding.toString());
        EXPECT_EQ(process.exitCode(), 0);
        struck += report[QStringLiteral("faults")].toInt();
        cases += report[QStringLiteral("cases")].toInt();
        const QJsonObject acts = report[QStringLiteral("acts")].toObject();
        for (auto act = acts.begin(); act != acts.end(); ++act)
            byAct[act.key()] = byAct[act.key()].toInt() + act.value().toInt();
    }

    const int faults = fromEnvironment("FERRYLINK_CAMPAIGN_FAULTS", FERRYLINK_DEFAULT_FAULTS);
    const int seed = fromEnvironment("FERRYLINK_CAMPAIGN_SEED", 1);
    const int shards = fromEnvironment("FERRYLINK_CAMPAIGN_SHARDS", 8);
    std::vector<std::unique_ptr<QProcess>> processes;
    int struck = 0;
    int cases = 0;
    QJsonObject byAct;
};

TEST_F(Campaign, ThePluginSurvivesEveryFault) {
    startShards();
    for (const auto& process : processes)
        collect(*process);
    EXPECT_GE(struck, faults);
    for (auto act = byAct.begin(); act != byAct.end(); ++act)
        EXPECT_GT(act.value().toInt(), 0) << qPrintable(act.key()) << " was never hit";
    std::printf("seed %d: %d cases, %d faults: %s\n", seed, cases, struck,
                QJsonDocument(byAct).toJson(QJsonDocument::Compact).constData());
}

} // namespace
} // namespace Vantor
