// Shared-memory blocks for a test: a host of its own, so that tests running at the same time do not meet.

#pragma once

#include "host/memory_block_host.h"
#include "host/records.h"
#include "host/shared_memory_accessor.h"

#include <QCoreApplication>
#include <QLatin1String>
#include <gtest/gtest.h>

namespace Vantor::test {

class Blocks {
public:
    Blocks() {
        if (!host.create(standardBlocks(QStringLiteral("test-%1").arg(QCoreApplication::applicationPid()))))
            ADD_FAILURE() << qPrintable(host.errorString());
    }

    const QList<MemoryBlockInfo>& all() const { return host.blocks(); }

    MemoryBlockInfo info(const char* name) const {
        for (const MemoryBlockInfo& block : all()) {
            if (block.name == QLatin1String(name))
                return block;
        }
        ADD_FAILURE() << "no block " << name;
        return {};
    }

private:
    MemoryBlockHost host;
};

/// Another program's view of a block.
class Peer : public SharedMemoryAccessor {
public:
    Peer(const Blocks& blocks, const char* name) : SharedMemoryAccessor(blocks.info(name)) {
        EXPECT_TRUE(connect()) << qPrintable(errorString());
    }

    std::int64_t sequence() const {
        std::int64_t value = 0;
        std::byte ignored{};
        readData(&ignored, 1, value);
        return value;
    }
    ControllerData controller() const {
        ControllerData record;
        std::int64_t ignored = 0;
        EXPECT_TRUE(readData(&record, sizeof record, ignored)) << "nothing was written";
        return record;
    }
};

} // namespace Vantor::test
