// As the kernel counts it.

#include "footprint.h"

// clang-format off
#include <windows.h> // the others need it first
// clang-format on
#include <psapi.h>
#include <tlhelp32.h>

namespace Vantor::campaign {

namespace {

int threadsOfThisProcess() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return 0;
    int count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more != FALSE; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(snapshot);
    return count;
}

} // namespace

Footprint Footprint::now() {
    Footprint found;
    DWORD handles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &handles) != FALSE)
        found.descriptors = static_cast<int>(handles);
    found.threads = threadsOfThisProcess();
    PROCESS_MEMORY_COUNTERS memory{};
    constexpr SIZE_T kBytesPerKb = 1024;
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory) != FALSE)
        found.residentKb = static_cast<long>(memory.WorkingSetSize / kBytesPerKb);
    return found;
}

} // namespace Vantor::campaign
