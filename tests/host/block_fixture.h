// Blocks of an instance that only this test process knows, and other processes that deal with them.

#pragma once

#include "host/block_access.h"
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "platform/shared_memory.h"

#include <QCoreApplication>
#include <QProcess>
#include <gtest/gtest.h>

#include <memory>

namespace Vantor::test {

class BlockTest : public testing::Test {
protected:
    ~BlockTest() override {
        peer.kill();
        peer.waitForFinished();
        host.reset();
        for (const MemoryBlockInfo& block : blocks)
            platform::SharedMemory::unlink(block.segmentName.toStdString());
    }

    void startHost() {
        host = std::make_unique<MemoryBlockHost>();
        ASSERT_TRUE(host->create(blocks)) << qPrintable(host->errorString());
    }

    /// Runs block_peer in that role and waits until it has done its part; what it said.
    QString startPeer(const QString& role) {
        peer.start(QCoreApplication::applicationDirPath() + "/ferrylink_block_peer", {role, instance});
        while (!peer.canReadLine() && peer.waitForReadyRead()) {
        }
        return QString::fromUtf8(peer.readLine()).trimmed();
    }

    void killPeer() {
        peer.kill();
        ASSERT_TRUE(peer.waitForFinished());
    }

    const QString instance = "test-" + QString::number(QCoreApplication::applicationPid());
    const QList<MemoryBlockInfo> blocks = standardBlocks(instance);
    const MemoryBlockInfo cvData = blocks[3];
    std::unique_ptr<MemoryBlockHost> host;
    QProcess peer;
};

} // namespace Vantor::test
