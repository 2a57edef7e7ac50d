// Reading the files a job names: regular files only, up to a size, never waiting on a pipe.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "host/files/file_io.h"

namespace fs = std::filesystem;

TEST(FileIo, OnlyRegularFilesOfBoundedSizeAreRead) {
    fs::path const folder = fs::temp_directory_path() /
                            ("ggraph_file_io_" + std::to_string(::getpid()));
    fs::create_directories(folder);
    std::ofstream(folder / "small.txt", std::ios::binary) << "twelve bytes";
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);

    auto read = host::files::readFile(folder / "small.txt");
    EXPECT_TRUE(read.ok);
    EXPECT_EQ(read.bytes, "twelve bytes");

    struct Case {
        fs::path path;
        std::size_t limit;
        char const* error;
    } const cases[] = {
        {folder / "small.txt", 11, "is too large"},
        {folder / "pipe", 100, "is not a regular file (a FIFO)"},  // returns at once
        {"/dev/zero", 100, "is not a regular file (a character device)"},
        {folder, 100, "is a folder"},
        {folder / "absent", 100, "does not exist"},
    };
    for (auto const& c : cases) {
        auto refused = host::files::readFile(c.path, c.limit);
        EXPECT_FALSE(refused.ok) << c.path;
        EXPECT_NE(refused.error.find(c.error), std::string::npos) << refused.error;
        EXPECT_NE(refused.error.find(c.path.string()), std::string::npos) << refused.error;
    }
    fs::remove_all(folder);
}
