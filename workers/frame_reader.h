// Takes whole frames out of the CVData block while another process may be writing it. Entry points:
// connect(), read(). Made on the owner's thread between runs, used by the worker during one; only connect()
// allocates.

#pragma once

#include "host/records.h"
#include "host/shared_memory_accessor.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vantor {

struct Frame {
    std::int64_t sequence = 0;
    std::int64_t timestampNs = 0; ///< the producer's, monotonic nanoseconds; 0 = none
    std::uint32_t length = 0;     ///< payload bytes, 1..256
    alignas(8) std::array<std::uint8_t, kMaxFrameBytes> payload{};
};

/// Takes the current frame out of a block (`header` is its start, `maxBytes` at most its data area). False
/// when there is none, its length is not 1..maxBytes, or a writer was at it in each of four attempts: the
/// writer's next event is then the time to try again. After false, `frame` holds nothing of use.
bool readFrame(const std::byte* header, std::size_t maxBytes, Frame& frame) noexcept;

class FrameReader {
public:
    explicit FrameReader(const MemoryBlockInfo& info);

    bool connect();
    /// Null when the block is not there to be waited for.
    platform::EventHandle eventHandle() const;
    void resetEvent() { accessor.resetEvent(); }
    bool hasNewFrame(std::int64_t lastSequence) const { return accessor.hasNewData(lastSequence); }
    bool read(Frame& frame) const noexcept;

    /// Why connect() failed.
    QString errorString() const { return accessor.errorString(); }

private:
    SharedMemoryAccessor accessor;
    std::size_t maxFrameBytes;
    const std::byte* header = nullptr; ///< start of the connected block
};

} // namespace Vantor
