// Looks before it opens, and stops reading at the limit even when the file grew in between. The standard
// library can neither open without waiting nor ask what was opened, so that whoever puts a pipe in a file's
// place between the two steps makes the compiler wait for the pipe's other end. That takes the right to
// change the folder that the script's author included from, and is accepted; files that strangers name go
// through platform/regular_file.

#include "gpc/source_file.h"

#include <fstream>
#include <system_error>

namespace Vantor::gpc {

std::filesystem::path pathFromUtf8(std::string_view text) {
    try {
        return std::filesystem::path(std::u8string(text.begin(), text.end()));
    } catch (const std::system_error&) {
        return {}; // where names are UTF-16, text that is not UTF-8 cannot be one
    }
}

std::string utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

ReadOutcome readSourceFile(const std::filesystem::path& path, std::size_t limit, std::string& content) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        return ReadOutcome::missing;
    if (!std::filesystem::is_regular_file(status))
        return ReadOutcome::notAFile;
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        return ReadOutcome::unreadable;
    if (size > limit)
        return ReadOutcome::tooLarge;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return ReadOutcome::unreadable;
    content.resize(static_cast<std::size_t>(size));
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (file.bad())
        return ReadOutcome::unreadable;
    content.resize(static_cast<std::size_t>(file.gcount()));
    return ReadOutcome::ok;
}

} // namespace Vantor::gpc
