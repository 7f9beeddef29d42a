// Reading what a command is given and writing what it made. Every failure comes back as a text that names the
// file; nothing is thrown, and no half-written file is left behind.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Vantor::gpctool {

inline constexpr std::string_view kStandardStream = "-";

/// At most `limit` bytes of a file, a pipe, or standard input. False: `error` says why it cannot be read.
bool readInput(const std::string& path, std::size_t limit, std::string& content, std::string& error);

/// All of `content`, or nothing: a regular file is replaced in one step once its successor is complete.
bool writeOutput(const std::string& path, std::string_view content, std::string& error);

/// Whether writing to `output` would destroy `input`.
bool isSameFile(const std::string& input, const std::string& output);

} // namespace Vantor::gpctool
