// JSON a user wrote: nesting past the depth bound and numbers past a double are read around,
// with their places, instead of running out of stack or failing the whole text.
#include <gtest/gtest.h>

#include <string>

#include "host/files/json_text.h"

using host::files::readJsonText;

TEST(JsonText, NestingPastTheBoundIsCutWhereItStartsAndTheRestIsKept) {
    int const deep = 100000;
    std::string const text = "{\"a\": 1,\n \"deep\": " + std::string(deep, '[') + std::string(deep, ']') +
                             ", \"b\": [1, [2]]}";
    auto read = readJsonText(text, 8);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.value["a"], 1);
    EXPECT_EQ(read.value["b"].dump(), "[1,[2]]");
    // Eight levels in all, the object included; the value is cut, not dropped.
    int levels = 1;
    for (auto const* v = &read.value["deep"]; v->is_array() && !v->empty(); v = &(*v)[0]) ++levels;
    EXPECT_EQ(levels, 7);
    ASSERT_EQ(read.problems.size(), 1u);
    // The first bracket past the bound: the object and seven more.
    EXPECT_EQ(read.problems[0].offset, text.find('[') + 7);
    auto place = host::files::placeOf(text, read.problems[0].offset);
    EXPECT_EQ(place.line, 2);
    EXPECT_EQ(place.column, 17);

    // Brackets inside strings are text.
    auto quoted = readJsonText("{\"t\": \"" + std::string(50, '[') + "\"}", 8);
    ASSERT_TRUE(quoted.ok);
    EXPECT_TRUE(quoted.problems.empty());
}

TEST(JsonText, NumbersNoDoubleHoldsAreReadAsNullWhereTheyStand) {
    std::string const text = "[1e999, -2E+400, 5e-400, 1.5, \"1e999\"]";
    auto read = readJsonText(text);
    ASSERT_TRUE(read.ok);
    EXPECT_TRUE(read.value[0].is_null());
    EXPECT_TRUE(read.value[1].is_null());
    EXPECT_EQ(read.value[2], 0.0);  // too small is zero, as a double has it
    EXPECT_EQ(read.value[3], 1.5);
    EXPECT_EQ(read.value[4], "1e999");
    ASSERT_EQ(read.problems.size(), 2u);
    EXPECT_EQ(read.problems[0].offset, 1u);
    EXPECT_NE(read.problems[1].text.find("-2E+400 is out of range"), std::string::npos);
    EXPECT_EQ(read.nulledNumbers, (std::vector<std::size_t>{1, 8}));
}

TEST(JsonText, TextThatIsNoJsonSaysWhere) {
    for (std::string const bad : {"", "{\"a\": }", "{\"fields\":[],}", "[1, 2", "// c\n{}"}) {
        auto read = readJsonText(bad);
        EXPECT_FALSE(read.ok) << bad;
        ASSERT_FALSE(read.problems.empty()) << bad;
        EXPECT_EQ(read.problems[0].text.rfind("not valid JSON", 0), 0u) << read.problems[0].text;
        EXPECT_LE(read.problems[0].offset, bad.size());
    }
    EXPECT_EQ(readJsonText("{\"fields\":[],}").problems[0].offset, 13u);
}
