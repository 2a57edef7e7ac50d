// Bad data and bad dictionaries: each gives a clear message naming the file, line and column,
// and what can be read safely is kept.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/dictionary_json.h"
#include "host/dictionary/loader.h"

namespace hd = host::dictionary;

namespace {

std::string joined(std::vector<hd::Diagnostic> const& messages) {
    std::string out;
    for (auto const& m : messages) out += m.toString() + "\n";
    return out;
}

hd::CsvTable read(std::string const& text, std::vector<hd::Diagnostic>& messages) {
    return hd::readCsvText(text, "t.csv", hd::CsvOptions{}, messages);
}

// Files of one test, removed afterwards.
class TempFolder {
public:
    TempFolder() {
        path_ =
            std::filesystem::temp_directory_path() /
            ("ggraph_dict_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() { std::filesystem::remove_all(path_); }
    std::string write(std::string const& name, std::string const& text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return (path_ / name).string();
    }

private:
    std::filesystem::path path_;
};

}  // namespace

TEST(MalformedCsv, RaggedRowsAreReportedByLineAndKeptAligned) {
    std::vector<hd::Diagnostic> messages;
    auto table = read("a,b,c\n1,2,3\n4,5\n6,7,8,9\n10,11,12\n", messages);
    ASSERT_TRUE(table.ok);
    EXPECT_EQ(table.rows, 4);
    ASSERT_EQ(messages.size(), 2u) << joined(messages);
    EXPECT_EQ(messages[0].line, 3);
    EXPECT_NE(messages[0].text.find("2 field(s), the header 3"), std::string::npos);
    EXPECT_EQ(messages[1].line, 4);
    EXPECT_NE(messages[1].text.find("extra fields are ignored"), std::string::npos);
    // The short row's last cell is missing; the columns stay the same length.
    EXPECT_EQ(table.columns[2].numbers.size(), 4u);
    EXPECT_EQ(table.columns[2].numbers[1], std::numeric_limits<double>::lowest());
    EXPECT_EQ(table.columns[2].numbers[3], 12);
}

TEST(MalformedCsv, NumbersOutOfRangeAreMissingAndTheColumnStaysNumeric) {
    std::vector<hd::Diagnostic> messages;
    auto table = read("x,y\n1e999,1\n-1e999,2\n3,3\n", messages);
    ASSERT_TRUE(table.ok);
    std::string const said = joined(messages);
    EXPECT_NE(said.find("t.csv:2:1: warning: field 1 (x): \"1e999\" is a number out of range"),
              std::string::npos)
        << said;
    EXPECT_NE(said.find("t.csv:3:1: warning: field 1 (x): \"-1e999\""), std::string::npos) << said;
    ASSERT_TRUE(table.columns[0].numeric);
    EXPECT_EQ(table.columns[0].numbers[0], std::numeric_limits<double>::lowest());
    EXPECT_EQ(table.columns[0].numbers[2], 3);
    // "inf" is a word, not a number out of range: the column is text, every value as written.
    messages.clear();
    auto words = read("x,y\n1e999,1\ninf,2\n", messages);
    EXPECT_FALSE(words.columns[0].numeric);
    EXPECT_EQ(words.columns[0].valueAt(0).substr(0, 5), "1e999");
}

TEST(MalformedCsv, NulBytesAreNamedWhereTheyStand) {
    std::vector<hd::Diagnostic> messages;
    auto table = read(std::string("x,y\n1,a\0b\n2\0,\"c\0\"\n", 18), messages);
    ASSERT_TRUE(table.ok);
    std::string const said = joined(messages);
    EXPECT_NE(said.find("t.csv:2:3: warning: a NUL byte (0x00)"), std::string::npos) << said;
    EXPECT_NE(said.find("t.csv:3:1: warning: a NUL byte"), std::string::npos) << said;
    EXPECT_NE(said.find("t.csv:3:4: warning: a NUL byte"), std::string::npos) << said;
}

TEST(MalformedCsv, BadQuotingAndCutShortFiles) {
    std::vector<hd::Diagnostic> messages;
    auto table = read("a,b\n\"x\"y,1\nz\"q,2\n", messages);
    ASSERT_EQ(messages.size(), 2u) << joined(messages);
    EXPECT_EQ(messages[0].line, 2);
    EXPECT_EQ(messages[0].column, 4);
    EXPECT_NE(messages[0].text.find("closing quote"), std::string::npos);
    EXPECT_EQ(messages[1].line, 3);
    EXPECT_EQ(messages[1].column, 2);
    EXPECT_EQ(table.columns[0].valueAt(0) + table.columns[0].valueAt(1),
              "xy z\"q");  // both at the width of the longer

    // A quoted field still open at the end of the file, as in a file cut short: the message
    // points at the opening quote, however far the field ran.
    messages.clear();
    std::string text = "a,b\n1,2\n3,\"" + std::string(100000, 'x') + "\nmore";
    table = read(text, messages);
    ASSERT_TRUE(table.ok);
    EXPECT_EQ(table.rows, 2);
    ASSERT_GE(messages.size(), 1u);
    EXPECT_EQ(messages[0].level, hd::Diagnostic::Error);
    EXPECT_EQ(messages[0].line, 3);
    EXPECT_EQ(messages[0].column, 3);
    EXPECT_NE(messages[0].text.find("cut short"), std::string::npos);
    // The runaway value is cut to the widest string kept.
    EXPECT_EQ(table.columns[1].maxLength, hd::kMaxStringWidth);
    EXPECT_NE(joined(messages).find("is longer than 32767"), std::string::npos);
}

TEST(MalformedCsv, BadUtf8IsNamedWithItsPlace) {
    std::vector<hd::Diagnostic> messages;
    auto table = read("name\nok\nab\xC3(x\n", messages);
    ASSERT_EQ(messages.size(), 1u) << joined(messages);
    EXPECT_EQ(messages[0].line, 3);
    EXPECT_EQ(messages[0].column, 3);
    EXPECT_NE(messages[0].text.find("0xC3"), std::string::npos);
    EXPECT_EQ(table.rows, 2);
}

TEST(MalformedCsv, LateTextKeepsEarlierSpellingsAndFloodsAreCut) {
    std::vector<hd::Diagnostic> messages;
    auto table = read("code\n007\n12.50\nx1\n", messages);
    EXPECT_FALSE(table.columns[0].numeric);
    EXPECT_EQ(
        table.columns[0].valueAt(0) + table.columns[0].valueAt(1) + table.columns[0].valueAt(2),
        "007  12.50x1   ");

    // Fifty ragged rows: ten messages and one that counts the rest.
    std::string text = "a,b\n";
    for (int i = 0; i < 50; ++i) text += "1\n";
    messages.clear();
    read(text, messages);
    ASSERT_EQ(messages.size(), 11u);
    EXPECT_NE(messages.back().text.find("40 more"), std::string::npos);
}

TEST(MalformedCsv, EmptyAndMissingFiles) {
    TempFolder folder;
    auto empty = hd::loadDataset(folder.write("empty.csv", ""));
    // Said as an error; the dataset is empty, not fatal, so the job's other datasets still chart.
    EXPECT_TRUE(empty.hasErrors());
    EXPECT_FALSE(empty.dataset->fatal);
    EXPECT_TRUE(empty.dataset->variables.empty());
    EXPECT_FALSE(empty.unreadable);
    ASSERT_EQ(empty.messages.size(), 1u);
    EXPECT_NE(empty.messages[0].toString().find("empty.csv: error: the file is empty"),
              std::string::npos);

    auto missing = hd::loadDataset(folder.write("x", "") + "_nope.csv");
    EXPECT_FALSE(missing.ok());
    ASSERT_EQ(missing.messages.size(), 1u);
    EXPECT_NE(missing.messages[0].text.find("No such file"), std::string::npos);
    EXPECT_TRUE(missing.dataset->fatal);

    auto headerOnly = hd::loadDataset(folder.write("header.csv", "a,b\n"));
    EXPECT_TRUE(headerOnly.ok());
    EXPECT_EQ(headerOnly.dataset->cases, 0);
    EXPECT_EQ(headerOnly.dataset->variables.size(), 2u);
}

TEST(MalformedDictionary, SyntaxErrorsNameLineAndColumn) {
    std::vector<hd::Diagnostic> messages;
    auto dict = hd::readDictionaryText("{\n  \"fields\": [\n    {\"name\": \"a\",}\n  ]\n}",
                                       "d.json", messages);
    EXPECT_FALSE(dict.has_value());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].line, 3);
    EXPECT_EQ(messages[0].column, 18);  // the brace behind the comma
    EXPECT_NE(messages[0].text.find("not valid JSON"), std::string::npos);

    messages.clear();
    dict = hd::readDictionaryText("{\"fields\": [{\"name\": \"a\", \"width\": \"8\"}]}", "d.json",
                                  messages);
    EXPECT_TRUE(dict.has_value());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].text.find("width \"8\""), std::string::npos);

    // A number beyond a double is reported where it stands, and the rest is read.
    messages.clear();
    dict = hd::readDictionaryText(
        "{\"fields\": [\n{\"name\": \"x\", \"missingValues\": [1e999, 7]},\n"
        "{\"name\": \"s\", \"title\": \"kept\"}]}",
        "d.json", messages);
    ASSERT_TRUE(dict.has_value());
    ASSERT_EQ(messages.size(), 1u) << joined(messages);
    EXPECT_EQ(messages[0].line, 2);
    EXPECT_EQ(messages[0].column, 33);
    EXPECT_NE(messages[0].text.find("1e999 is out of range"), std::string::npos);
    ASSERT_EQ(dict->fields.size(), 2u);
    ASSERT_EQ(dict->fields[0].missing.size(), 1u);
    EXPECT_EQ(dict->fields[0].missing[0].number, 7.0);
    EXPECT_EQ(dict->fields[1].title, "kept");
}

TEST(MalformedDictionary, ValuesThatWouldCorruptTheDataAreRefusedOneByOne) {
    struct Case {
        char const* name;
        char const* json;
        char const* message;  // a part of the one message
    } const cases[] = {
        {"empty range", R"([{}])", "a missing range needs \"low\", \"high\" or both"},
        {"text end", R"([{"low": "q"}])", "must be numbers"},
        {"reversed", R"([{"low": 5, "high": 1}])", "low above high"},
        {"two ranges", R"([{"low": 1, "high": 2}, {"low": 3, "high": 4}])", "only one missing range"},
        {"null", R"([null])", "null is neither a number nor a text"},
    };
    for (auto const& c : cases) {
        std::vector<hd::Diagnostic> messages;
        auto dict = hd::readDictionaryText(
            std::string(R"({"fields": [{"name": "x", "type": "number", "missingValues": )") + c.json + "}]}",
            "d.json", messages);
        ASSERT_TRUE(dict.has_value()) << c.name;
        ASSERT_EQ(messages.size(), 1u) << c.name << "\n" << joined(messages);
        EXPECT_NE(messages[0].text.find(c.message), std::string::npos) << messages[0].toString();
        EXPECT_GT(messages[0].column, 0) << c.name;
        auto const& field = dict->fields.at(0);
        // Never every value missing: a range is taken only when it is whole.
        if (std::string(c.name) == "two ranges") {
            EXPECT_TRUE(field.hasMissingRange);
            EXPECT_EQ(field.missingLow, 1.0);
            EXPECT_EQ(field.missingHigh, 2.0);
        } else {
            EXPECT_FALSE(field.hasMissingRange) << c.name;
        }
    }

    // A wrong currency or set entry is named where it stands; the fields stay.
    std::vector<hd::Diagnostic> messages;
    auto dict = hd::readDictionaryText(
        R"({"fields": [{"name": "s", "title": "kept"}],
  "currencies": [1, {"prefix": "$"}, {"suffix": 5}, {}, {}, {}, {}],
  "mrsets": [{"name": 5, "type": "category", "variables": ["a", "b"]}]})",
        "d.json", messages);
    ASSERT_TRUE(dict.has_value());
    EXPECT_EQ(dict->fields.at(0).title, "kept");
    ASSERT_EQ(dict->currencies.size(), 5u);
    EXPECT_EQ(dict->currencies[1].first, "$");
    std::string const all = joined(messages);
    EXPECT_NE(all.find("d.json:2:18: error: a currency must be"), std::string::npos) << all;
    EXPECT_NE(all.find("\"suffix\" must be a text"), std::string::npos) << all;
    EXPECT_NE(all.find("at most five currencies"), std::string::npos) << all;
    EXPECT_NE(all.find("\"name\" must be a text"), std::string::npos) << all;
}

TEST(MalformedDictionary, DeepNestingIsCutAndTheValueReportedForWhatItIs) {
    std::string const deep = std::string(100000, '[') + std::string(100000, ']');
    std::vector<hd::Diagnostic> messages;
    auto dict = hd::readDictionaryText(
        R"({"zz": )" + deep + R"(, "fields": [{"name": "x", "title": )" + deep + R"(}], "weight": )" + deep + "}",
        "d.json", messages);
    ASSERT_TRUE(dict.has_value());
    std::string const all = joined(messages);
    EXPECT_NE(all.find("d.json:1:263: error: lists and objects are nested more than 256 deep"),
              std::string::npos)
        << all.substr(0, 2000);
    EXPECT_NE(all.find("field \"x\": the title must be a text"), std::string::npos);
    EXPECT_NE(all.find("\"weight\" must name a variable"), std::string::npos);
    // A message quotes a long value only in part.
    for (auto const& m : messages) EXPECT_LT(m.text.size(), 400u) << m.text.substr(0, 400);
}

TEST(MalformedDictionary, WrongNamesMeasuresFormatsAndMembers) {
    TempFolder folder;
    std::string const csv = folder.write("d.csv", "id,name,score\n1,a,x\n2,b,3\n");
    folder.write("d.csv.json", R"({
  "fields": [
    {"name": "id", "measure": "contin"},
    {"name": "name", "type": "string", "printFormat": {"type": "dollar", "width": 8}},
    {"name": "score", "type": "number"},
    {"name": "ghost", "type": "number"}
  ],
  "weight": "name",
  "split": {"variables": ["nosuch"]},
  "mrsets": [{"name": "$s", "type": "category", "variables": ["id", "gone"]},
             {"name": "$t", "type": "tricky", "variables": ["id"]}]
})");
    auto result = hd::loadDataset(csv);
    ASSERT_TRUE(result.ok());  // the job still runs with what could be read
    std::string const all = joined(result.messages);
    auto expectLine = [&](std::string const& fragment, int line) {
        for (auto const& m : result.messages) {
            if (m.text.find(fragment) != std::string::npos) {
                EXPECT_EQ(m.line, line) << fragment;
                return;
            }
        }
        ADD_FAILURE() << "no message with \"" << fragment << "\" in\n" << all;
    };
    expectLine("unknown measure \"contin\"", 3);
    expectLine("print format DOLLAR does not fit a string", 4);
    expectLine("\"x\" is not a number", 2);
    expectLine("\"ghost\" names a column", 6);
    expectLine("weight variable \"name\" is a string", 8);
    expectLine("split variable \"nosuch\" does not exist", 9);
    expectLine("member \"gone\" does not exist", 10);
    expectLine("unknown type \"tricky\"", 11);
    EXPECT_EQ(result.dataset->weight, -1);
    ASSERT_EQ(result.dataset->sets.size(), 1u);
    EXPECT_EQ(result.dataset->sets[0].GetVariableNames(VariableSet::CHANGECASE_NONE).size(), 1u);
    // The bad score is missing; the good one is kept.
    EXPECT_EQ(result.dataset->columns[2][1], 3.0);
}

// Two fields for one column, and a number among a text variable's categories: both are said,
// with the place of the field, and the first field's description stands.
TEST(MalformedDictionary, SameColumnTwiceAndNumberCategoryOnText) {
    TempFolder folder;
    std::string const csv = folder.write("d.csv", "x,s\n1,a\n2,1\n");
    folder.write("d.csv.json", R"({"fields": [
  {"name": "X", "title": "upper"},
  {"name": "x", "title": "lower"},
  {"name": "s", "type": "string", "categories": [{"value": 1, "label": "one"}]}
]})");
    auto result = hd::loadDataset(csv);
    ASSERT_TRUE(result.ok());
    std::string const all = joined(result.messages);
    ASSERT_EQ(result.messages.size(), 2u) << all;
    EXPECT_EQ(result.messages[0].line, 3);
    EXPECT_EQ(result.messages[0].level, hd::Diagnostic::Warning);
    EXPECT_NE(result.messages[0].text.find("\"x\" describes a column already described by field "
                                           "\"X\""),
              std::string::npos)
        << all;
    EXPECT_EQ(result.messages[1].level, hd::Diagnostic::Warning);
    EXPECT_EQ(result.messages[1].line, 4);
    EXPECT_NE(result.messages[1].text.find("the category value 1 is a number"),
              std::string::npos);
    EXPECT_EQ(all.find("does not have"), std::string::npos) << all;
    EXPECT_EQ(result.dataset->variables[0]->hostData().label, "upper");
}

TEST(MalformedDictionary, DictionaryNamingItsCsvAndHeaderRenames) {
    TempFolder folder;
    folder.write("data.csv", "Start date,2x,,Start date\n1,2,3,4\n");
    auto result =
        hd::loadDataset(folder.write("dict.json", R"({"path": "data.csv", "fields": []})"));
    ASSERT_TRUE(result.ok()) << joined(result.messages);
    std::vector<std::string> names;
    for (auto const& v : result.dataset->variables) names.push_back(v->GetName());
    EXPECT_EQ(names, (std::vector<std::string>{"Start_date", "V2x", "V3", "Start_date_2"}));
    EXPECT_EQ(result.messages.size(), 4u);

    auto noPath = hd::loadDataset(folder.write("nopath.json", R"({"fields": []})"));
    EXPECT_FALSE(noPath.ok());
    EXPECT_NE(joined(noPath.messages).find("no \"path\""), std::string::npos);
}

TEST(CsvNumbers, ParsedExactlyOnEveryPath) {
    // Plain decimals take the one-pass reader; long, exponent and signed forms take fast_float;
    // blanks around a number take the slow path. Each must equal strtod's correctly rounded value.
    char const* texts[] = {"0.1",
                           "-0.3",
                           "123456.789012345",
                           "9007199254740993",
                           "1e-7",
                           "2.5E+10",
                           "+4.25",
                           " 17 ",
                           "0.000000000000000000001",
                           "-0"};
    std::string csv = "v\n";
    for (char const* t : texts) csv += std::string(t) + "\n";
    std::vector<hd::Diagnostic> messages;
    auto table = read(csv, messages);
    EXPECT_TRUE(messages.empty()) << joined(messages);
    ASSERT_TRUE(table.columns[0].numeric);
    ASSERT_EQ(table.columns[0].numbers.size(), std::size(texts));
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(table.columns[0].numbers[i], std::strtod(texts[i], nullptr)) << texts[i];
    }
    EXPECT_EQ(table.columns[0].maxDecimals, 21);
}

TEST(MalformedCsv, ArbitraryBytesNeverCrashOrHang) {
    // Mutations of a small valid file, with the bytes that matter most to the readers.
    std::string const seed = "a,b,c\n1,\"x,\"\"y\",2.5\r\n3,,\"multi\nline\"\n";
    std::string const json =
        R"({"fields":[{"name":"a","type":"string","width":2,"categories":[{"value":"1","label":"x"}],
"missingValues":[{"low":1}]}],"mrsets":[{"name":"$m","type":"dichotomy","variables":["a"],"countedValue":1}]})";
    char const alphabet[] = {',', '"', '\n', '\r', '\0', '\xC3', '\xFF', '1',
                             '.', '-', 'e',  '{',  '}',  '[',    ':'};
    std::uint32_t state = 12345;
    auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    };
    for (int round = 0; round < 400; ++round) {
        std::string csv = seed;
        std::string dict = json;
        for (int k = 0; k < 1 + round % 5; ++k) {
            csv[next() % csv.size()] = alphabet[next() % sizeof alphabet];
            dict[next() % dict.size()] = alphabet[next() % sizeof alphabet];
        }
        csv.resize(next() % (csv.size() + 1));
        std::vector<hd::Diagnostic> messages;
        auto table = hd::readCsvText(csv, "f.csv", hd::CsvOptions{}, messages);
        for (auto const& column : table.columns) {
            std::size_t const stored =
                column.numeric
                    ? column.numbers.size()
                    : column.cells.size() / static_cast<std::size_t>(column.cellsPerValue);
            EXPECT_EQ(stored, static_cast<std::size_t>(table.rows)) << csv;
        }
        (void)hd::readDictionaryText(dict, "f.json", messages);
    }
}
