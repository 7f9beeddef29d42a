// Being told to end is a matter of signals on POSIX only.
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"

#include <QCoreApplication>
#include <QProcess>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace Vantor {
namespace {

TEST(CvfeedSignals, EndTheFeedWithASummary) {
    const QString instance = "cvfeed-signal-" + QString::number(QCoreApplication::applicationPid());
    const QList<MemoryBlockInfo> blocks = standardBlocks(instance);
    MemoryBlockHost host;
    ASSERT_TRUE(host.create(blocks));
    for (const int signal : {SIGINT, SIGTERM}) {
        SharedMemoryAccessor reader(blocks[3]);
        ASSERT_TRUE(reader.connect());
        reader.resetEvent();
        QProcess feed;
        feed.start(QCoreApplication::applicationDirPath() + "/cvfeed",
                   {"--hz", "0.001", "--instance", instance});
        const platform::EventHandle event = reader.getEventHandle();
        ASSERT_EQ(platform::waitAny({&event, 1}, 20'000).kind, platform::WaitResult::Kind::signalled);
        kill(static_cast<pid_t>(feed.processId()), signal);
        ASSERT_TRUE(feed.waitForFinished());
        EXPECT_EQ(feed.exitCode(), 0);
        EXPECT_THAT(feed.readAllStandardOutput().toStdString(), testing::StartsWith("1 frames published"));
    }
}

} // namespace
} // namespace Vantor
