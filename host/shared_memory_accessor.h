// A reader's or writer's view of one shared-memory block that a host has made. Entry point: connect().
// An accessor belongs to the thread that uses it. One writer and any number of readers may be attached to a
// block, in any processes. After connect() no operation allocates, locks or waits.

#pragma once

#include "host/memory_block_info.h"
#include "host/records.h"
#include "host/vantor_core_export.h"
#include "platform/event.h"

#include <QString>

#include <cstdint>
#include <memory>

namespace Vantor {

class VANTOR_CORE_EXPORT SharedMemoryAccessor {
public:
    explicit SharedMemoryAccessor(MemoryBlockInfo info);
    ~SharedMemoryAccessor();
    SharedMemoryAccessor(const SharedMemoryAccessor&) = delete;
    SharedMemoryAccessor& operator=(const SharedMemoryAccessor&) = delete;

    /// Attaches to the block. False when it does not exist, is smaller than its description says, or no host
    /// has finished making it; errorString() then says which. Connecting a connected accessor again is fine.
    bool connect();
    void disconnect();
    bool isConnected() const;
    /// What went wrong in the last connect() or writeData() that returned false.
    QString errorString() const;
    /// Whether the last connect() failed because nobody has made the block.
    bool isBlockMissing() const;
    /// Whether the host that made the block still runs. Costs a few system calls: for now and then, not for
    /// each record.
    bool isHostRunning() const;

    /// Names the writer in the block's header from the first writeData() on; for people who look at a block.
    void setWriterName(const QString& name);

    /// The block's current data bytes, as many as its description says, or null when not connected. They may
    /// change at any moment unless the caller is the block's only writer.
    const std::byte* getDataPointer() const;
    /// The block's header (BlockLayout), or null when not connected.
    std::byte* getHeaderPointer() const;

    /// Publishes a record of 1..dataBytes bytes: marks the block as being written, copies, stamps it with the
    /// monotonic clock, counts the sequence up, marks it stable and sets the event. False when not connected,
    /// when the size is wrong, or while another living writer holds the block; errorString() then says which.
    /// The first call claims the block for this accessor, until disconnect(); it alone makes system calls and
    /// allocates.
    bool writeData(const void* data, std::size_t size);
    /// The same with the producer's own stamp, monotonic nanoseconds; 0 = none.
    bool writeData(const void* data, std::size_t size, std::int64_t timestampNs);

    /// Copies the current record, consistently, into `data` (at most `size` bytes; the rest is left as it
    /// was) and gives its sequence number. False when there is none, it cannot be had in a few attempts, or
    /// not connected.
    bool readData(void* data, std::size_t size, std::int64_t& sequence) const;

    /// The event that a writer sets after each record; null when not connected. Manual reset.
    platform::EventHandle getEventHandle() const;
    void resetEvent();
    /// Whether a record with another sequence number than `lastSequence` is there to be taken.
    bool hasNewData(std::int64_t lastSequence) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Vantor
