// The other process in tests of blocks: block_peer ROLE INSTANCE. It prints "ready" once it has done its
// part, and then waits to be told to end by the end of its standard input, or to be killed.
//   host   makes the standard blocks
//   write  writes one CVData record as a writer that stays
//   torn   starts to write a CVData record, and never ends
//   flood  writes CVData records that prove themselves (proven_record.h) without a pause, until it is killed
//   pace   the same with short pauses of random length
#include "host/block_access.h"
#include "host/memory_block_host.h"
#include "host/shared_memory_accessor.h"
#include "proven_record.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

using namespace Vantor;

namespace {

bool write(SharedMemoryAccessor& accessor, bool torn) {
    std::array<std::byte, kMaxFrameBytes> record{};
    record.fill(std::byte{0x11});
    if (!accessor.connect() || !accessor.writeData(record.data(), record.size()))
        return false;
    if (torn) {
        std::byte* block = accessor.getHeaderPointer();
        blockStore(block, BlockLayout::kStateOffset, BlockState::kWriting, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        record.fill(std::byte{0x22});
        copyToBlock(block + BlockLayout::kHeaderBytes, record.data(), record.size() / 2);
    }
    return true;
}

/// Returns only when a record cannot be written.
bool flood(SharedMemoryAccessor& accessor, test::Pace pace) {
    if (!accessor.connect())
        return false;
    const std::byte* const block = accessor.getHeaderPointer();
    bool announced = false;
    for (;;) {
        const auto last =
            blockLoad<std::int64_t>(block, BlockLayout::kSequenceOffset, std::memory_order_relaxed);
        const test::ProvenRecord record(last + 1);
        if (!accessor.writeData(record.bytes.data(), record.length, record.timestampNs))
            return false;
        if (!announced) {
            std::puts("ready");
            std::fflush(stdout);
            announced = true;
        }
        pace.pause(record);
    }
}

bool play(std::string_view role, SharedMemoryAccessor& accessor) {
    if (role == "flood" || role == "pace")
        return flood(accessor, test::Pace(role == "pace"));
    return write(accessor, role == "torn");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    const std::string_view role = argv[1];
    const QList<MemoryBlockInfo> blocks = standardBlocks(QString::fromLatin1(argv[2]));
    MemoryBlockHost host;
    SharedMemoryAccessor accessor(blocks[3]);
    const bool done = role == "host" ? host.create(blocks) : play(role, accessor);
    std::puts(done ? "ready" : qPrintable(host.errorString() + accessor.errorString()));
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return done ? 0 : 1;
}
