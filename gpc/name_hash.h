// The hash of the toolchain's tables of names. Not for anything that leaves the process.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Vantor::gpc {

/// Eight bytes a step, the last of which may overlap: names are most of a source.
inline std::uint32_t hashOfName(std::string_view name) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    const auto bytesAt = [&](std::size_t at, auto piece) {
        std::memcpy(&piece, name.data() + at, sizeof piece);
        return std::uint64_t{piece};
    };
    const std::size_t size = name.size();
    std::uint64_t hash = size * kMultiplier;
    const auto add = [&](std::uint64_t piece) { hash = (std::rotl(hash, 23) ^ piece) * kMultiplier; };
    for (std::size_t at = 0; at + 8 < size; at += 8)
        add(bytesAt(at, std::uint64_t{}));
    if (size >= 8)
        add(bytesAt(size - 8, std::uint64_t{}));
    else if (size >= 4)
        add(bytesAt(0, std::uint32_t{}) << 32 | bytesAt(size - 4, std::uint32_t{}));
    else if (size > 0)
        add(bytesAt(0, std::uint8_t{}) << 16 | bytesAt(size / 2, std::uint8_t{}) << 8 |
            bytesAt(size - 1, std::uint8_t{}));
    // A product's low bits know nothing of the last bytes, in which numbered names differ.
    add(hash >> 32);
    return static_cast<std::uint32_t>(hash >> 32);
}

} // namespace Vantor::gpc
