#include "tests/workers/allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace Vantor::test {

namespace {

std::atomic<bool> isCounting{false};
std::atomic<std::uint64_t> allocations{0};
thread_local bool isWatching = false;

} // namespace

void noteAllocation() {
    if (isCounting.load(std::memory_order_relaxed) && !isWatching)
        allocations.fetch_add(1, std::memory_order_relaxed);
}

void startCounting() {
    isWatching = true;
    allocations.store(0);
    isCounting.store(true);
}

std::uint64_t allocationsSoFar() {
    return allocations.load();
}

std::uint64_t stopCounting() {
    isCounting.store(false);
    return allocations.load();
}

} // namespace Vantor::test

// The array, nothrow and sized forms come down to these.

void* operator new(std::size_t bytes) {
    Vantor::test::noteAllocation();
    void* memory = std::malloc(bytes > 0 ? bytes : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}
