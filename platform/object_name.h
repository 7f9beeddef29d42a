// Which names an object in shared memory may have; the same on every system.

#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Vantor::platform {

/// Leaves room for what each system and this folder put around a name.
inline constexpr std::size_t kMaxObjectNameBytes = 200;

/// Visible ASCII without slashes, which would lead into another directory of the system's objects.
constexpr bool isObjectName(std::string_view name) noexcept {
    const auto isUsable = [](char character) {
        return character > ' ' && character <= '~' && character != '/' && character != '\\';
    };
    return !name.empty() && name.size() <= kMaxObjectNameBytes &&
           std::all_of(name.begin(), name.end(), isUsable);
}

} // namespace Vantor::platform
