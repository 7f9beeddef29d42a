// The two kinds of damage that files meet, one after the other: every single bit the other way round, and
// every length that is too short. Entry points: forEachFlip(), forEachTruncation().

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Vantor::test {

/// Calls judge(file, position, index) for flips 0, `stride`, 2 * `stride` ... of the file's bits; the byte at
/// `position` is the one that differs.
template<class Judge>
void forEachFlip(std::span<const std::uint8_t> file, std::size_t stride, Judge judge) {
    std::vector<std::uint8_t> damaged(file.begin(), file.end());
    for (std::size_t bit = 0; bit < file.size() * 8; bit += stride) {
        const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
        damaged[bit / 8] ^= mask;
        judge(std::span<const std::uint8_t>(damaged), bit / 8, bit);
        damaged[bit / 8] ^= mask;
    }
}

/// Calls judge(file) for the first 0, `stride`, 2 * `stride` ... bytes, short of all of them. Each has an
/// allocation of its own, so that a sanitizer sees a read behind its end.
template<class Judge>
void forEachTruncation(std::span<const std::uint8_t> file, std::size_t stride, Judge judge) {
    for (std::size_t size = 0; size < file.size(); size += stride) {
        const std::vector<std::uint8_t> cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        judge(std::span<const std::uint8_t>(cut));
    }
}

} // namespace Vantor::test
