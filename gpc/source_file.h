// Reads a file that a source names. Entry point: readSourceFile(). Only regular files are opened, so that a
// device or a pipe that somebody includes can neither block nor never end. Any thread.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace Vantor::gpc {

enum class ReadOutcome { ok, missing, notAFile, tooLarge, unreadable };

/// Paths in options and results are UTF-8 on every system. The empty path for text that no file's name can
/// be.
std::filesystem::path pathFromUtf8(std::string_view text);
std::string utf8FromPath(const std::filesystem::path& path);

/// Reads all of a file of at most `limit` bytes into `content`, which is unspecified after any outcome but
/// ok.
ReadOutcome readSourceFile(const std::filesystem::path& path, std::size_t limit, std::string& content);

} // namespace Vantor::gpc
