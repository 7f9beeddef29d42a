// The hash of the toolchain's tables of names. Not for anything that leaves the process.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Vantor::gpc {

/// Eight bytes a step: names are most of a source.
inline std::uint32_t hashOfName(std::string_view name) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    std::uint64_t hash = name.size() * kMultiplier;
    std::size_t at = 0;
    for (; at + 8 <= name.size(); at += 8) {
        std::uint64_t piece = 0;
        std::memcpy(&piece, name.data() + at, 8);
        hash = (std::rotl(hash, 23) ^ piece) * kMultiplier;
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, name.data() + at, name.size() - at);
    hash = (std::rotl(hash, 23) ^ rest) * kMultiplier;
    return static_cast<std::uint32_t>(hash >> 32);
}

} // namespace Vantor::gpc
