// Readers of a shared-memory block whose other side means harm: state, sequence, length and bytes are
// whatever the input says, the length of the record most of all. The input: limit of the reader (2 bytes),
// then steps, each of them {field, value} as a hostile writer would store it, and a look after each.

#include "fuzz/target.h"
#include "host/block_access.h"
#include "workers/frame_reader.h"

#include <array>
#include <vector>

namespace Vantor::fuzz {

namespace {

constexpr std::size_t kGuardBytes = 64;
constexpr std::byte kGuard{0xA5};

/// A block of the size that its description promises, on the heap, where a sanitizer sees a read behind its
/// end.
class HostileBlock {
public:
    explicit HostileBlock(std::size_t maxRecordBytes)
        : words(blockBytes(maxRecordBytes) / kBlockWordBytes), dataBytes(paddedDataBytes(maxRecordBytes)) {}

    std::byte* data() { return reinterpret_cast<std::byte*>(words.data()); }

    void storeNext(InputReader& reader) {
        using namespace BlockLayout;
        constexpr auto kOrder = std::memory_order_relaxed;
        switch (reader.number<std::uint8_t>() % 5) {
        case 0:
            return blockStore(data(), kStateOffset, reader.number<std::int32_t>(), kOrder);
        case 1:
            return blockStore(data(), kSequenceOffset, reader.number<std::int64_t>(), kOrder);
        case 2:
            return blockStore(data(), kPayloadLengthOffset, reader.number<std::uint32_t>(), kOrder);
        case 3:
            return blockStore(data(), kTimestampOffset, reader.number<std::int64_t>(), kOrder);
        default: {
            const Bytes piece = reader.takePiece();
            return copyToBlock(data() + kHeaderBytes, piece.data(), std::min(piece.size(), dataBytes));
        }
        }
    }

private:
    std::vector<std::uint64_t> words;
    std::size_t dataBytes;
};

void lookAsFrame(HostileBlock& block, std::size_t maxBytes) {
    Frame frame;
    if (!readFrame(block.data(), maxBytes, frame))
        return;
    check(frame.length >= 1 && frame.length <= maxBytes, "a frame has 1 byte to as many as fit");
    check(std::memcmp(frame.payload.data(), block.data() + BlockLayout::kHeaderBytes,
                      std::min<std::size_t>(frame.length, frame.payload.size())) == 0,
          "a frame is what the block holds");
}

/// Into a smaller place than the record: what lies behind it must keep its bytes.
void lookAsRecord(HostileBlock& block, std::size_t maxBytes, std::size_t capacity) {
    std::array<std::byte, kMaxFrameBytes + kGuardBytes> target;
    target.fill(kGuard);
    RecordHeader header;
    tryReadRecord(block.data(), target.data(), capacity, maxBytes, header);
    check(std::all_of(target.begin() + static_cast<std::ptrdiff_t>(capacity), target.end(),
                      [](std::byte byte) { return byte == kGuard; }),
          "a reader writes into its own place only");
}

} // namespace

void takeInput(Bytes input) {
    InputReader reader(input);
    const std::size_t maxBytes = 1 + reader.number<std::uint8_t>();
    const std::size_t capacity = reader.number<std::uint8_t>();
    HostileBlock block(maxBytes);
    while (!reader.atEnd()) {
        block.storeNext(reader);
        lookAsFrame(block, maxBytes);
        lookAsRecord(block, maxBytes, capacity);
    }
}

} // namespace Vantor::fuzz
