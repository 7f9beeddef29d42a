// Counting at the C library's own door. glibc lets a program define malloc() and its kin and keeps its own
// under other names; memory from either side may be given to its free().

#include "tests/workers/allocation_counter.h"

#include <cstddef>

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the names are glibc's
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t bytes) {
    Vantor::test::noteAllocation();
    return __libc_malloc(bytes);
}

void* calloc(std::size_t count, std::size_t bytes) {
    Vantor::test::noteAllocation();
    return __libc_calloc(count, bytes);
}

void* realloc(void* memory, std::size_t bytes) {
    Vantor::test::noteAllocation();
    return __libc_realloc(memory, bytes);
}
}
