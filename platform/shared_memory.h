// Named shared memory that other processes open by name. Entry points: SharedMemory::create(),
// SharedMemory::open(). A mapping never moves; unmapping happens in the destructor. Objects belong to one
// thread, the bytes to everybody.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vantor::platform {

/// Identifies a running process for as long as the machine is up: a recycled process id has another start
/// time.
struct ProcessIdentity {
    std::uint32_t id = 0;
    std::uint64_t startTime = 0; ///< in units of the system, only ever compared for equality
};

ProcessIdentity currentProcess() noexcept;
/// Whether that very process still runs. False for id 0.
bool isRunning(const ProcessIdentity& process) noexcept;

class SharedMemory {
public:
    SharedMemory() noexcept = default;
    SharedMemory(SharedMemory&& other) noexcept;
    SharedMemory& operator=(SharedMemory&& other) noexcept;
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    ~SharedMemory();

    enum class Status { ok, exists, missing, tooSmall, refused };

    /// Makes a new zero-filled object of exactly `bytes` bytes, readable and writable for this user only, and
    /// maps it. exists: the name is taken (Windows: some process still holds it open). The creator removes
    /// the name with unlink(); on Windows the object ends with its last handle.
    Status create(std::string_view name, std::size_t bytes);
    /// Maps an existing object whole, for reading and writing. tooSmall: its real size is below
    /// `minimumBytes`; it is then not mapped at all, since touching pages behind an object's end would kill
    /// the process.
    Status open(std::string_view name, std::size_t minimumBytes);
    void close() noexcept;

    bool isMapped() const noexcept { return address != nullptr; }
    std::byte* data() const noexcept { return address; }
    /// Size of the mapping in bytes, as large as the object really is.
    std::size_t size() const noexcept { return length; }
    /// What the system said about the last call that did not return ok; empty otherwise.
    const std::string& systemError() const noexcept { return errorText; }

    /// Removes a name (Windows: never, an object there ends with its last handle), so that the next create()
    /// succeeds; mappings that are open stay valid. True when it was there.
    static bool unlink(std::string_view name) noexcept;

private:
    std::byte* address = nullptr;
    std::size_t length = 0;
    void* mappingHandle = nullptr; ///< Windows only
    std::string errorText;
};

/// Keeps every other holder of the same name out, in all processes of this user, from construction to
/// destruction; ends by itself with a process that dies. For steps on a named object that only one may take
/// at a time. Never waits.
class NameGuard {
public:
    explicit NameGuard(std::string_view name);
    ~NameGuard();
    NameGuard(const NameGuard&) = delete;
    NameGuard& operator=(const NameGuard&) = delete;

    /// False when somebody else holds the name now, or when the system refuses.
    bool isHeld() const noexcept { return held; }

private:
    bool held = false;
    int file = -1;               ///< POSIX only
    std::string object;          ///< POSIX only
    void* mutexHandle = nullptr; ///< Windows only
};

} // namespace Vantor::platform
