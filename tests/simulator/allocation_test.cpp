// Reads and writes of the simulated hidapi take no memory, so that counts of a worker's allocations are the
// worker's.

#include "simulator/virtual_adapter.h"

#include <gtest/gtest.h>
#include <hidapi/hidapi.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};
}

// The library's calls come here too: it takes operator new from the program that loads it. Never inlined, or
// the compiler takes the pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

TEST(Allocations, NoneForAReadOrAWrite) {
    const std::size_t beforeAdding = allocations;
    const int adapter = virtual_adapter_add("/virtual/one", "A1", nullptr);
    ASSERT_GT(allocations, beforeAdding) << "the counter does not see the library";
    hid_device* device = hid_open_path("/virtual/one");
    std::array<unsigned char, 65> output{0, 0x60, 0, 60, 0};
    std::array<unsigned char, 65> input{};

    const std::size_t before = allocations;
    int results = 0;
    for (int round = 0; round < 10'000; ++round) {
        results += hid_write(device, output.data(), output.size());
        virtual_adapter_inject(adapter, input.data(), 64);
        results += hid_read_timeout(device, input.data(), input.size(), 0);
    }
    const std::size_t during = allocations - before;
    EXPECT_EQ(during, 0U);
    EXPECT_EQ(results, 10'000 * (65 + 64));
    hid_close(device);
    virtual_adapter_reset();
}

} // namespace
