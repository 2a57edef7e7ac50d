// Reading a CSV in pieces side by side gives what one pass gives, and a job's columns are the
// only ones filled.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "host/dictionary/column_selection.h"
#include "host/dictionary/csv_reader.h"
#include "host/dictionary/dataset.h"
#include "host/dictionary/loader.h"

namespace hd = host::dictionary;

namespace {

struct Read {
    hd::CsvTable table;
    std::vector<std::string> messages;
};

Read readIn(std::string const& text, unsigned pieces, hd::CsvDeclare const& declare = {}) {
    Read read;
    hd::CsvOptions options;
    options.declare = declare;
    options.threads = 2;  // more pieces than threads: each thread takes the next piece free
    options.pieces = pieces;
    options.minPieceBytes = 1;  // cut even a few bytes into `pieces`
    std::vector<hd::Diagnostic> messages;
    read.table = hd::readCsvText(text, "p.csv", options, messages);
    for (auto const& message : messages) read.messages.push_back(message.toString());
    return read;
}

// Everything a reader of the table can see, values bit for bit.
void expectSame(Read const& one, Read const& many, std::string const& what) {
    EXPECT_EQ(many.messages, one.messages) << what;
    ASSERT_EQ(many.table.rows, one.table.rows) << what;
    ASSERT_EQ(many.table.columns.size(), one.table.columns.size()) << what;
    for (std::int64_t row = 0; row < one.table.rows; ++row)
        EXPECT_EQ(many.table.lineOf(row), one.table.lineOf(row)) << what << " row " << row;
    for (std::size_t c = 0; c < one.table.columns.size(); ++c) {
        auto const& a = one.table.columns[c];
        auto const& b = many.table.columns[c];
        EXPECT_EQ(b.numeric, a.numeric) << what << " column " << c;
        EXPECT_EQ(b.width, a.width) << what << " column " << c;
        EXPECT_EQ(b.cellsPerValue, a.cellsPerValue) << what << " column " << c;
        EXPECT_EQ(b.maxDecimals, a.maxDecimals) << what << " column " << c;
        ASSERT_EQ(b.numbers.size(), a.numbers.size()) << what << " column " << c;
        if (!a.numbers.empty())  // memcmp may not be given the null data of an empty vector
            EXPECT_EQ(std::memcmp(b.numbers.data(), a.numbers.data(), a.numbers.size() * 8), 0)
                << what << " column " << c;
        for (std::size_t row = 0; !a.numeric && row < static_cast<std::size_t>(one.table.rows);
             ++row) {
            EXPECT_EQ(b.valueAt(row), a.valueAt(row)) << what << " column " << c << " row " << row;
        }
    }
}

}  // namespace

TEST(CsvPieces, RowsKnowTheLineTheyStartOn) {
    // A header over two lines, a record over three, blank lines: every row knows its line.
    auto r = readIn("\"a\nb\",c\n1,2\n\"x\ny\nz\",3\n\n\n4,5\n6,7\n", 1);
    ASSERT_EQ(r.table.rows, 4);
    EXPECT_EQ(r.table.lineOf(0), 3);
    EXPECT_EQ(r.table.lineOf(1), 4);
    EXPECT_EQ(r.table.lineOf(2), 9);
    EXPECT_EQ(r.table.lineOf(3), 10);
}

TEST(CsvPieces, EveryCutGivesWhatOnePassGives) {
    std::string repeated;
    for (int i = 0; i < 40; ++i) repeated += std::to_string(i) + "," + std::to_string(i * 0.25) + "\n";
    struct Case {
        char const* what;
        std::string text;
    } const cases[] = {
        {"quoted line breaks across cuts",
         "a,b\n1,\"x\ny\nz\"\n2,\"\n\n\n\"\n3,\"q\"\"\nr\"\n4,w\n5,\"a,\nb\"\n"},
        {"line ends of every kind", "a,b\r\n1,2\r\n3,4\r5,6\n\n\r\n7,8\r9,10\r"},
        {"ragged rows and their line numbers", "a,b,c\n1\n2,3,4,5\n\"x\ny\",1\n6,7,8\n9\n" + repeated},
        {"a number column that holds text far down", repeated + "abc,1\n" + repeated},
        {"text from the start and empty cells before it", "a,b\n,1\n,2\nxyz,3\n,4\n5,5\n"},
        {"blank cells before the first text", "a,b\n      ,1\n ,2\n\n\nab,3\n"},
        // Fuzz finds: a piece that held only blank cells lost their width, or their tabs.
        {"cells of a tab before the first text", "a,b\n\t,1\n \t ,2\n\n\nab,3\n\t,4\n"},
        {"blank cells, NULs and lone carriage returns", std::string(",1\0,,\nA  ,\r      \n\nc\n\n1", 24)},
        {"strings of different widths in different pieces",
         "s,n\na,1\nbb,2\n" + std::string(30, 'c') + ",3\nd,4\n" + std::string(9, 'e') + ",5\n"},
        {"warnings past the limit of a kind", "a,b\n" + std::string(25, '\n') +
                                                  [] {
                                                      std::string rows;
                                                      for (int i = 0; i < 30; ++i)
                                                          rows += "1,\"x\"y,\xff\n";
                                                      return rows;
                                                  }()},
        {"a quote never closed", "a,b\n1,2\n3,\"4\n5,6\n7,8\n"},
        {"no final line break", "a,b\n1,2\n3,4"},
        {"header only", "a,b\n"},
    };
    for (auto const& c : cases) {
        Read const one = readIn(c.text, 1);
        for (unsigned pieces : {2u, 3u, 5u, 16u}) {
            expectSame(one, readIn(c.text, pieces), std::string(c.what) + ", " +
                                                        std::to_string(pieces) + " pieces");
        }
    }
    // Declared types: a declared number column reports its text cells wherever they are.
    std::string const declared = "n,s\n1,a\nx,b\n3,c\ny,dd\n" + repeated;
    auto declare = [](std::string const& header) {
        hd::CsvColumnDeclaration d;
        d.declared = true;
        d.numeric = header == "n";
        d.width = header == "s" ? 3 : 0;
        return d;
    };
    Read const one = readIn(declared, 1, declare);
    ASSERT_GE(one.messages.size(), 2u);
    EXPECT_EQ(one.messages[0].rfind("p.csv:3:1: warning: field 1 (n): \"x\" is not a number", 0), 0u);
    EXPECT_EQ(one.messages[1].rfind("p.csv:5:1: warning: field 1 (n): \"y\"", 0), 0u);
    expectSame(one, readIn(declared, 4, declare), "declared types");
}

TEST(CsvPieces, TheJobsWordsSelectTheColumns) {
    auto selection = hd::selectionForJob(
        "* a comment that isn't code.\n"
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=Age MEAN(pay)[NAME=\"m\"] /GRAPHSPEC.\n"
        "BEGIN GPL\nDATA: x=col(source(s), name(\"my var\"))\nEND GPL.\n"
        "SPLIT FILE BY region.\nVARIABLE LABELS q1 TO q3 'scores'.\n");
    EXPECT_FALSE(selection.all);
    std::vector<std::string> const names = {"age", "pay", "unused", "q0",     "q1",
                                            "q2",  "q3",  "q4",     "region", "my var"};
    std::vector<bool> const expected = {true, true, false, false, true,
                                        true, true, false, true,  true};
    EXPECT_EQ(selection.keep(names), expected);
    // ALL anywhere, or a range with one end that is no column, reads everything.
    EXPECT_TRUE(hd::selectionForJob("DESCRIPTIVES ALL.").all);
    auto loose = hd::selectionForJob("VARIABLE LABELS q1 TO qq 'x'.");
    EXPECT_EQ(loose.keep({"a", "q1"}), (std::vector<bool>{true, true}));
}

TEST(CsvPieces, ALoadReadsOnlyTheSelectedColumnsButNamesAndChecksThemAll) {
    std::string const csv = std::string(GGRAPH_SOURCE_DIR) + "/tests/data/dictionary/inferred.csv";
    auto const all = hd::loadDataset(csv);
    ASSERT_TRUE(all.ok());
    ASSERT_GE(all.dataset->variables.size(), 3u);
    std::string const first = all.dataset->variables[0]->hostData().name;
    std::string const last = all.dataset->variables.back()->hostData().name;

    auto const selection = hd::selectionForJob("FREQUENCIES " + last + ".");
    hd::LoadOptions options;
    options.columns = &selection;
    auto const some = hd::loadDataset(csv, options);
    ASSERT_TRUE(some.ok());
    ASSERT_EQ(some.dataset->variables.size(), 1u);
    EXPECT_EQ(some.dataset->variables[0]->hostData().name, last);
    EXPECT_EQ(some.dataset->cases, all.dataset->cases);
    EXPECT_EQ(some.dataset->columns[0], all.dataset->columns.back());
    EXPECT_EQ(hd::findVariable(*some.dataset, first), -1);
    EXPECT_EQ(some.messages.size(), all.messages.size());  // every header is still looked at
}

TEST(CsvPieces, ManyColumnsWithOneNameLoadInNearLinearTime) {
    // Every header the same: each new name is told apart from all before it. A lookup per
    // column that walks the earlier ones took minutes here.
    constexpr int kColumns = 100000;
    std::string text;
    for (int i = 0; i < kColumns; ++i) text += i ? ",x" : "x";
    text += "\n";
    for (int i = 0; i < kColumns; ++i) text += i ? ",1" : "1";
    text += "\n";
    auto const path = std::filesystem::temp_directory_path() / "ggraph_wide_test.csv";
    std::ofstream(path) << text;
    auto const wide = hd::loadDataset(path.string());
    std::filesystem::remove(path);
    ASSERT_TRUE(wide.ok());
    ASSERT_EQ(wide.dataset->variables.size(), static_cast<std::size_t>(kColumns));
    EXPECT_EQ(wide.dataset->variables.back()->hostData().name, "x_100000");
    EXPECT_EQ(hd::findVariable(*wide.dataset, "X_99999"), kColumns - 2);
}

TEST(CsvPieces, BlankValuesCountInTheWidthOfATextColumn) {
    // Blanks read while the column still looked numeric are as wide as written, as they are
    // once it is known to be text.
    for (unsigned pieces : {1u, 2u}) {
        Read const r = readIn("s,n\n      ,1\nab,2\n  ,3\n", pieces);
        ASSERT_FALSE(r.table.columns[0].numeric);
        EXPECT_EQ(r.table.columns[0].width, 6) << pieces << " pieces";
    }
    // Blanks wider than eight bytes in a piece of their own make the text need two cells a
    // value, where the pieces that wrote the short codes had room for one (found by fuzzing).
    std::string const wider("\x01{\n ue\": 2, \"label\": \"\"},\n           ,an\xb0  \xff]}\n  ]\n}\n");
    Read const one = readIn(wider, 1);
    EXPECT_EQ(one.table.columns[0].width, 11);
    EXPECT_EQ(one.table.columns[0].cellsPerValue, 2);
    for (unsigned pieces : {3u, 4u})
        expectSame(one, readIn(wider, pieces), std::to_string(pieces) + " pieces, wide blanks");
}

TEST(CsvPieces, PlainRowsAndTheRestReadAlike) {
    // Rows the fast path takes (plain numbers, short codes) between rows it leaves to the field
    // by field reader: each value as written, wherever it falls.
    std::string text = "id,x,code,skip\n";
    text += "1,-2.5,ab,zz\n";
    text += "2,\"3.25\",\"q,r\",zz\r\n";    // quoted fields, CRLF
    text += "3,1e3,abcdefgh,zz\n";          // an exponent; a code of eight bytes
    text += "4,,abcdefghi,zz\n";            // an empty number; a code past eight bytes
    text += "5,0.125,cd,zz,extra\n";        // more fields than the header
    text += "6,7\n";                        // fewer
    text += "7,+8,\xc3\xa9t\xc3\xa9,zz\n";  // a sign; UTF-8 text
    text += "8,9.5,ef,zz";                  // no final line break
    for (unsigned pieces : {1u, 3u}) {
        Read const r = readIn(text, pieces);
        SCOPED_TRACE(std::to_string(pieces) + " pieces");
        ASSERT_EQ(r.table.rows, 8);
        auto const& x = r.table.columns[1];
        ASSERT_TRUE(x.numeric);
        double const sysmis = -std::numeric_limits<double>::max();
        std::vector<double> const expected{-2.5, 3.25, 1000.0, sysmis, 0.125, 7.0, 8.0, 9.5};
        ASSERT_EQ(x.numbers.size(), expected.size());
        for (std::size_t row = 0; row < expected.size(); ++row)
            EXPECT_EQ(x.numbers[row], expected[row]) << "row " << row;
        EXPECT_EQ(x.maxDecimals, 3);
        auto const& code = r.table.columns[2];
        ASSERT_FALSE(code.numeric);
        EXPECT_EQ(code.width, 9);
        std::vector<std::string> const codes{"ab", "q,r", "abcdefgh", "abcdefghi", "cd", "",
                                             "\xc3\xa9t\xc3\xa9", "ef"};
        for (std::size_t row = 0; row < codes.size(); ++row) {
            std::string value = code.valueAt(row);
            value.erase(value.find_last_not_of(' ') + 1);
            EXPECT_EQ(value, codes[row]) << "row " << row;
        }
        int ragged = 0;
        for (auto const& message : r.messages) ragged += message.find("the row has") != std::string::npos;
        EXPECT_EQ(ragged, 2);
        EXPECT_EQ(r.table.lineOf(7), 9);
    }
}
