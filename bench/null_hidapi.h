// The part of hidapi that the outbound thread calls, with devices that swallow everything and note when: what
// is measured is then our own cost, not an adapter's. Linked in hidapi's place.

#pragma once

#include <hidapi/hidapi.h>

#include <atomic>
#include <cstdint>

/// A device; its path is its index in kSinks, "0" or "1".
struct hid_device_ {
    int expectedWrites = 0;              ///< set before a frame is published
    int writes = 0;                      ///< the worker's
    std::atomic<std::int64_t> lastNs{0}; ///< when the last expected write was made
};

namespace Vantor::bench {
inline constexpr int kSinks = 2;
hid_device& sink(int index);
} // namespace Vantor::bench
