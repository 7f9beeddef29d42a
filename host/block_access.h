// Reading and writing a shared-memory block that other processes change at the same time: header fields as
// atomics, payloads as relaxed atomic words, and the two halves of the sequence lock around them. Entry
// points: blockLoad(), blockStore(), copyFromBlock(), copyToBlock(), tryReadRecord(), writeRecord(). Any
// thread; nothing allocates, locks, waits or checks sizes.

#pragma once

#include "host/records.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Vantor {

static_assert(std::endian::native == std::endian::little, "blocks are little-endian");

/// Data areas are copied in words of this size and padded to whole ones.
inline constexpr std::size_t kBlockWordBytes = sizeof(std::uint64_t);

constexpr std::size_t paddedDataBytes(std::size_t dataBytes) noexcept {
    return (dataBytes + kBlockWordBytes - 1) / kBlockWordBytes * kBlockWordBytes;
}

/// Bytes that a block takes in memory: header and padded data area.
constexpr std::size_t blockBytes(std::size_t dataBytes) noexcept {
    return BlockLayout::kHeaderBytes + paddedDataBytes(dataBytes);
}

/// `base` is the start of the block, aligned to 8 as every mapping is; `offset` a multiple of T's size.
template<class T>
std::atomic_ref<T> blockField(const std::byte* base, std::size_t offset) noexcept {
    static_assert(std::atomic_ref<T>::is_always_lock_free);
    return std::atomic_ref<T>(*reinterpret_cast<T*>(const_cast<std::byte*>(base + offset)));
}

template<class T>
T blockLoad(const std::byte* base, std::size_t offset, std::memory_order order) noexcept {
    return blockField<T>(base, offset).load(order);
}

template<class T>
void blockStore(std::byte* base, std::size_t offset, T value, std::memory_order order) noexcept {
    blockField<T>(base, offset).store(value, order);
}

/// Calls `copyWord` with the offset of each whole word in `bytes`, and returns the offset behind the last
/// one.
template<class CopyWord>
inline std::size_t forEachWholeWord(std::size_t bytes, CopyWord copyWord) noexcept {
    constexpr std::size_t kWordsAtOnce = 8;
    constexpr std::size_t kStepBytes = kWordsAtOnce * kBlockWordBytes;
    std::size_t done = 0;
    // Compilers leave atomic accesses in their order and their loops as they are.
    const auto copyStep = [&]<std::size_t... index>(std::index_sequence<index...>) {
        (copyWord(done + index * kBlockWordBytes), ...);
    };
    for (; bytes - done >= kStepBytes; done += kStepBytes)
        copyStep(std::make_index_sequence<kWordsAtOnce>{});
    for (; bytes - done >= kBlockWordBytes; done += kBlockWordBytes)
        copyWord(done);
    return done;
}

/// Copies out of a data area (aligned to 8) that may be written meanwhile; whether the copy is one record is
/// for the sequence lock to say. The last word is read whole, which the padding makes safe.
inline void copyFromBlock(void* target, const std::byte* source, std::size_t bytes) noexcept {
    auto* out = static_cast<std::byte*>(target);
    const std::size_t whole = forEachWholeWord(bytes, [=](std::size_t offset) {
        const auto word = blockLoad<std::uint64_t>(source, offset, std::memory_order_relaxed);
        std::memcpy(out + offset, &word, kBlockWordBytes);
    });
    if (whole < bytes) {
        const auto word = blockLoad<std::uint64_t>(source, whole, std::memory_order_relaxed);
        std::memcpy(out + whole, &word, bytes - whole);
    }
}

/// Copies into a data area (aligned to 8). The bytes of the last word behind the end keep their value.
inline void copyToBlock(std::byte* target, const void* source, std::size_t bytes) noexcept {
    const auto* in = static_cast<const std::byte*>(source);
    const std::size_t whole = forEachWholeWord(bytes, [=](std::size_t offset) {
        std::uint64_t word;
        std::memcpy(&word, in + offset, kBlockWordBytes);
        blockStore(target, offset, word, std::memory_order_relaxed);
    });
    if (whole < bytes) {
        auto word = blockLoad<std::uint64_t>(target, whole, std::memory_order_relaxed);
        std::memcpy(&word, in + whole, bytes - whole);
        blockStore(target, whole, word, std::memory_order_relaxed);
    }
}

struct RecordHeader {
    std::int64_t sequence = 0;
    std::int64_t timestampNs = 0;
    std::uint32_t length = 0;
};

enum class ReadAttempt {
    taken,  ///< the copy is one whole record
    none,   ///< there is no record, or one of an impossible length: trying again at once is no use
    changed ///< a writer was at it: try again
};

/// One attempt to copy the current record of `block` into `target`, at most `capacity` bytes of it. Lengths
/// of 0 and above `maxLength` (at most the block's data area) are no record. After anything but taken,
/// `target` and `header` hold nothing of use.
///
/// Why a copy that was taken is whole: a copied word that comes from a later write makes that write's "being
/// written" mark visible behind the acquire fence. The state is then either still that mark, or "stable"
/// again, and reading "stable" with acquire makes the counted-up sequence visible. That is why state is
/// looked at before sequence.
inline ReadAttempt tryReadRecord(const std::byte* block, void* target, std::size_t capacity,
                                 std::size_t maxLength, RecordHeader& header) noexcept {
    using namespace BlockLayout;
    if (blockLoad<std::int32_t>(block, kStateOffset, std::memory_order_acquire) == BlockState::kEmpty)
        return ReadAttempt::none;
    // Acquire: a new number met between a writer's last two steps brings that record's bytes along.
    header.sequence = blockLoad<std::int64_t>(block, kSequenceOffset, std::memory_order_acquire);
    header.length = blockLoad<std::uint32_t>(block, kPayloadLengthOffset, std::memory_order_relaxed);
    if (header.length == 0 || header.length > maxLength)
        return ReadAttempt::none;
    copyFromBlock(target, block + kHeaderBytes, std::min<std::size_t>(header.length, capacity));
    header.timestampNs = blockLoad<std::int64_t>(block, kTimestampOffset, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_acquire);
    const bool isWhole =
        blockLoad<std::int32_t>(block, kStateOffset, std::memory_order_acquire) == BlockState::kStable &&
        blockLoad<std::int64_t>(block, kSequenceOffset, std::memory_order_relaxed) == header.sequence;
    return isWhole ? ReadAttempt::taken : ReadAttempt::changed;
}

/// Publishes a record, except for the event. The caller is the block's only writer, and `bytes` fits its data
/// area. A writer that dies in the middle leaves the "being written" mark, which the next record repairs.
inline void writeRecord(std::byte* block, const void* data, std::size_t bytes,
                        std::int64_t timestampNs) noexcept {
    using namespace BlockLayout;
    const auto sequence = blockLoad<std::int64_t>(block, kSequenceOffset, std::memory_order_relaxed);
    blockStore(block, kStateOffset, BlockState::kWriting, std::memory_order_relaxed);
    // Whoever reads one of the words below also sees the mark above, behind an acquire fence.
    std::atomic_thread_fence(std::memory_order_release);
    copyToBlock(block + kHeaderBytes, data, bytes);
    blockStore(block, kPayloadLengthOffset, static_cast<std::uint32_t>(bytes), std::memory_order_relaxed);
    blockStore(block, kTimestampOffset, timestampNs, std::memory_order_relaxed);
    // Counted in unsigned numbers, so that even a foreign writer's largest number has a successor.
    const auto next = static_cast<std::int64_t>(static_cast<std::uint64_t>(sequence) + 1);
    blockStore(block, kSequenceOffset, next, std::memory_order_release);
    blockStore(block, kStateOffset, BlockState::kStable, std::memory_order_release);
}

} // namespace Vantor
