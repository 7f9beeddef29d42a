// Starts the programs as a user does, as processes of their own, and reads what they leave behind.

#pragma once

#include "host/block_access.h"
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "platform/shared_memory.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <vector>

namespace Vantor {

inline constexpr int kRunPatienceMs = 60'000;

inline QStringList words(std::initializer_list<const char*> texts) {
    QStringList list;
    for (const char* const text : texts)
        list += QString::fromUtf8(text);
    return list;
}

class HostProcesses : public testing::Test {
protected:
    void startHost(QProcess& process, QStringList arguments) {
        arguments += words({"--headless", "--instance"});
        arguments << instance << QStringLiteral("--settings")
                  << directory.filePath(QStringLiteral("settings.ini")) << QStringLiteral("--report")
                  << directory.filePath(QStringLiteral("report.json"));
        process.start(QStringLiteral(FERRYLINK_BIN_DIRECTORY "/ferrylink-host"), arguments);
    }
    void startFeed(QProcess& process, QStringList arguments) {
        arguments << QStringLiteral("--instance") << instance;
        process.start(QStringLiteral(FERRYLINK_BIN_DIRECTORY "/cvfeed"), arguments);
    }
    /// Exit code, or -1 for a crash and -2 for no end.
    static int waitForEnd(QProcess& process) {
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(kRunPatienceMs))
            return -2;
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    /// Runs a host to its end.
    int runHost(const QStringList& arguments) {
        QProcess host;
        startHost(host, arguments);
        const int exitCode = waitForEnd(host);
        output = QString::fromUtf8(host.readAllStandardOutput() + host.readAllStandardError());
        return exitCode;
    }
    /// What stands in the last run's report under a path such as "frames/intact".
    QJsonValue reported(const char* path) {
        QFile file(directory.filePath(QStringLiteral("report.json")));
        if (!file.open(QIODevice::ReadOnly))
            return QJsonValue::Undefined;
        QJsonValue value = QJsonDocument::fromJson(file.readAll()).object();
        for (const QString& key : QString::fromLatin1(path).split(u'/'))
            value = value[key];
        return value;
    }
    qint64 number(const char* path) { return reported(path).toInteger(-1); }
    void expectCleanFrames() {
        for (const char* const path : {"frames/corrupt", "frames/repeated", "frames/out_of_order"})
            EXPECT_EQ(number(path), 0) << path;
    }

    MemoryBlockInfo info(const char* name) const {
        for (const MemoryBlockInfo& block : standardBlocks(instance))
            if (block.name == QLatin1String(name))
                return block;
        return {};
    }
    bool blockExists(const char* name) const { return SharedMemoryAccessor(info(name)).connect(); }
    /// Waits until the host's blocks are there and so many frames have been published; false when the host
    /// ends first.
    bool framesPublished(const QProcess& host, std::int64_t atLeast) const {
        const auto published = [&] {
            return atLeast == 0 ? blockExists(BlockName::kCVData) : lastFrame() >= atLeast;
        };
        return QTest::qWaitFor([&] { return published() || host.state() == QProcess::NotRunning; },
                               kRunPatienceMs) &&
               published();
    }
    /// The number of the frame in the block; 0 when there is none, or it was left unfinished.
    std::int64_t lastFrame() const {
        SharedMemoryAccessor block(info(BlockName::kCVData));
        std::int64_t sequence = 0;
        std::array<std::byte, kMaxFrameBytes> frame{};
        return block.connect() && block.readData(frame.data(), frame.size(), sequence) ? sequence : 0;
    }
    /// Waits until the process that writes frames is gone.
    bool writerHasEnded() const {
        SharedMemoryAccessor block(info(BlockName::kCVData));
        if (!block.connect())
            return true; // where memory ends with its last user, nobody is left
        const std::byte* const header = block.getHeaderPointer();
        return QTest::qWaitFor(
            [&] {
                const platform::ProcessIdentity writer{
                    .id = blockLoad<std::uint32_t>(header, BlockLayout::kWriterIdOffset,
                                                   std::memory_order_acquire),
                    .startTime = blockLoad<std::uint64_t>(header, BlockLayout::kWriterStartOffset,
                                                          std::memory_order_relaxed)};
                return !platform::isRunning(writer);
            },
            kRunPatienceMs);
    }

    const QString instance = QStringLiteral("run-%1").arg(QCoreApplication::applicationPid());
    QTemporaryDir directory;
    QString output; ///< of the last run, both streams
};

} // namespace Vantor
