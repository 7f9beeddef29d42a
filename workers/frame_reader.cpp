#include "workers/frame_reader.h"

#include "host/block_access.h"

#include <algorithm>

namespace Vantor {

namespace {

constexpr int kReadAttempts = 4;

} // namespace

bool readFrame(const std::byte* header, std::size_t maxBytes, Frame& frame) noexcept {
    RecordHeader record;
    ReadAttempt result = ReadAttempt::changed;
    for (int attempt = 0; attempt < kReadAttempts && result == ReadAttempt::changed; ++attempt)
        result = tryReadRecord(header, frame.payload.data(), frame.payload.size(), maxBytes, record);
    if (result != ReadAttempt::taken)
        return false;
    frame.sequence = record.sequence;
    frame.timestampNs = record.timestampNs;
    frame.length = record.length;
    return true;
}

FrameReader::FrameReader(const MemoryBlockInfo& info)
    : accessor(info), maxFrameBytes(std::min(info.dataBytes, kMaxFrameBytes)) {}

bool FrameReader::connect() {
    header = accessor.connect() ? accessor.getHeaderPointer() : nullptr;
    return header != nullptr;
}

platform::EventHandle FrameReader::eventHandle() const {
    return header != nullptr ? accessor.getEventHandle() : nullptr;
}

bool FrameReader::read(Frame& frame) const noexcept {
    return header != nullptr && readFrame(header, maxFrameBytes, frame);
}

} // namespace Vantor
