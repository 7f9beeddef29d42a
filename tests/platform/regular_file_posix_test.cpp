// Names that are not files. That these tests end at all is half of what they show: none may wait for a pipe.

#include "platform/regular_file.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <string>

namespace Vantor::platform {
namespace {

namespace fs = std::filesystem;
using Links = RegularFile::Links;

TEST(RegularFilePosix, TakesRegularFilesOnly) {
    const QTemporaryDir directory;
    const fs::path root(directory.path().toStdString());
    std::ofstream(root / "file") << "content";
    ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
    fs::create_directory(root / "directory");
    fs::create_symlink("file", root / "link");
    fs::create_symlink("pipe", root / "link to pipe");
    fs::create_symlink("/dev/zero", root / "link to device");
    fs::create_symlink("nowhere", root / "dangling");
    fs::create_symlink("loop", root / "loop");
    fs::create_directory_symlink(root, root / "link to directory");

    constexpr int kNotRegular = static_cast<int>(std::errc::not_supported);
    const struct {
        const char* name;
        int followed; ///< errno, 0 = opens
        int refused;
    } cases[] = {
        {"file", 0, 0},
        {"directory", kNotRegular, kNotRegular},
        {"pipe", kNotRegular, kNotRegular},
        {"/dev/zero", kNotRegular, kNotRegular},
        {"link", 0, ELOOP},
        {"link to pipe", kNotRegular, ELOOP},
        {"link to device", kNotRegular, ELOOP},
        {"dangling", ENOENT, ELOOP},
        {"loop", ELOOP, ELOOP},
        {"link to directory/file", 0, 0},
        {"file/beneath", ENOTDIR, ENOTDIR},
    };
    for (const auto& each : cases) {
        std::error_code error;
        EXPECT_EQ(RegularFile::open(root / each.name, Links::follow, error).has_value(), each.followed == 0);
        EXPECT_EQ(error.value(), each.followed) << each.name;
        EXPECT_EQ(RegularFile::open(root / each.name, Links::refuse, error).has_value(), each.refused == 0);
        EXPECT_EQ(error.value(), each.refused) << each.name << ", links refused";
    }
}

TEST(RegularFilePosix, ReadsWhatWasOpenedWhateverTakesItsName) {
    const QTemporaryDir directory;
    const fs::path root(directory.path().toStdString());
    std::ofstream(root / "file") << "checked";
    std::ofstream(root / "other") << "exchanged";
    std::error_code error;
    auto opened = RegularFile::open(root / "file", Links::refuse, error);
    ASSERT_TRUE(opened);
    fs::rename(root / "other", root / "file");
    std::array<char, 32> content{};
    const std::size_t length = opened->read(std::as_writable_bytes(std::span(content)), error);
    EXPECT_EQ(std::string(content.data(), length), "checked");
}

} // namespace
} // namespace Vantor::platform
