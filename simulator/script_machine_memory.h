// The memory of the script machine: a flat array with the loaded file at address 0 and a stack that grows
// down from the top. Every access is checked; the first bad one is remembered as the machine's fault and
// every later access is harmless (reads give 0, writes do nothing), so that instructions need not check in
// between. Layout and rules are those of docs/gbc.md. One thread at a time.

#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace Vantor::simulator {

inline constexpr std::uint32_t kScriptMemoryBytes = 0x2400;
inline constexpr std::uint32_t kScriptFileLimitBytes = 8192;

class ScriptMemory {
public:
    /// Clears everything and copies `file` to address 0. The file must be at most kScriptFileLimitBytes long.
    void load(std::span<const std::uint8_t> file);

    /// Reads `width` (1, 2 or 4) bytes as an unsigned big-endian number.
    std::uint32_t read(std::uint32_t address, unsigned width);
    /// As `read`, extended by the sign of the `width` bytes.
    std::int32_t readSigned(std::uint32_t address, unsigned width);
    /// Writes the low `width` (1, 2 or 4) bytes of `value`, big-endian. The loaded file is read-only.
    void write(std::uint32_t address, unsigned width, std::uint32_t value);
    void fill(std::uint32_t address, std::uint8_t value, std::uint32_t count);
    /// As memmove: the ranges may overlap.
    void copy(std::uint32_t to, std::uint32_t from, std::uint32_t count);

    void push(std::uint32_t value);
    std::uint32_t pop();
    /// Takes `bytes` off the stack and clears them.
    void reserve(std::uint32_t bytes);
    /// Moves the stack pointer up, dropping what lies below; refuses to move it down or past the top.
    void unwind(std::uint32_t stackPointer);

    /// Counts work that takes longer than an instruction does, in bytes looked at or moved.
    void addBulkWork(std::uint32_t bytes) { bulkBytes += bytes; }
    [[nodiscard]] std::uint64_t bulkWork() const { return bulkBytes; }

    [[nodiscard]] std::uint32_t stackPointer() const { return top; }
    [[nodiscard]] std::uint32_t fileBytes() const { return fileLength; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return cells; }

    /// Records `reason` unless a fault is recorded already.
    void fail(std::string reason);
    [[nodiscard]] bool failed() const { return !faultText.empty(); }
    [[nodiscard]] const std::string& fault() const { return faultText; }

private:
    bool readable(std::uint32_t address, std::uint32_t count);
    bool writable(std::uint32_t address, std::uint32_t count);

    std::array<std::uint8_t, kScriptMemoryBytes> cells{};
    std::uint32_t fileLength = 0;
    std::uint32_t top = kScriptMemoryBytes;
    std::uint64_t bulkBytes = 0;
    std::string faultText;
};

} // namespace Vantor::simulator
