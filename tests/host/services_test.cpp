#include "host/logging_service.h"
#include "host/settings_manager.h"

#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace Vantor {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class LoggingServiceTest : public testing::Test {
protected:
    LoggingServiceTest() {
        log.clear();
        log.setStderrEnabled(false);
    }
    ~LoggingServiceTest() override { log.setStderrEnabled(true); }

    LoggingService& log = LoggingService::instance();
};

TEST_F(LoggingServiceTest, TheRingKeepsTheLastEntriesOfAllThreads) {
    constexpr int kThreads = 4;
    constexpr int kEach = 600;
    std::vector<std::jthread> threads(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads[static_cast<std::size_t>(thread)] = std::jthread([this, thread] {
            for (int number = 0; number < kEach; ++number)
                log.info(QString::number(thread), QString::number(number));
        });
    }
    threads.clear();
    const QList<LogEntry> entries = log.entries();
    ASSERT_EQ(entries.size(), LoggingService::kRingEntries);
    std::array<int, kThreads> last{-1, -1, -1, -1};
    for (const LogEntry& entry : entries) {
        int& before = last.at(entry.source.toUInt());
        EXPECT_LT(before, entry.message.toInt());
        before = entry.message.toInt();
    }
}

TEST_F(LoggingServiceTest, EveryEntryIsAnnouncedOnceWithItsLevel) {
    QString seen;
    const QObject context;
    QObject::connect(&log, &LoggingService::entryAdded, &context, [&](const LogEntry& entry) {
        // A receiver may look at the log: nothing is locked any more.
        seen += u"%1%2 "_s.arg(entry.message).arg(log.entries().size());
    });
    log.info("a", "i");
    log.warning("a", "w");
    log.error("a", "e");
    EXPECT_EQ(seen, "i1 w2 e3 ");
    EXPECT_EQ(log.entries()[1].level, LogEntry::Level::warning);
    log.info("a", QString(1'000'000, u'x'));
    EXPECT_EQ(log.entries().last().message.size(), LoggingService::kMaxMessageCharacters);
}

TEST_F(LoggingServiceTest, LinesOnStderrHaveOneForm) {
    log.setStderrEnabled(true);
    testing::internal::CaptureStderr();
    log.error("FerryLink", "text with %1");
    log.setStderrEnabled(false);
    log.error("FerryLink", "silent");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("....-..-.. ..:..:..\\.... \\[error\\] FerryLink: text with %1\n"));
}

class SettingsManagerTest : public LoggingServiceTest {
protected:
    QByteArray fileContent() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.readAll() : QByteArray();
    }

    const QTemporaryDir directory;
    const QString path = directory.filePath("settings.ini");
};

TEST_F(SettingsManagerTest, AValueIsOnDiskAtOnceAndThereNextTime) {
    {
        SettingsManager settings(path);
        EXPECT_EQ(settings.getPluginValue("ferry_link", "selected_device_serial", "none"), "none");
        settings.setPluginValue("ferry_link", "selected_device_serial", "A1B2, \"ä\"");
        // Read past the cache that settings objects of one process share.
        EXPECT_THAT(fileContent().toStdString(), HasSubstr("[ferry_link]\nselected_device_serial="));
    }
    const SettingsManager settings(path);
    EXPECT_EQ(settings.getPluginValue("ferry_link", "selected_device_serial"), u"A1B2, \"ä\""_s);
}

TEST_F(SettingsManagerTest, APlaceThatCannotBeWrittenIsReportedAndTheValueKept) {
    const QString occupied = directory.filePath("occupied");
    ASSERT_TRUE(QFile(occupied).open(QIODevice::WriteOnly));
    SettingsManager settings(occupied + "/settings.ini");
    settings.setPluginValue("group", "key", 5);
    EXPECT_EQ(settings.getPluginValue("group", "key"), 5);
    ASSERT_FALSE(log.entries().isEmpty());
    EXPECT_THAT(log.entries().last().message.toStdString(), HasSubstr("cannot be written"));
}

TEST_F(SettingsManagerTest, ABrokenFileIsReportedAndNothingOfItIsLost) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[ferry_link]\nselected_device_serial=A1\n\xFF no equals sign\n[broken\n");
    file.close();
    SettingsManager settings(path);
    ASSERT_EQ(log.entries().size(), 1);
    EXPECT_THAT(log.entries().last().message.toStdString(), HasSubstr("settings.ini.broken"));
    EXPECT_EQ(settings.getPluginValue("ferry_link", "selected_device_serial"), "A1");
    settings.setPluginValue("other", "key", "value");
    EXPECT_EQ(log.entries().size(), 1);
    EXPECT_THAT(fileContent().toStdString(), HasSubstr("A1"));
    QFile kept(path + ".broken");
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_THAT(kept.readAll().toStdString(), HasSubstr("no equals sign"));
}

} // namespace
} // namespace Vantor
