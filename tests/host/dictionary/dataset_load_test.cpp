// Whole loads: a CSV with its dictionary, a CSV without one, and what the platform's dictionary
// classes answer about them.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "host/dictionary/describe.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "platform/data_source.h"

namespace hd = host::dictionary;

namespace {

std::string dataFile(char const* name) {
    return std::string(GGRAPH_SOURCE_DIR) + "/tests/data/dictionary/" + name;
}

std::string cellText(OBS const* cell, int width) {
    return std::string(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(width));
}

std::string allMessages(hd::LoadResult const& result) {
    std::string out;
    for (auto const& m : result.messages) out += m.toString() + "\n";
    return out;
}

class DictionaryLoad : public ::testing::Test {
protected:
    void SetUp() override { hd::resetDatasets(); }
    void TearDown() override { hd::resetDatasets(); }
};

}  // namespace

TEST_F(DictionaryLoad, CsvWithDictionaryAnswersThroughThePlatform) {
    auto result = hd::loadDataset(dataFile("employees.csv"));
    ASSERT_TRUE(result.ok()) << allMessages(result);
    EXPECT_TRUE(result.messages.empty()) << allMessages(result);
    hd::setActiveDataset(result.dataset);

    ProcedureDataSource source;
    EXPECT_FALSE(source.FatalError());
    EXPECT_EQ(source.ColumnCount(), 10);
    EXPECT_EQ(source.CaseCount(), 6);
    EXPECT_EQ(source.FindVarIndex("SALARY", 0), 3);
    EXPECT_LT(source.FindVarIndex("nosuch", 0), 0);
    EXPECT_EQ(source.GetVariable(10), nullptr);

    // Labels, levels and formats.
    KWEL_Variable* jobcat = source.GetVariable(source.FindVarIndex("jobcat", 0));
    EXPECT_STREQ(jobcat->GetLabel(), "Employment category");
    EXPECT_EQ(jobcat->GetMeasurementLevel(), MEASURE_ORDINAL);
    EXPECT_EQ(jobcat->GetType(), 0);
    KWEL_ValueLabelMap labels(jobcat->GetValueLabels());
    EXPECT_EQ(labels.Size(), 3);
    double const two = 2;
    EXPECT_STREQ(labels.GetLabel(two), "Custodial");
    EXPECT_STREQ(labels.GetLabel(std::string("3")), "Manager");
    EXPECT_EQ(labels.GetLabel(4.0), nullptr);
    OBS const one = 1;
    EXPECT_STREQ(labels.GetLabel(&one), "Clerical");
    labels.Reset();
    OBS const* cell = nullptr;
    char const* text = nullptr;
    std::string order;
    while (labels.GetNextPair(cell, text)) order += std::to_string(static_cast<int>(*cell)) + text;
    EXPECT_EQ(order, "1Clerical2Custodial3Manager");

    KWEL_Variable* salary = source.GetVariable(3);
    FormatType type;
    int width = 0;
    int decimals = 0;
    salary->GetFormatEx(type, width, decimals);
    EXPECT_EQ(type, FMT_DOLLAR);
    EXPECT_EQ(width, 8);
    EXPECT_EQ(salary->GetFormat(), KwelFormatPack(4, 8, 0));
    EXPECT_EQ(source.GetVariable(source.FindVarIndex("minority", 0))->GetLabel(),
              std::string("Minority classification"));
    EXPECT_EQ(source.GetVariable(source.FindVarIndex("region", 0))->GetLabel(), nullptr);

    // Missing values: a discrete value, a range and the system-missing value.
    OBS values[] = {99999, -5, -10, -1, -11, 0, KWEL_Globals::sysmis()};
    int expected[] = {1, 1, 1, 1, 0, 0, 1};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        EXPECT_EQ(salary->IsMissing(&values[i]), expected[i]) << values[i];
    }
    EXPECT_EQ(salary->IsMissing(nullptr), 0);

    // A string variable: its width, its labels by text and by cell, a blank user-missing value.
    KWEL_Variable* gender = source.GetVariable(1);
    EXPECT_EQ(gender->GetType(), 1);
    gender->GetFormatEx(type, width, decimals);
    EXPECT_EQ(type, FMT_A);
    EXPECT_EQ(width, 1);
    KWEL_ValueLabelMap genderLabels = gender->GetValueLabels();
    EXPECT_STREQ(genderLabels.GetLabel(std::string("f  ")), "Female");
    OBS blank;
    std::memset(&blank, ' ', sizeof blank);
    EXPECT_EQ(gender->IsMissing(&blank), 1);
    EXPECT_EQ(genderLabels.GetLabel(&blank), nullptr);

    // Weight, split and sets.
    EXPECT_EQ(source.GetWeightVarIndex(), source.FindVarIndex("minority", 0));
    ASSERT_EQ(source.SplitVariableCount(), 1);
    EXPECT_EQ(source.SplitVariableIndex(0), source.FindVarIndex("region", 0));
    EXPECT_EQ(source.SplitVariableIndex(1), -1);
    VariableSets sets(source, 1);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(sets[0].GetName(VariableSet::CHANGECASE_DISPLAY), "$owns");
    EXPECT_EQ(sets[0].GetName(VariableSet::CHANGECASE_UPPER), "$OWNS");
    EXPECT_EQ(sets[0].GetType(), 2);
    EXPECT_EQ(sets[0].GetValue(), "1");
    EXPECT_EQ(sets[0].GetLabel(), "Vehicles owned");
    EXPECT_EQ(sets[0].GetVariableNames(VariableSet::CHANGECASE_NONE),
              (std::vector<std::string>{"own_car", "own_bike"}));
    EXPECT_EQ(sets[1].GetType(), 1);
    EXPECT_TRUE(sets[1].GetLabel().empty());
}

TEST_F(DictionaryLoad, IteratorStepsThroughSplitGroupsWithGroupEnds) {
    auto result = hd::loadDataset(dataFile("employees.csv"));
    ASSERT_TRUE(result.ok());
    hd::setActiveDataset(result.dataset);
    ProcedureDataSource source;
    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    auto* proc = dynamic_cast<ProcDSIterator*>(it.get());
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(it->GetObsPointer(0), nullptr);  // before the first step

    int const region = source.FindVarIndex("region", 0);
    std::string trace;
    while (it->NextCase()) {
        if (proc->SplitGroupEnd()) {
            trace += "| ";
            continue;
        }
        trace += std::to_string(it->CaseNumber()) +
                 host::dictionary::trimRight(cellText(it->GetObsPointer(region), 8)) + " ";
    }
    // Groups in order of first appearance; cases keep their order within a group.
    EXPECT_EQ(trace, "1north 3north 6north | 2south 4south 5south | ");
    EXPECT_EQ(it->NextCase(), 0);
    EXPECT_EQ(it->GetObsPointer(0), nullptr);

    // Cells: numbers as doubles, a missing number as system-missing, strings blank-padded.
    std::unique_ptr<KWEL_InputCaseIterator> again(source.CreateInputCaseIterator(0));
    for (int i = 0; i < 4; ++i) ASSERT_EQ(again->NextCase(), 1);  // 1, 3, 6, group end
    EXPECT_TRUE(dynamic_cast<ProcDSIterator*>(again.get())->SplitGroupEnd());
    EXPECT_EQ(again->CaseNumber(), 6);  // a group end keeps the last case's cells
    ASSERT_EQ(again->NextCase(), 1);
    ASSERT_EQ(again->NextCase(), 1);
    EXPECT_EQ(again->CaseNumber(), 4);
    EXPECT_EQ(*again->GetObsPointer(source.FindVarIndex("own_car", 0)), KWEL_Globals::sysmis());
    EXPECT_EQ(*again->GetObsPointer(3), -1.0);
    EXPECT_EQ(cellText(again->GetObsPointer(1), 8), "m       ");
    EXPECT_EQ(again->GetObsPointer(99), nullptr);
}

TEST_F(DictionaryLoad, UnsplitAndEmptySources) {
    auto result = hd::loadDataset(dataFile("inferred.csv"));
    ASSERT_TRUE(result.ok()) << allMessages(result);
    KWEL_DataSource source(result.dataset);
    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    auto* proc = dynamic_cast<ProcDSIterator*>(it.get());
    int steps = 0;
    int ends = 0;
    while (it->NextCase()) {
        ++steps;
        ends += proc->SplitGroupEnd();
    }
    EXPECT_EQ(steps, 4);  // three cases and the end of the one group
    EXPECT_EQ(ends, 1);

    ProcedureDataSource nothing;  // no data was given: an empty active dataset
    EXPECT_EQ(nothing.ColumnCount(), 0);
    EXPECT_FALSE(nothing.FatalError());
    std::unique_ptr<KWEL_InputCaseIterator> none(nothing.CreateInputCaseIterator(0));
    EXPECT_EQ(none->NextCase(), 0);
}

TEST_F(DictionaryLoad, CsvWithoutDictionaryInfersTypes) {
    auto result = hd::loadDataset(dataFile("inferred.csv"));
    ASSERT_TRUE(result.ok()) << allMessages(result);
    KWEL_DataSource source(result.dataset);
    ASSERT_EQ(source.ColumnCount(), 5);
    auto const* name = source.GetVariable(0);
    EXPECT_EQ(name->GetType(), 11);  // Smith, "Jo"
    EXPECT_EQ(name->GetMeasurementLevel(), MEASURE_NOMINAL);
    EXPECT_EQ(name->GetLabel(), nullptr);
    FormatType type;
    int width = 0;
    int decimals = 0;
    source.GetVariable(2)->GetFormatEx(type, width, decimals);
    EXPECT_EQ(type, FMT_F);
    EXPECT_EQ(decimals, 2);  // the most decimals seen: 1.25
    EXPECT_EQ(source.GetVariable(2)->GetMeasurementLevel(), MEASURE_SCALE);
    // A column with text after numbers is a string, and keeps the numbers' own spelling.
    EXPECT_EQ(source.GetVariable(3)->GetType(), 2);
    // An empty column is numeric with nothing but system-missing values.
    EXPECT_EQ(source.GetVariable(4)->GetType(), 0);

    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    ASSERT_EQ(it->NextCase(), 1);
    ASSERT_EQ(it->NextCase(), 1);
    EXPECT_EQ(*it->GetObsPointer(1), KWEL_Globals::sysmis());  // Bob's empty score
    EXPECT_EQ(cellText(it->GetObsPointer(3), 2), "7 ");
    ASSERT_EQ(it->NextCase(), 1);
    EXPECT_EQ(cellText(it->GetObsPointer(0), 11), "Smith, \"Jo\"");
}

TEST_F(DictionaryLoad, ByteOrderMarkCrlfAndEmbeddedNewlines) {
    auto result = hd::loadDataset(dataFile("bom_crlf.csv"));
    ASSERT_TRUE(result.ok()) << allMessages(result);
    EXPECT_TRUE(result.messages.empty()) << allMessages(result);
    KWEL_DataSource source(result.dataset);
    EXPECT_EQ(source.FindVarIndex("a", 0), 0);  // the mark is not part of the first name
    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    ASSERT_EQ(it->NextCase(), 1);
    EXPECT_EQ(cellText(it->GetObsPointer(1), 18), "line one\r\nline two");
}

TEST_F(DictionaryLoad, DescribeGivesTheDocumentedJson) {
    auto result = hd::loadDataset(dataFile("employees.csv"));
    ASSERT_TRUE(result.ok());
    std::string const json = hd::describeJson(*result.dataset);
    EXPECT_NE(json.find("\"cases\": 6"), std::string::npos);
    EXPECT_NE(json.find("\"format\": \"DOLLAR8\""), std::string::npos);
    EXPECT_NE(json.find("\"weight\": \"minority\""), std::string::npos);
    EXPECT_NE(json.find("\"high\": -1.0"), std::string::npos);
    std::string const text = hd::describeText(*result.dataset);
    EXPECT_NE(text.find("99999, -10 THRU -1"), std::string::npos);
    EXPECT_NE(text.find("Split: region"), std::string::npos);
}
