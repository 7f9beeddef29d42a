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

} // namespace Vantor::test
