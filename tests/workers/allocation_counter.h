// Counts the memory that threads other than the watching one ask for, by operator new and, where the C
// library allows it, by malloc and its kin, which is how Qt allocates. Replaces both for the whole program
// that it is linked to.

#pragma once

#include <cstdint>

namespace Vantor::test {

/// Counts from here on, everywhere but in the calling thread.
void startCounting();
/// Allocations since then.
std::uint64_t stopCounting();
std::uint64_t allocationsSoFar();

/// One allocation, in the calling thread.
void noteAllocation();

} // namespace Vantor::test
