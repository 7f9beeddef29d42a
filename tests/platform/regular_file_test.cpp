#include "platform/regular_file.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>

namespace Vantor::platform {
namespace {

namespace fs = std::filesystem;
using Links = RegularFile::Links;

class RegularFileTest : public testing::Test {
protected:
    fs::path path(const char* name) const { return fs::path(directory.path().toStdU16String()) / name; }
    fs::path write(const char* name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    static std::string read(RegularFile& file, std::size_t limit) {
        std::string content(limit, '\0');
        std::error_code error;
        content.resize(file.read(std::as_writable_bytes(std::span(content)), error));
        EXPECT_FALSE(error) << error.message();
        return content;
    }

    QTemporaryDir directory;
    std::error_code error;
};

TEST_F(RegularFileTest, ReadsOnFromWhereItStopped) {
    auto opened = RegularFile::open(write("a", "0123456789"), Links::refuse, error);
    ASSERT_TRUE(opened) << error.message();
    EXPECT_EQ(opened->size(), 10U);
    EXPECT_EQ(read(*opened, 4), "0123");
    RegularFile moved = std::move(*opened);
    EXPECT_EQ(read(moved, 100), "456789");
    EXPECT_EQ(read(moved, 100), "");
}

TEST_F(RegularFileTest, MissingFilesAndDirectoriesAreRefused) {
    for (const Links links : {Links::follow, Links::refuse}) {
        EXPECT_FALSE(RegularFile::open(path("missing"), links, error));
        EXPECT_EQ(error, std::errc::no_such_file_or_directory);
        EXPECT_FALSE(RegularFile::open(path(""), links, error));
        EXPECT_TRUE(error);
    }
}

TEST_F(RegularFileTest, SeesWhatBecomesOfAFileThatIsOpen) {
    const fs::path file = write("a", "short");
    auto opened = RegularFile::open(file, Links::follow, error);
    ASSERT_TRUE(opened);
    write("a", std::string(1000, 'x'));
    EXPECT_EQ(opened->size(), 5U);
    EXPECT_EQ(read(*opened, 100).size(), 100U) << "no more than was asked for, however it grew";
    fs::resize_file(file, 0);
    EXPECT_EQ(read(*opened, 100), "");
}

} // namespace
} // namespace Vantor::platform
