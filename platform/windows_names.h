// What the Windows sources of this folder share: names of kernel objects and the system's error texts.

#pragma once

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

/// "Local\" (this logon session) and the name. Empty when the name is empty or holds a backslash, which would
/// put it into another directory of kernel objects, or a byte outside ASCII.
inline std::wstring kernelObjectName(std::string_view name) {
    std::wstring result = L"Local\\";
    for (const char character : name) {
        if (character == '\\' || character <= ' ' || character > '~')
            return {};
        result.push_back(static_cast<wchar_t>(character));
    }
    return name.empty() || result.size() > MAX_PATH ? std::wstring{} : result;
}

} // namespace Vantor::platform
