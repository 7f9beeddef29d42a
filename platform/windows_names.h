// What the Windows sources of this folder share: names of kernel objects, and <windows.h> kept small.

#pragma once

#include "platform/object_name.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <string>
#include <string_view>

namespace Vantor::platform {

/// "Local\" (this logon session) and the name; empty when the name is not one.
inline std::wstring kernelObjectName(std::string_view name) {
    return isObjectName(name) ? L"Local\\" + std::wstring(name.begin(), name.end()) : std::wstring{};
}

} // namespace Vantor::platform
