// Numbers read from a CSV are the correctly rounded values of their text, however short or long
// the field and whatever follows it; a field that is not a plain number is never read as the
// number it starts with.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/number_text.h"
#include "platform/dictionary.h"

namespace hd = host::dictionary;

namespace {

// '-', digits, at most one '.', digits: one to fifteen digits in all.
bool plainDecimal(std::string const& text) {
    std::size_t i = text.empty() || text[0] != '-' ? 0 : 1;
    int digits = 0;
    bool dot = false;
    for (; i < text.size(); ++i) {
        if (text[i] >= '0' && text[i] <= '9')
            ++digits;
        else if (text[i] == '.' && !dot)
            dot = true;
        else
            return false;
    }
    return digits >= 1 && digits <= 15;
}

int decimalsOf(std::string const& text) {
    auto const dot = text.find('.');
    return dot == std::string::npos ? 0 : static_cast<int>(text.size() - dot - 1);
}

}  // namespace

TEST(CsvNumbers, FieldsReadAsTheirWholeTextReadsWhateverFollowsThem) {
    // Mostly digits, dots and minus signs, so that most fields are numbers of every length up
    // to twelve characters; now and then a letter or a plus sign, which makes the field a text.
    std::mt19937 random(20261124);
    std::string const alphabet = "0123456789012345678901234567890123456789..--e+x ";
    auto field = [&] {
        std::string text;
        int const length = static_cast<int>(random() % 13);
        for (int i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
        return text;
    };
    for (std::string const lineEnd : {"\n", "\r\n"}) {
        std::vector<std::string> first, second;
        std::string text = "n,m" + lineEnd;
        for (int row = 0; row < 20000; ++row) {
            first.push_back(field());
            second.push_back(field());
            text += first.back() + "," + second.back() + lineEnd;
        }
        std::vector<hd::Diagnostic> messages;
        hd::CsvOptions options;
        options.declare = [](std::string const&) {
            hd::CsvColumnDeclaration d;
            d.declared = true;
            return d;
        };
        hd::CsvTable const table = hd::readCsvText(text, "n.csv", options, messages);
        ASSERT_EQ(table.rows, 20000);
        for (int c = 0; c < 2; ++c) {
            auto const& fields = c == 0 ? first : second;
            auto const& column = table.columns[static_cast<std::size_t>(c)];
            ASSERT_TRUE(column.numeric);
            int decimals = 0;
            for (std::size_t row = 0; row < fields.size(); ++row) {
                std::string const& f = fields[row];
                double const value = column.numbers[row];
                // Blanks around a number are no part of it.
                std::string const trimmed = f.substr(0, f.find_last_not_of(' ') + 1);
                char* stop = nullptr;
                double const whole = std::strtod(trimmed.c_str(), &stop);
                bool const readAll = trimmed.find_first_not_of(' ') != std::string::npos && *stop == '\0';
                if (plainDecimal(f)) {
                    EXPECT_EQ(std::signbit(value), std::signbit(whole)) << '"' << f << '"';
                    EXPECT_EQ(value, whole) << '"' << f << '"' << " row " << row << " column " << c;
                    decimals = std::max(decimals, decimalsOf(f));
                } else {
                    // Either not a number (system-missing, with a warning) or read in full.
                    EXPECT_TRUE(value == KWEL_Globals::sysmis() || (readAll && value == whole))
                        << '"' << f << '"' << " read as " << value;
                }
            }
            EXPECT_GE(column.maxDecimals, decimals) << "column " << c;
        }
    }
}

TEST(CsvNumbers, NumberTextIsOneFiniteNumberAndNothingElse) {
    // What a CSV cell, a dictionary's missing value or a value looked up by its text reads as.
    struct Case {
        char const* text;
        bool number;
        double value;
    } const cases[] = {{"4.25", true, 4.25},   {" +4.25\t", true, 4.25}, {"-0.5", true, -0.5},
                       {"1e3", true, 1000.0},  {"+-5", false, 0},        {"-+5", false, 0},
                       {"--5", false, 0},      {"+", false, 0},          {"", false, 0},
                       {"  ", false, 0},       {"inf", false, 0},        {"nan", false, 0},
                       {"1e999", false, 0},    {"5x", false, 0},         {"5 5", false, 0}};
    for (Case const& c : cases) {
        double value = -1.0;
        EXPECT_EQ(hd::numberFromText(c.text, value), c.number) << '"' << c.text << '"';
        if (c.number)
            EXPECT_EQ(value, c.value) << c.text;
        else
            EXPECT_EQ(value, -1.0) << c.text << ": left as it was";
    }
}
