// A job that reads a few of a file's columns has its rows read by loops made for those columns'
// kinds; reading every column goes through the general loop. Both must give the same columns.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/dictionary/csv_reader.h"

namespace hd = host::dictionary;

namespace {

hd::CsvTable readColumns(std::string const& text, std::vector<bool> const& wanted) {
    hd::CsvOptions options;
    options.threads = 1;
    options.select = [&wanted](std::vector<std::string> const& headers) {
        std::vector<bool> keep(headers.size(), false);
        for (std::size_t c = 0; c < headers.size() && c < wanted.size(); ++c) keep[c] = wanted[c];
        return keep;
    };
    std::vector<hd::Diagnostic> messages;
    return hd::readCsvText(text, "r.csv", options, messages);
}

// Cells that keep a row plain, and cells that send it the slow way: empty, quoted, too long,
// not ASCII, a number the plain reader leaves to the full one.
std::vector<std::string> const kCells = {
    "1",   "-2.5",       "45.25",    "0.125",      "abc",   "ABCDEFGH", "x",   "",
    "7",   "ABCDEFGHI",  "\"q,r\"",  "x y",        "1e5",   "+3",       "\xc3\xa9", "007",
    "1.",  ".5",         "-",        "12345678901234567",   "-0",       "9.75", "zz"};

// Rows of six fields over a few columns of each kind, with now and then a row of more or fewer
// fields, a carriage return, a blank line or a quote.
std::string randomFile(std::mt19937& random) {
    std::string text = "a,b,c,d,e,f\n";
    std::uniform_int_distribution<std::size_t> cell(0, kCells.size() - 1);
    std::uniform_int_distribution<int> percent(0, 99);
    int const rows = 1 + percent(random) % 60;
    for (int row = 0; row < rows; ++row) {
        int fields = 6;
        if (percent(random) < 3)
            fields += percent(random) % 2 ? 1 : -1 - percent(random) % 5;
        for (int f = 0; f < fields; ++f) {
            if (f > 0)
                text += ',';
            // Mostly plain: numbers in a, b and e, short codes in c and d, anything in f.
            bool const plain = percent(random) < 90;
            if (plain && (f == 0 || f == 1 || f == 4)) {
                text += std::to_string(percent(random) - 20) + "." +
                        std::to_string(percent(random) % 10);
            } else if (plain && (f == 2 || f == 3)) {
                text += std::string(1 + percent(random) % 8,
                                    static_cast<char>('A' + percent(random) % 26));
            } else {
                text += kCells[cell(random)];
            }
        }
        int const end = percent(random);
        text += end < 2 ? "\r\n" : end < 4 ? "\n\n" : "\n";
    }
    return text;
}

void expectSameColumn(hd::CsvColumn const& got, hd::CsvColumn const& want, std::int64_t rows,
                      std::string const& where) {
    EXPECT_EQ(got.numeric, want.numeric) << where;
    EXPECT_EQ(got.width, want.width) << where;
    EXPECT_EQ(got.cellsPerValue, want.cellsPerValue) << where;
    EXPECT_EQ(got.maxDecimals, want.maxDecimals) << where;
    EXPECT_EQ(got.maxLength, want.maxLength) << where;
    ASSERT_EQ(got.numbers.size(), want.numbers.size()) << where;
    if (!want.numbers.empty())
        EXPECT_EQ(std::memcmp(got.numbers.data(), want.numbers.data(), want.numbers.size() * 8), 0)
            << where;
    for (std::int64_t row = 0; !want.numeric && row < rows; ++row)
        EXPECT_EQ(got.valueAt(static_cast<std::size_t>(row)),
                  want.valueAt(static_cast<std::size_t>(row)))
            << where << " row " << row;
}

}  // namespace

TEST(CsvLoadedRows, AFewColumnsReadAsWhenEveryColumnIsRead) {
    std::vector<std::vector<bool>> const selections = {
        {true, false, true, true, false, false},   // number, then two codes side by side
        {false, true, false, false, false, false}, // one number, fields on both sides
        {false, false, false, false, false, true}, // the last field alone
        {true, true, true, true, false, false},    // four: the most the made loops take
        {false, false, true, false, true, false},  // a code and a number, skips between
    };
    std::mt19937 random(20261124);
    for (int file = 0; file < 300; ++file) {
        std::string const text = randomFile(random);
        hd::CsvTable const all = readColumns(text, std::vector<bool>(6, true));
        ASSERT_TRUE(all.ok);
        for (std::size_t s = 0; s < selections.size(); ++s) {
            hd::CsvTable const few = readColumns(text, selections[s]);
            std::string const where =
                "file " + std::to_string(file) + ", selection " + std::to_string(s);
            ASSERT_EQ(few.rows, all.rows) << where;
            for (std::int64_t row = 0; row < all.rows; ++row)
                EXPECT_EQ(few.lineOf(row), all.lineOf(row)) << where << " row " << row;
            for (std::size_t c = 0; c < 6; ++c) {
                if (selections[s][c])
                    expectSameColumn(few.columns[c], all.columns[c], all.rows,
                                     where + " column " + std::to_string(c));
            }
        }
    }
}
