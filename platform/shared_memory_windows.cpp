// Shared memory on Windows: named sections of the page file, "Local\<name>". A section ends with its last
// handle.

#include "platform/shared_memory.h"
#include "platform/windows_names.h"

#include <cstdint>
#include <system_error>

namespace Vantor::platform {

namespace {

std::string describe(DWORD error) {
    return std::system_category().message(static_cast<int>(error));
}

std::uint64_t creationTimeOf(HANDLE process) noexcept {
    FILETIME created{};
    FILETIME exited{};
    FILETIME kernel{};
    FILETIME user{};
    if (GetProcessTimes(process, &created, &exited, &kernel, &user) == FALSE)
        return 0;
    return std::uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
}

std::size_t mappedBytes(const void* address) noexcept {
    MEMORY_BASIC_INFORMATION info{};
    return VirtualQuery(address, &info, sizeof info) == sizeof info ? info.RegionSize : 0;
}

} // namespace

ProcessIdentity currentProcess() noexcept {
    return {.id = GetCurrentProcessId(), .startTime = creationTimeOf(GetCurrentProcess())};
}

bool isRunning(const ProcessIdentity& process) noexcept {
    if (process.id == 0)
        return false;
    const HANDLE handle = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, process.id);
    if (handle == nullptr)
        return GetLastError() == ERROR_ACCESS_DENIED;
    // A process that has ended stays openable while somebody holds a handle to it.
    const bool runs =
        WaitForSingleObject(handle, 0) == WAIT_TIMEOUT && creationTimeOf(handle) == process.startTime;
    CloseHandle(handle);
    return runs;
}

SharedMemory::Status SharedMemory::create(std::string_view name, std::size_t bytes) {
    close();
    errorText.clear();
    const std::wstring object = kernelObjectName(name);
    if (object.empty() || bytes == 0 || bytes > PTRDIFF_MAX) {
        errorText = describe(ERROR_INVALID_PARAMETER);
        return Status::refused;
    }
    const std::uint64_t wideBytes = bytes;
    const HANDLE section =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(wideBytes >> 32),
                           static_cast<DWORD>(wideBytes), object.c_str());
    // With a name that is taken it succeeds, and gives the object that is there, whatever its size.
    const DWORD error = GetLastError();
    if (section == nullptr || error == ERROR_ALREADY_EXISTS) {
        if (section != nullptr)
            CloseHandle(section);
        errorText = describe(error);
        return error == ERROR_ALREADY_EXISTS ? Status::exists : Status::refused;
    }
    void* mapped = MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, bytes);
    if (mapped == nullptr) {
        errorText = describe(GetLastError());
        CloseHandle(section);
        return Status::refused;
    }
    mappingHandle = section;
    address = static_cast<std::byte*>(mapped);
    length = bytes;
    return Status::ok;
}

SharedMemory::Status SharedMemory::open(std::string_view name, std::size_t minimumBytes) {
    close();
    errorText.clear();
    const std::wstring object = kernelObjectName(name);
    if (object.empty()) {
        errorText = describe(ERROR_INVALID_PARAMETER);
        return Status::refused;
    }
    const HANDLE section = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, object.c_str());
    if (section == nullptr) {
        const DWORD error = GetLastError();
        errorText = describe(error);
        return error == ERROR_FILE_NOT_FOUND ? Status::missing : Status::refused;
    }
    // Mapping the whole section never reaches behind its end, and only the mapping tells its size, in whole
    // pages.
    void* mapped = MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0);
    if (mapped == nullptr) {
        errorText = describe(GetLastError());
        CloseHandle(section);
        return Status::refused;
    }
    mappingHandle = section;
    address = static_cast<std::byte*>(mapped);
    length = mappedBytes(mapped);
    if (length == 0 || length < minimumBytes) {
        errorText = "the object has only " + std::to_string(length) + " bytes";
        close();
        return Status::tooSmall;
    }
    return Status::ok;
}

void SharedMemory::close() noexcept {
    if (address != nullptr)
        UnmapViewOfFile(address);
    if (mappingHandle != nullptr)
        CloseHandle(mappingHandle);
    address = nullptr;
    mappingHandle = nullptr;
    length = 0;
}

bool SharedMemory::unlink(std::string_view /*name*/) noexcept {
    return false;
}

NameGuard::NameGuard(std::string_view name) {
    // The object's existence is the lock: a mutex would let the thread that holds it in a second time.
    const std::wstring guard = kernelObjectName(std::string(name) + ".lock");
    if (name.empty() || guard.empty())
        return;
    mutexHandle = CreateMutexW(nullptr, FALSE, guard.c_str());
    held = mutexHandle != nullptr && GetLastError() != ERROR_ALREADY_EXISTS;
}

NameGuard::~NameGuard() {
    if (mutexHandle != nullptr)
        CloseHandle(mutexHandle);
}

} // namespace Vantor::platform
