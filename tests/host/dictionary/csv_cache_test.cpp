// The CSV cache gives what parsing gives, and is used only while the file, the columns read and
// their declarations are what they were.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "host/dictionary/csv_cache.h"
#include "host/dictionary/csv_reader.h"

namespace hd = host::dictionary;
namespace fs = std::filesystem;

namespace {

class CsvCache : public ::testing::Test {
protected:
    void SetUp() override {
        root_ = fs::temp_directory_path() /
                ("ggraph_csv_cache_" + std::to_string(::getpid()) + "_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(root_);
        fs::create_directories(root_);
        cache_.folder = (root_ / "cache").string();
        cache_.minBytes = 0;
        cache_.writeInBackground = false;
    }
    void TearDown() override { fs::remove_all(root_); }

    std::string write(std::string const& name, std::string const& text) {
        std::string const path = (root_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    struct Read {
        hd::CsvTable table;
        std::vector<std::string> messages;
        bool fromCache = false;
    };
    Read read(std::string const& path, hd::CsvOptions const& options = {}) {
        Read r;
        std::vector<hd::Diagnostic> messages;
        r.table = hd::readCsvCached(path, options, cache_, messages, &r.fromCache);
        for (auto const& m : messages) r.messages.push_back(m.toString());
        return r;
    }
    std::size_t entries() const {
        std::size_t n = 0;
        std::error_code error;
        for (auto const& entry : fs::directory_iterator(cache_.folder, error))
            n += entry.path().extension() == ".csvcache";
        return n;
    }

    fs::path root_;
    hd::CsvCacheOptions cache_;
};

void expectSame(hd::CsvTable const& a, hd::CsvTable const& b) {
    ASSERT_EQ(b.rows, a.rows);
    for (std::int64_t row = 0; row < a.rows; ++row) EXPECT_EQ(b.lineOf(row), a.lineOf(row));
    ASSERT_EQ(b.columns.size(), a.columns.size());
    for (std::size_t c = 0; c < a.columns.size(); ++c) {
        auto const& x = a.columns[c];
        auto const& y = b.columns[c];
        EXPECT_EQ(y.header, x.header);
        EXPECT_EQ(y.loaded, x.loaded);
        EXPECT_EQ(y.numeric, x.numeric);
        EXPECT_EQ(y.width, x.width);
        EXPECT_EQ(y.cellsPerValue, x.cellsPerValue);
        EXPECT_EQ(y.maxDecimals, x.maxDecimals);
        ASSERT_EQ(y.numbers.size(), x.numbers.size()) << "column " << c;
        ASSERT_EQ(y.cells.size(), x.cells.size()) << "column " << c;
        if (!x.numbers.empty()) {
            EXPECT_EQ(std::memcmp(y.numbers.data(), x.numbers.data(), x.numbers.size() * 8), 0);
        }
        if (!x.cells.empty()) {
            EXPECT_EQ(std::memcmp(y.cells.data(), x.cells.data(), x.cells.size() * 8), 0);
        }
    }
}

// Rows that start past a blank line, a quoted line break, a bad number and a short row: the
// cache must carry line numbers and messages as well as values.
std::string const kAwkward =
    "id,name,score\n"
    "1,Ann,3.5\n"
    "\n"
    "2,\"Bob\nJr\",x7\n"
    "3,Cy\n"
    "4,Dee,12.25\n";

hd::CsvOptions declaringScoreNumeric() {
    hd::CsvOptions options;
    options.declare = [](std::string const& header) {
        hd::CsvColumnDeclaration d;
        if (header == "score") {
            d.declared = true;
            d.numeric = true;
        }
        return d;
    };
    return options;
}

TEST_F(CsvCache, ASecondReadGivesWhatTheFirstParsedWithItsLinesAndMessages) {
    std::string const path = write("awkward.csv", kAwkward);
    hd::CsvOptions const options = declaringScoreNumeric();
    Read const first = read(path, options);
    ASSERT_TRUE(first.table.ok);
    EXPECT_FALSE(first.fromCache);
    EXPECT_FALSE(first.messages.empty());
    EXPECT_EQ(entries(), 1u);

    Read const second = read(path, options);
    EXPECT_TRUE(second.fromCache);
    EXPECT_TRUE(second.table.ok);
    EXPECT_EQ(second.messages, first.messages);
    expectSame(first.table, second.table);

    // Another spelling of the same file finds the same entry; its messages name it as spelled.
    std::string const other = (root_ / "." / "awkward.csv").string();
    Read const third = read(other, options);
    EXPECT_TRUE(third.fromCache);
    ASSERT_FALSE(third.messages.empty());
    EXPECT_EQ(third.messages[0].rfind(other, 0), 0u) << third.messages[0];
}

TEST_F(CsvCache, AChangedFileOrOtherColumnsOrDeclarationsAreParsedAgain) {
    std::string const path = write("data.csv", "g,y\nA,1\nB,2\n");
    ASSERT_FALSE(read(path).fromCache);
    ASSERT_TRUE(read(path).fromCache);

    // Other columns read, then the old ones again: each is a new reading of the file.
    hd::CsvOptions onlyY;
    onlyY.select = [](std::vector<std::string> const& headers) {
        std::vector<bool> keep;
        for (auto const& h : headers) keep.push_back(h == "y");
        return keep;
    };
    Read const y = read(path, onlyY);
    EXPECT_FALSE(y.fromCache);
    EXPECT_FALSE(y.table.columns[0].loaded);
    EXPECT_TRUE(read(path, onlyY).fromCache);

    hd::CsvOptions yAsText;
    yAsText.declare = [](std::string const& header) {
        hd::CsvColumnDeclaration d;
        d.declared = header == "y";
        d.numeric = header != "y";
        return d;
    };
    Read const text = read(path, yAsText);
    EXPECT_FALSE(text.fromCache);
    EXPECT_FALSE(text.table.columns[1].numeric);

    // The same size and the same modification time, other values: the sample of its bytes
    // tells the files apart.
    read(path);
    ASSERT_TRUE(read(path).fromCache);
    struct stat before {};
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    write("data.csv", "g,y\nA,7\nB,9\n");
    timespec const times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    Read const changed = read(path);
    EXPECT_FALSE(changed.fromCache);
    ASSERT_EQ(changed.table.rows, 2);
    EXPECT_EQ(changed.table.columns[1].numbers[1], 9.0);

    // A longer file.
    write("data.csv", "g,y\nA,7\nB,9\nC,10\n");
    Read const longer = read(path);
    EXPECT_FALSE(longer.fromCache);
    EXPECT_EQ(longer.table.rows, 3);
}

TEST_F(CsvCache, ADamagedOrForeignEntryIsParsedPastAndReplaced) {
    std::string const path = write("data.csv", kAwkward);
    Read const good = read(path);
    std::string const entry = hd::csvCacheEntryPath(cache_.folder, path);
    ASSERT_TRUE(fs::exists(entry));
    std::string bytes;
    {
        std::ifstream in(entry, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    std::vector<std::string> const damaged = {
        "",                                     // empty
        "not a cache entry at all",             // foreign
        bytes.substr(0, 40),                    // cut inside the description
        bytes.substr(0, bytes.size() - 4090),   // cut inside the last block
        std::string(bytes).replace(40, 6, "}}}}}}"),  // description that is not JSON
    };
    for (std::size_t i = 0; i < damaged.size(); ++i) {
        std::ofstream(entry, std::ios::binary | std::ios::trunc) << damaged[i];
        Read const again = read(path);
        EXPECT_FALSE(again.fromCache) << "damage " << i;
        EXPECT_EQ(again.messages, good.messages) << "damage " << i;
        expectSame(good.table, again.table);
        EXPECT_TRUE(read(path).fromCache) << "the entry is written anew after damage " << i;
    }
}

TEST_F(CsvCache, ALargeColumnTakesTheEntrysPagesAndWritingToItLeavesTheEntryAlone) {
    // 600,000 rows: each column is more than kMappedCellBytes, so it is mapped, not copied.
    std::string text = "x,code\n";
    for (int i = 0; i < 600000; ++i)
        text += std::to_string(i % 977) + "." + std::to_string(i % 10) + ",c" +
                std::to_string(i % 13) + "\n";
    std::string const path = write("big.csv", text);
    Read const first = read(path);
    ASSERT_EQ(first.table.rows, 600000);
    Read second = read(path);
    ASSERT_TRUE(second.fromCache);
    expectSame(first.table, second.table);

    auto& numbers = second.table.columns[0].numbers;
    ASSERT_GE(numbers.size() * sizeof(OBS), hd::kMappedCellBytes);
    numbers[0] = -1.0;
    numbers[599999] = -2.0;
    numbers.push_back(5.0);  // grows into a block of its own
    EXPECT_EQ(numbers[599999], -2.0);

    Read const third = read(path);
    EXPECT_TRUE(third.fromCache);
    expectSame(first.table, third.table);
}

TEST_F(CsvCache, SmallFilesAndNoFolderAreNotCached) {
    std::string const path = write("data.csv", "g,y\nA,1\n");
    cache_.minBytes = 1000;
    EXPECT_FALSE(read(path).fromCache);
    EXPECT_FALSE(read(path).fromCache);
    EXPECT_EQ(entries(), 0u);
    cache_.minBytes = 0;
    cache_.folder.clear();
    EXPECT_FALSE(read(path).fromCache);
    EXPECT_FALSE(read(path).fromCache);

    // A missing file is reported by the reader as ever, cache or not.
    cache_.folder = (root_ / "cache").string();
    Read const missing = read((root_ / "missing.csv").string());
    EXPECT_TRUE(missing.table.unreadable);
    ASSERT_EQ(missing.messages.size(), 1u);
    EXPECT_NE(missing.messages[0].find("cannot open the data file"), std::string::npos);
}

TEST_F(CsvCache, TheFolderKeepsTheMostRecentlyUsedEntriesWithinItsBound) {
    std::vector<std::string> paths;
    for (int i = 0; i < 3; ++i) paths.push_back(write("f" + std::to_string(i) + ".csv", kAwkward));
    read(paths[0]);
    std::uintmax_t const one = fs::file_size(hd::csvCacheEntryPath(cache_.folder, paths[0]));
    cache_.maxFolderBytes = 2 * one;
    read(paths[1]);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(read(paths[0]).fromCache);  // used: now the newer of the two
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    read(paths[2]);
    EXPECT_EQ(entries(), 2u);
    EXPECT_TRUE(fs::exists(hd::csvCacheEntryPath(cache_.folder, paths[0])));
    EXPECT_FALSE(fs::exists(hd::csvCacheEntryPath(cache_.folder, paths[1])));
    EXPECT_TRUE(fs::exists(hd::csvCacheEntryPath(cache_.folder, paths[2])));
}

TEST_F(CsvCache, AnEntryWrittenInTheBackgroundIsThereForTheNextRun) {
    cache_.writeInBackground = true;
    std::string const path = write("data.csv", kAwkward);
    Read const first = read(path);
    EXPECT_FALSE(first.fromCache);
    std::string const entry = hd::csvCacheEntryPath(cache_.folder, path);
    for (int i = 0; i < 200 && !fs::exists(entry); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Read const second = read(path);
    EXPECT_TRUE(second.fromCache);
    expectSame(first.table, second.table);
}

}  // namespace
