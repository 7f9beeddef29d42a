// C streams, since they tell why something failed and take a moment less to start than C++ ones.

#include "files.h"

#include "gpc/source_file.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace Vantor::gpctool {

namespace {

namespace fs = std::filesystem;

/// Of an input whose size nobody can tell.
constexpr std::size_t kFirstReadBytes = 16384;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

bool failed(std::string& error, std::string_view doing, const std::string& path, int code) {
    error = "cannot " + std::string(doing) + ' ' + path + ": " + std::generic_category().message(code);
    return false;
}

/// With room for a file of `expected` bytes from the beginning.
bool readAll(std::FILE* file, std::size_t expected, std::size_t limit, InputBytes& content) {
    std::size_t wanted = std::min(expected + 1, limit); // the one byte more finds the end without growing
    while (wanted > 0) {
        const std::size_t got = std::fread(content.room(wanted), 1, wanted, file);
        content.grow(got);
        if (got < wanted)
            break;
        wanted = std::min(content.size(), limit - content.size());
    }
    return std::ferror(file) == 0;
}

bool writeAll(std::FILE* file, std::string_view content) {
    return std::fwrite(content.data(), 1, content.size(), file) == content.size() && std::fflush(file) == 0;
}

/// 0, or the error number.
int writeInPlace(const std::string& path, std::string_view content) {
    const FilePointer file(std::fopen(path.c_str(), "wb"));
    return file && writeAll(file.get(), content) ? 0 : errno;
}

/// A name beside the file that nobody else uses: the time, and where the system has put this process's stack.
/// The library's random device would ask the processor what it can do, which takes a virtual machine longer
/// than compiling a short script.
fs::path temporaryBeside(const fs::path& file) {
    fs::path path = file;
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    path +=
        '.' + std::to_string(now) + '.' + std::to_string(reinterpret_cast<std::uintptr_t>(&path)) + ".tmp";
    return path;
}

/// Writes a neighbour and renames it, so that the old file stays until the new one is complete.
bool replaceFile(const fs::path& target, bool exists, std::string_view content, std::string& error) {
    const fs::path neighbour = temporaryBeside(target);
    const std::string shown = gpc::utf8FromPath(target);
    std::error_code failure;
    int code = writeInPlace(gpc::utf8FromPath(neighbour), content);
    if (code == 0) {
        if (exists)
            fs::permissions(neighbour, fs::status(target, failure).permissions(), failure);
        fs::rename(neighbour, target, failure);
        if (!failure)
            return true;
        code = failure.value();
    }
    fs::remove(neighbour, failure);
    return failed(error, "write", shown, code);
}

} // namespace

char* InputBytes::room(std::size_t count) {
    if (length + count > capacity) {
        auto wider = std::make_unique_for_overwrite<char[]>(length + count);
        std::copy_n(bytes.get(), length, wider.get());
        bytes = std::move(wider);
        capacity = length + count;
    }
    return bytes.get() + length;
}

bool readInput(const std::string& path, std::size_t limit, InputBytes& content, std::string& error) {
    if (path == kStandardStream)
        return readAll(stdin, kFirstReadBytes, limit, content) ||
               failed(error, "read", "standard input", errno);
    const FilePointer file(std::fopen(path.c_str(), "rb"));
    std::error_code failure;
    const auto size = fs::file_size(gpc::pathFromUtf8(path), failure);
    const std::size_t expected =
        failure ? kFirstReadBytes : static_cast<std::size_t>(std::min<std::uintmax_t>(size, limit));
    if (!file || !readAll(file.get(), expected, limit, content))
        return failed(error, "read", path, errno);
    return true;
}

bool writeOutput(const std::string& path, std::string_view content, std::string& error) {
    if (path == kStandardStream)
        return writeAll(stdout, content) || failed(error, "write", "standard output", errno);
    std::error_code failure;
    fs::path target = gpc::pathFromUtf8(path);
    // Behind a link the file itself is replaced, not the link.
    if (fs::is_symlink(fs::symlink_status(target, failure)))
        target = fs::weakly_canonical(target, failure);
    const auto status = fs::status(target, failure);
    if (fs::exists(status) && !fs::is_regular_file(status)) { // a device or a pipe
        const int code = writeInPlace(path, content);
        return code == 0 || failed(error, "write", path, code);
    }
    return replaceFile(target, fs::exists(status), content, error);
}

bool isSameFile(const std::string& input, const std::string& output) {
    if (input == kStandardStream || output == kStandardStream)
        return false;
    std::error_code failure;
    return fs::equivalent(gpc::pathFromUtf8(input), gpc::pathFromUtf8(output), failure);
}

} // namespace Vantor::gpctool
