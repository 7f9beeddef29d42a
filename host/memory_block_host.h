// The host's side of shared memory: makes the blocks that plug-ins and producers attach to, and removes them.
// Entry point: MemoryBlockHost::create(). GUI thread only.

#pragma once

#include "host/memory_block_info.h"
#include "host/vantor_core_export.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace Vantor {

/// Block names that every host offers, with their sizes; what an accessor in another process needs to attach.
/// `instance` tells hosts on one machine apart; empty is the ordinary one. The environment variable
/// VANTOR_INSTANCE is what programs take as their default.
VANTOR_CORE_EXPORT QList<MemoryBlockInfo> standardBlocks(const QString& instance);
VANTOR_CORE_EXPORT QString defaultInstance();
/// Letters, digits, '-' and '_', at most 32 of them; empty is the ordinary instance and valid.
VANTOR_CORE_EXPORT bool isValidInstance(const QString& instance);

class VANTOR_CORE_EXPORT MemoryBlockHost {
public:
    MemoryBlockHost();
    ~MemoryBlockHost(); ///< removes every block it made
    MemoryBlockHost(const MemoryBlockHost&) = delete;
    MemoryBlockHost& operator=(const MemoryBlockHost&) = delete;

    /// Makes all `blocks`, or none. A block that a dead host left behind is taken over; one of a running host
    /// makes the call fail, and errorString() names the block, the process that holds it and what to do.
    /// Blocks of an earlier call go first.
    bool create(const QList<MemoryBlockInfo>& blocks);
    QString errorString() const;
    const QList<MemoryBlockInfo>& blocks() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Vantor
