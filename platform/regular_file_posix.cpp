// Opening alone can do harm: a pipe blocks until somebody writes, some devices act on it. Hence a look
// before, which keeps honest names from being opened at all, and O_NONBLOCK and a look after, for names that
// change in between.

#include "platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Vantor::platform {

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

std::error_code faultOf(const struct stat& status) {
    if (S_ISREG(status.st_mode))
        return {};
    return std::make_error_code(S_ISLNK(status.st_mode) ? std::errc::too_many_symbolic_link_levels
                                                        : std::errc::not_supported);
}

} // namespace

std::optional<RegularFile> RegularFile::open(const std::filesystem::path& path, Links links,
                                             std::error_code& error) {
    const bool follows = links == Links::follow;
    struct stat status {};
    if ((follows ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status)) != 0) {
        error = lastError();
        return std::nullopt;
    }
    error = faultOf(status);
    if (error)
        return std::nullopt;

    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (follows ? 0 : O_NOFOLLOW);
    int descriptor = -1;
    do
        descriptor = ::open(path.c_str(), flags);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        error = lastError();
        return std::nullopt;
    }
    RegularFile file(descriptor, 0);
    if (::fstat(descriptor, &status) != 0)
        error = lastError();
    else
        error = faultOf(status);
    if (error)
        return std::nullopt;
    file.openedSize = static_cast<std::uint64_t>(status.st_size);
    return file;
}

std::size_t RegularFile::read(std::span<std::byte> buffer, std::error_code& error) noexcept {
    error.clear();
    std::size_t length = 0;
    while (length < buffer.size()) {
        const ssize_t got = ::read(static_cast<int>(native), buffer.data() + length, buffer.size() - length);
        if (got == 0)
            break;
        if (got > 0) {
            length += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            error = lastError();
            break;
        }
    }
    return length;
}

void RegularFile::close() noexcept {
    if (const Native open = std::exchange(native, kNone); open != kNone)
        ::close(static_cast<int>(open));
}

} // namespace Vantor::platform
