// The writing end of one controller block: publishes a record only when it differs from what the block holds.
// Made on the owner's thread between runs, used by the worker during one. publish() does not allocate.

#pragma once

#include "host/memory_block_info.h"
#include "host/records.h"
#include "host/shared_memory_accessor.h"

#include <QString>

#include <memory>

namespace Vantor {

class ControllerBlock {
public:
    /// `blockName` is what warnings call the block, also when the host never offers it.
    explicit ControllerBlock(const char* name) : blockName(name) {}

    /// Takes the block from now on instead of any earlier one, if `info` describes the block of this name.
    void offer(const MemoryBlockInfo& info);

    /// Attaches to the block. Without one the records are dropped; a warning says so.
    void connect();

    /// Drops the record when the block holds the same bytes. When another writer holds the block, warns and
    /// gives up until the next connect(): asking again for every record would cost system calls and fill the
    /// log.
    void publish(const ControllerData& record);
    /// Puts the controller at rest.
    void clear() { publish(ControllerData{}); }

private:
    const char* blockName;
    std::unique_ptr<SharedMemoryAccessor> accessor; ///< null while the host has offered no such block
    /// What the block holds; null while there is none to write to, for whatever reason.
    const std::byte* current = nullptr;
};

} // namespace Vantor
