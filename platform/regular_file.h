// Files that other people name, opened so that nothing but a regular file is ever read. Entry point:
// RegularFile::open(). Opens once and looks at what was opened, so that exchanging the name afterwards
// changes nothing; never waits for a pipe's other end and never reads a device. Any thread; one object
// belongs to one thread at a time.

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>

namespace Vantor::platform {

/// An open file. Moves; closes itself. Other processes may write it meanwhile: size() is that of the moment.
class RegularFile {
public:
    /// What becomes of a path whose last component is a symbolic link.
    enum class Links { follow, refuse };

    /// For reading. Empty: `error` says why; std::errc::not_supported stands for something that is no regular
    /// file, std::errc::too_many_symbolic_link_levels for a refused link.
    static std::optional<RegularFile> open(const std::filesystem::path& path, Links links,
                                           std::error_code& error);

    RegularFile(RegularFile&& other) noexcept;
    RegularFile& operator=(RegularFile&& other) noexcept;
    ~RegularFile();

    /// In bytes, as it was when the file was opened.
    std::uint64_t size() const noexcept { return openedSize; }

    /// Reads on until `buffer` is full or the file ends; returns how many bytes came. On an error `error` is
    /// set and the bytes are of no use.
    std::size_t read(std::span<std::byte> buffer, std::error_code& error) noexcept;

private:
    /// A descriptor, or a kernel handle.
    using Native = std::intptr_t;
    static constexpr Native kNone = -1;

    RegularFile(Native openedFile, std::uint64_t size) noexcept : native(openedFile), openedSize(size) {}
    void close() noexcept;

    Native native = kNone;
    std::uint64_t openedSize = 0;
};

} // namespace Vantor::platform
