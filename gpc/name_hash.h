// Hashing and comparing for the toolchain's tables of names. The hash is not for anything that leaves the
// process.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Vantor::gpc {

/// Some bytes of a name as one number, in the machine's order.
template<typename Piece>
std::uint64_t nameBytes(std::string_view name, std::size_t at) noexcept {
    Piece piece{};
    std::memcpy(&piece, name.data() + at, sizeof piece);
    return piece;
}

/// Eight bytes a step, the last of which may overlap: names are most of a source.
inline std::uint32_t hashOfName(std::string_view name) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    const std::size_t size = name.size();
    std::uint64_t hash = size * kMultiplier;
    const auto add = [&](std::uint64_t piece) { hash = (std::rotl(hash, 23) ^ piece) * kMultiplier; };
    for (std::size_t at = 0; at + 8 < size; at += 8)
        add(nameBytes<std::uint64_t>(name, at));
    if (size >= 8)
        add(nameBytes<std::uint64_t>(name, size - 8));
    else if (size >= 4)
        add(nameBytes<std::uint32_t>(name, 0) << 32 | nameBytes<std::uint32_t>(name, size - 4));
    else if (size > 0)
        add(nameBytes<std::uint8_t>(name, 0) << 16 | nameBytes<std::uint8_t>(name, size / 2) << 8 |
            nameBytes<std::uint8_t>(name, size - 1));
    // A product's low bits know nothing of the last bytes, in which numbered names differ.
    add(hash >> 32);
    return static_cast<std::uint32_t>(hash >> 32);
}

/// Whether two names are the same. Without a call for the lengths that nearly all names have.
inline bool isSameName(std::string_view left, std::string_view right) noexcept {
    const std::size_t size = left.size();
    if (size != right.size())
        return false;
    if (size < 8 || size > 16)
        return left == right;
    return nameBytes<std::uint64_t>(left, 0) == nameBytes<std::uint64_t>(right, 0) &&
           nameBytes<std::uint64_t>(left, size - 8) == nameBytes<std::uint64_t>(right, size - 8);
}

} // namespace Vantor::gpc
