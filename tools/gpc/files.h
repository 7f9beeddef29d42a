// Reading what a command is given and writing what it made. Every failure comes back as a text that names the
// file; nothing is thrown, and no half-written file is left behind.

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Vantor::gpctool {

inline constexpr std::string_view kStandardStream = "-";

/// The bytes of an input. A string would clear them before they are read, and take a long source's memory
/// twice.
class InputBytes {
public:
    const char* data() const { return bytes.get(); }
    std::size_t size() const { return length; }
    const char* begin() const { return data(); }
    const char* end() const { return data() + length; }
    operator std::string_view() const { return {data(), length}; }

    /// Room for `count` bytes more, behind what is there.
    char* room(std::size_t count);
    void grow(std::size_t count) { length += count; }

private:
    std::unique_ptr<char[]> bytes;
    std::size_t length = 0;
    std::size_t capacity = 0;
};

/// At most `limit` bytes of a file, a pipe, or standard input. False: `error` says why it cannot be read.
bool readInput(const std::string& path, std::size_t limit, InputBytes& content, std::string& error);

/// All of `content`, or nothing: a regular file is replaced in one step once its successor is complete.
bool writeOutput(const std::string& path, std::string_view content, std::string& error);

/// Whether writing to `output` would destroy `input`.
bool isSameFile(const std::string& input, const std::string& output);

} // namespace Vantor::gpctool
