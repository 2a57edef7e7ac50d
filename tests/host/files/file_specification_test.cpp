#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/files/file_io.h"
#include "platform/host_procedure.h"

namespace {

struct Check {
    std::vector<char> fullName = std::vector<char>(kFileSpecBufferSize, 'x');
    int exists = -1, sizeKiB = -1, isRegular = -1, isReadable = -1, length = -1;

    void run(std::string const& name) {
        ValidateFileSpecificationEx(name.data(), static_cast<int>(name.size()), 0, fullName.data(),
                                    exists, sizeKiB, isRegular, isReadable, length);
    }
    std::string full() const { return fullName.data(); }
};

class FileSpecification : public ::testing::Test {
protected:
    void SetUp() override {
        // One folder per test: CTest runs tests side by side.
        folder = std::filesystem::temp_directory_path() /
                 (std::string("ggraph-filespec-") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder / "sub");
        std::ofstream(folder / "data.csv") << std::string(1500, 'a');
        host::files::setJobFolder(folder / "sub");
    }
    void TearDown() override {
        host::files::setJobFolder({});
        std::filesystem::remove_all(folder);
    }
    std::filesystem::path folder;
};

}  // namespace

TEST_F(FileSpecification, RelativeQuotedNamesResolveAgainstTheJobFolder) {
    Check check;
    check.run("  '../data.csv'  ");
    EXPECT_EQ(check.exists, 1);
    EXPECT_EQ(check.isRegular, 1);
    EXPECT_EQ(check.isReadable, 1);
    EXPECT_EQ(check.sizeKiB, 2);  // 1500 bytes round up
    EXPECT_EQ(check.full(), (folder / "data.csv").string());
    EXPECT_EQ(check.length, static_cast<int>(check.full().size()));

    Check folderCheck;
    folderCheck.run(folder.string());
    EXPECT_EQ(folderCheck.exists, 1);
    EXPECT_EQ(folderCheck.isRegular, 0);
}

TEST_F(FileSpecification, MissingAndOddNamesAreRefusedWithoutOverflow) {
    Check missing;
    missing.run("\"nothing.gpl\"");
    EXPECT_EQ(missing.exists, 0);
    EXPECT_EQ(missing.full(), (folder / "sub" / "nothing.gpl").string());  // still named

    Check tilde;
    tilde.run("~/x.gpl");  // "~" is a plain folder name here
    EXPECT_EQ(tilde.full(), (folder / "sub" / "~" / "x.gpl").string());

    Check empty;
    empty.run("  ''  ");
    EXPECT_EQ(empty.exists, 0);
    EXPECT_EQ(empty.length, 0);
    EXPECT_EQ(empty.full(), "");

    Check tooLong;
    tooLong.run(std::string(kFileSpecBufferSize + 10, 'n'));
    EXPECT_EQ(tooLong.exists, 0);
    EXPECT_EQ(tooLong.length, 0);
    EXPECT_EQ(tooLong.full(), "");

    // A counted name ends at its count even without a NUL.
    std::string text = "../data.csvJUNK";
    Check counted;
    ValidateFileSpecificationEx(text.data(), 11, 0, counted.fullName.data(), counted.exists,
                                counted.sizeKiB, counted.isRegular, counted.isReadable,
                                counted.length);
    EXPECT_EQ(counted.exists, 1);
}

TEST_F(FileSpecification, ReadFileNamesWhatWentWrong) {
    auto const ok = host::files::readFile(folder / "data.csv");
    ASSERT_TRUE(ok.ok);
    EXPECT_EQ(ok.bytes.size(), 1500u);

    auto const missing = host::files::readFile(folder / "none.csv");
    EXPECT_FALSE(missing.ok);
    EXPECT_NE(missing.error.find("none.csv"), std::string::npos);
    EXPECT_NE(missing.error.find("does not exist"), std::string::npos);

    auto const directory = host::files::readFile(folder / "sub");
    EXPECT_FALSE(directory.ok);
    EXPECT_NE(directory.error.find("folder"), std::string::npos);
}
