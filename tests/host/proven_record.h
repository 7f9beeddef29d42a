// A CVData record whose every part follows from its sequence number, so that a mix of two records cannot
// pass for one. Shared by the tests' writers and readers, in whatever process.

#pragma once

#include "host/block_access.h"
#include "host/records.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Vantor::test {

struct ProvenRecord {
    explicit ProvenRecord(std::int64_t sequence)
        : length(static_cast<std::size_t>(1 + sequence % std::int64_t{kMaxFrameBytes})),
          timestampNs(sequence * 3) {
        bytes.fill(fillOf(sequence));
    }

    /// Whether a record that was read is the whole of the one that its sequence number names.
    static bool isWhole(const RecordHeader& header, const std::array<std::uint8_t, kMaxFrameBytes>& copy) {
        return header.length == 1 + header.sequence % std::int64_t{kMaxFrameBytes} &&
               header.timestampNs == header.sequence * 3 &&
               std::count(copy.begin(), copy.begin() + header.length, fillOf(header.sequence)) ==
                   header.length;
    }

    std::size_t length;
    std::int64_t timestampNs;
    std::array<std::uint8_t, kMaxFrameBytes> bytes;

private:
    static std::uint8_t fillOf(std::int64_t sequence) { return static_cast<std::uint8_t>(sequence * 31); }
};

/// What a producer does between two records: nothing, or pauses of random length. A producer that never
/// pauses is nearly always inside a record, so that a reader hardly ever gets a new one; pauses give both,
/// new records and copies that the producer overtakes. They are as long as a few looks at a record, in
/// whatever build. Giving up the processor instead would give it to whatever else runs on the machine.
class Pace {
public:
    explicit Pace(bool pauses) : isPausing(pauses) {}
    void pause(const ProvenRecord& record) {
        constexpr std::uint32_t kMostLooks = 8;
        constexpr std::uint32_t kFactor = 1'664'525;
        constexpr std::uint32_t kSummand = 1'013'904'223;
        if (!isPausing)
            return;
        random = random * kFactor + kSummand;
        for (std::uint32_t left = (random >> 16U) % kMostLooks; left > 0; --left)
            seen = std::count(record.bytes.begin(), record.bytes.end(), record.bytes.front());
    }

private:
    bool isPausing;
    std::uint32_t random = 1;
    volatile std::ptrdiff_t seen = 0;
};

} // namespace Vantor::test
