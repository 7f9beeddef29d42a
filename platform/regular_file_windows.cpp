// A path can also name a console, a serial port or a pipe here; only files of a disk are kept.

#include "platform/regular_file.h"
#include "platform/windows_names.h"

#include <algorithm>
#include <utility>

namespace Vantor::platform {

namespace {

constexpr std::size_t kMaxReadBytes = std::size_t{1} << 30;

std::error_code lastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::intptr_t nativeOf(HANDLE handle) {
    return reinterpret_cast<std::intptr_t>(handle);
}

HANDLE handleOf(std::intptr_t native) {
    return reinterpret_cast<HANDLE>(native); // NOLINT(performance-no-int-to-ptr): what the handle was before
}

/// A pipe's server must not act in our name.
constexpr DWORD kFlags = FILE_ATTRIBUTE_NORMAL | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS;

class Handle {
public:
    explicit Handle(HANDLE opened) noexcept : handle(opened) {}
    ~Handle() {
        if (isOpen())
            CloseHandle(handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const noexcept { return handle; }
    bool isOpen() const noexcept { return handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE handle;
};

bool isLink(HANDLE file) {
    FILE_ATTRIBUTE_TAG_INFO info{};
    return GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) != 0 &&
           (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (info.ReparseTag == IO_REPARSE_TAG_SYMLINK || info.ReparseTag == IO_REPARSE_TAG_MOUNT_POINT);
}

std::error_code faultOf(HANDLE file, BY_HANDLE_FILE_INFORMATION& info) {
    if (GetFileType(file) != FILE_TYPE_DISK)
        return std::make_error_code(std::errc::not_supported);
    if (GetFileInformationByHandle(file, &info) == 0)
        return lastError();
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return std::make_error_code(std::errc::not_supported);
    return {};
}

} // namespace

std::optional<RegularFile> RegularFile::open(const std::filesystem::path& path, Links links,
                                             std::error_code& error) {
    // Files that a cloud service holds are reparse points too and have to be opened in the ordinary way. The
    // look at the name itself therefore has a handle of its own, which nobody can rename or delete the file
    // under until the second one is open.
    const Handle name(links == Links::follow
                          ? INVALID_HANDLE_VALUE
                          : CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES | GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        kFlags | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (links == Links::refuse) {
        if (!name.isOpen()) {
            error = lastError();
            return std::nullopt;
        }
        if (isLink(name.get())) {
            error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
            return std::nullopt;
        }
    }
    HANDLE const handle =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, kFlags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        error = lastError();
        return std::nullopt;
    }
    RegularFile file(nativeOf(handle), 0);
    BY_HANDLE_FILE_INFORMATION info{};
    error = faultOf(handle, info);
    if (error)
        return std::nullopt;
    file.openedSize = static_cast<std::uint64_t>(info.nFileSizeHigh) << 32 | info.nFileSizeLow;
    return file;
}

std::size_t RegularFile::read(std::span<std::byte> buffer, std::error_code& error) noexcept {
    error.clear();
    std::size_t length = 0;
    while (length < buffer.size()) {
        DWORD got = 0;
        const auto wanted = static_cast<DWORD>(std::min(buffer.size() - length, kMaxReadBytes));
        if (ReadFile(handleOf(native), buffer.data() + length, wanted, &got, nullptr) == 0) {
            error = lastError();
            break;
        }
        if (got == 0)
            break;
        length += got;
    }
    return length;
}

void RegularFile::close() noexcept {
    if (const Native open = std::exchange(native, kNone); open != kNone)
        CloseHandle(handleOf(open));
}

} // namespace Vantor::platform
