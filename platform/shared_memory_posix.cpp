// Shared memory on Linux: POSIX objects "/vantor-<user id>-<name>", mode 0600.

#include "platform/object_name.h"
#include "platform/shared_memory.h"

#include <climits>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace Vantor::platform {

namespace {

constexpr mode_t kMode = S_IRUSR | S_IWUSR;

std::string describe(int error) {
    return std::system_category().message(error);
}

/// Empty when `name` is not one.
std::string objectName(std::string_view name) {
    return isObjectName(name) ? "/vantor-" + std::to_string(geteuid()) + "-" + std::string(name)
                              : std::string{};
}

class File {
public:
    explicit File(int opened) noexcept : descriptor(opened) {}
    ~File() {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int get() const noexcept { return descriptor; }
    bool isOpen() const noexcept { return descriptor >= 0; }
    int release() noexcept { return std::exchange(descriptor, -1); }

private:
    int descriptor;
};

std::byte* mapWhole(int file, std::size_t bytes) noexcept {
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<std::byte*>(mapped);
}

/// Gives the object its size with real memory behind it; 0 or an errno value. Without the second step a full
/// /dev/shm would end the process at its first write instead of failing here.
int reserve(int file, std::size_t bytes) noexcept {
    if (ftruncate(file, static_cast<off_t>(bytes)) != 0)
        return errno;
    int error = EINTR;
    while (error == EINTR)
        error = posix_fallocate(file, 0, static_cast<off_t>(bytes));
    return error;
}

/// The process's start time in clock ticks since boot; nothing when there is no such process, or a dead one
/// that its parent has not collected yet.
std::optional<std::uint64_t> startTimeOf(std::uint32_t processId) noexcept {
    std::array<char, 32> path{};
    constexpr std::string_view prefix = "/proc/";
    constexpr std::string_view suffix = "/stat";
    char* end = std::copy(prefix.begin(), prefix.end(), path.data());
    end = std::to_chars(end, path.data() + path.size() - suffix.size() - 1, processId).ptr;
    std::copy(suffix.begin(), suffix.end(), end);

    const File file(::open(path.data(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return std::nullopt;
    std::array<char, 1024> buffer{};
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count <= 0)
        return std::nullopt;

    // Field 2 is the program's name in parentheses and may itself hold blanks and parentheses; field 3 is the
    // state.
    std::string_view text(buffer.data(), static_cast<std::size_t>(count));
    const std::size_t nameEnd = text.rfind(')');
    if (nameEnd == text.npos || nameEnd + 2 >= text.size())
        return std::nullopt;
    text.remove_prefix(nameEnd + 2);
    if (text.front() == 'Z' || text.front() == 'X')
        return std::nullopt;
    constexpr int kFieldsFromStateToStartTime = 19;
    for (int field = 0; field < kFieldsFromStateToStartTime; ++field) {
        const std::size_t blank = text.find(' ');
        if (blank == text.npos)
            return std::nullopt;
        text.remove_prefix(blank + 1);
    }
    std::uint64_t startTime = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), startTime);
    return parsed.ec == std::errc{} ? std::optional(startTime) : std::nullopt;
}

} // namespace

ProcessIdentity currentProcess() noexcept {
    const auto id = static_cast<std::uint32_t>(getpid());
    return {.id = id, .startTime = startTimeOf(id).value_or(0)};
}

bool isRunning(const ProcessIdentity& process) noexcept {
    if (process.id == 0 || process.id > INT_MAX)
        return false;
    if (const auto startTime = startTimeOf(process.id))
        return *startTime == process.startTime;
    // Without /proc an identity has no start time, and the id alone must do.
    return process.startTime == 0 && (kill(static_cast<pid_t>(process.id), 0) == 0 || errno == EPERM);
}

SharedMemory::Status SharedMemory::create(std::string_view name, std::size_t bytes) {
    close();
    errorText.clear();
    const std::string object = objectName(name);
    if (object.empty() || bytes == 0 || bytes > PTRDIFF_MAX) {
        errorText = describe(EINVAL);
        return Status::refused;
    }
    const File file(shm_open(object.c_str(), O_RDWR | O_CREAT | O_EXCL, kMode));
    if (!file.isOpen()) {
        const int error = errno;
        errorText = describe(error);
        return error == EEXIST ? Status::exists : Status::refused;
    }
    int error = reserve(file.get(), bytes);
    if (error == 0) {
        address = mapWhole(file.get(), bytes);
        error = address == nullptr ? errno : 0;
    }
    if (error != 0) {
        shm_unlink(object.c_str());
        errorText = describe(error);
        return Status::refused;
    }
    length = bytes;
    return Status::ok;
}

SharedMemory::Status SharedMemory::open(std::string_view name, std::size_t minimumBytes) {
    close();
    errorText.clear();
    const std::string object = objectName(name);
    if (object.empty()) {
        errorText = describe(EINVAL);
        return Status::refused;
    }
    const File file(shm_open(object.c_str(), O_RDWR, 0));
    struct stat info {};
    if (!file.isOpen() || fstat(file.get(), &info) != 0) {
        const int error = errno;
        errorText = describe(error);
        return error == ENOENT ? Status::missing : Status::refused;
    }
    if (info.st_uid != geteuid()) {
        errorText = "the object belongs to another user";
        return Status::refused;
    }
    const auto realBytes = static_cast<std::size_t>(info.st_size);
    if (realBytes == 0 || realBytes < minimumBytes) {
        errorText = "the object has only " + std::to_string(realBytes) + " bytes";
        return Status::tooSmall;
    }
    address = mapWhole(file.get(), realBytes);
    if (address == nullptr) {
        errorText = describe(errno);
        return Status::refused;
    }
    length = realBytes;
    return Status::ok;
}

void SharedMemory::close() noexcept {
    if (address != nullptr)
        munmap(address, length);
    address = nullptr;
    length = 0;
}

bool SharedMemory::unlink(std::string_view name) noexcept {
    const std::string object = objectName(name);
    return !object.empty() && shm_unlink(object.c_str()) == 0;
}

NameGuard::NameGuard(std::string_view name) : object(objectName(std::string(name) + ".lock")) {
    if (name.empty() || object.empty())
        return;
    // A holder removes the object while it still has the lock, so a lock may turn out to be on a removed one.
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        File opened(shm_open(object.c_str(), O_RDWR | O_CREAT, kMode));
        struct stat info {};
        if (!opened.isOpen() || flock(opened.get(), LOCK_EX | LOCK_NB) != 0 ||
            fstat(opened.get(), &info) != 0 || info.st_uid != geteuid())
            return;
        if (info.st_nlink > 0) {
            file = opened.release();
            held = true;
            return;
        }
    }
}

NameGuard::~NameGuard() {
    if (!held)
        return;
    shm_unlink(object.c_str());
    ::close(file);
}

} // namespace Vantor::platform
