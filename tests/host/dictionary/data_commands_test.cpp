// The data-state commands of a job, run on the active dataset.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "host/dictionary/data_commands.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "platform/data_source.h"

namespace hd = host::dictionary;

namespace {

class DataCommands : public ::testing::Test {
protected:
    void SetUp() override {
        hd::resetDatasets();
        auto result = hd::loadDataset(std::string(GGRAPH_SOURCE_DIR) +
                                      "/tests/data/dictionary/employees.csv");
        ASSERT_TRUE(result.ok());
        hd::setActiveDataset(result.dataset);
    }
    void TearDown() override { hd::resetDatasets(); }

    // Runs a command written as in a job; gives its messages joined.
    std::string run(std::vector<std::string> words, std::string const& body, int line = 7) {
        std::string out;
        for (auto const& m : hd::applyDataCommand(words, body, line)) {
            out += "L" + std::to_string(m.line) + " " + m.text + "\n";
        }
        return out;
    }
    KWEL_Variable* var(char const* name) {
        source_ = std::make_unique<ProcedureDataSource>();
        return source_->GetVariable(source_->FindVarIndex(name, 0));
    }
    std::unique_ptr<ProcedureDataSource> source_;
};

}  // namespace

TEST_F(DataCommands, SplitFileAndWeight) {
    EXPECT_EQ(run({"SPLIT", "FILE", "BY"}, "FILE SEPARATE BY gender."), "");
    ProcedureDataSource source;
    ASSERT_EQ(source.SplitVariableCount(), 1);
    EXPECT_EQ(source.SplitVariableIndex(0), 1);
    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    std::string trace;
    while (it->NextCase()) {
        trace += static_cast<ProcDSIterator*>(it.get())->SplitGroupEnd()
                     ? "|"
                     : std::to_string(it->CaseNumber());
    }
    EXPECT_EQ(trace, "14|235|6|");  // m, f, then the blank value, by first appearance

    EXPECT_EQ(run({"SPLIT", "FILE", "OFF"}, "FILE OFF"), "");
    EXPECT_EQ(ProcedureDataSource().SplitVariableCount(), 0);

    EXPECT_EQ(run({"WEIGHT", "BY", "SALARY"}, "BY salary"), "");
    EXPECT_EQ(ProcedureDataSource().GetWeightVarIndex(), 3);
    EXPECT_NE(run({"WEIGHT", "BY", "REGION"}, "BY region", 12)
                  .find("L12 WEIGHT: the weight variable must be numeric"),
              std::string::npos);
    EXPECT_EQ(ProcedureDataSource().GetWeightVarIndex(), 3);  // a failed command changes nothing
    EXPECT_EQ(run({"WEIGHT", "OFF"}, "OFF"), "");
    EXPECT_EQ(ProcedureDataSource().GetWeightVarIndex(), -1);
}

TEST_F(DataCommands, ValueLabelsReplaceAndAdd) {
    EXPECT_EQ(run({"VALUE", "LABELS", "JOBCAT"},
                  "LABELS jobcat minority 1 'One' 2 \"Two\" / gender 'f' 'Woman'."),
              "");
    KWEL_ValueLabelMap jobcat = var("jobcat")->GetValueLabels();
    EXPECT_EQ(jobcat.Size(), 2);  // VALUE LABELS replaces the dictionary's three
    EXPECT_STREQ(jobcat.GetLabel(2.0), "Two");
    EXPECT_STREQ(var("minority")->GetValueLabels().GetLabel(1.0), "One");
    EXPECT_STREQ(var("gender")->GetValueLabels().GetLabel(std::string("f")), "Woman");
    EXPECT_EQ(var("gender")->GetValueLabels().GetLabel(std::string("m")), nullptr);

    EXPECT_EQ(run({"ADD", "VALUE", "LABELS"},
                  "VALUE LABELS own_car TO own_bike 1 'Yes' 0 'No'/ jobcat 2 'Second' 3 'Third'"),
              "");
    jobcat = var("jobcat")->GetValueLabels();
    EXPECT_EQ(jobcat.Size(), 3);
    EXPECT_STREQ(jobcat.GetLabel(1.0), "One");
    EXPECT_STREQ(jobcat.GetLabel(2.0), "Second");
    EXPECT_STREQ(var("own_bike")->GetValueLabels().GetLabel(0.0), "No");

    std::string const wrong = run({"VALUE", "LABELS"}, "LABELS jobcat 'a' 'b'");
    EXPECT_NE(wrong.find("\"a\" is not a number"), std::string::npos) << wrong;
    EXPECT_NE(run({"VALUE", "LABELS"}, "LABELS jobcat gender 1 'x'").find("numeric and string"),
              std::string::npos);
    EXPECT_NE(run({"VALUE", "LABELS"}, "LABELS nosuch 1 'x'").find("\"nosuch\" does not exist"),
              std::string::npos);
    EXPECT_NE(run({"VALUE", "LABELS"}, "LABELS jobcat 1").find("expected a quoted label"),
              std::string::npos);
}

TEST_F(DataCommands, VariableLabelsLevelsAndFormats) {
    EXPECT_EQ(run({"VARIABLE", "LABELS"}, "LABELS region 'Sales region' / id \"Code\""), "");
    EXPECT_STREQ(var("region")->GetLabel(), "Sales region");
    EXPECT_STREQ(var("id")->GetLabel(), "Code");

    EXPECT_EQ(run({"VARIABLE", "LEVEL"}, "LEVEL salary id (ORDINAL) / region (SCALE)"), "");
    EXPECT_EQ(var("salary")->GetMeasurementLevel(), MEASURE_ORDINAL);
    EXPECT_EQ(var("region")->GetMeasurementLevel(), MEASURE_SCALE);
    EXPECT_NE(run({"VARIABLE", "LEVEL"}, "LEVEL salary (INTERVAL)")
                  .find("expected NOMINAL, ORDINAL or SCALE"),
              std::string::npos);

    EXPECT_EQ(run({"FORMATS"}, "salary (COMMA10.2) / id (F4)"), "");
    EXPECT_EQ(var("salary")->GetFormat(), KwelFormatPack(FMT_COMMA, 10, 2));
    EXPECT_EQ(var("id")->GetFormat(), KwelFormatPack(FMT_F, 4, 0));
    EXPECT_NE(run({"FORMATS"}, "region (F8.2)").find("does not fit the string variable"),
              std::string::npos);
    EXPECT_NE(run({"FORMATS"}, "salary (XYZ8)").find("not a valid print format"),
              std::string::npos);
    EXPECT_EQ(run({"FORMATS"}, "region (A8)"), "");
}

TEST_F(DataCommands, MissingValues) {
    EXPECT_EQ(run({"MISSING", "VALUES"}, "VALUES jobcat (LO THRU 1, 3) / gender ('m')"), "");
    KWEL_Variable* jobcat = var("jobcat");
    OBS values[] = {-50, 1, 2, 3, 0};
    int expected[] = {1, 1, 0, 1, 1};
    for (std::size_t i = 0; i < std::size(values); ++i)
        EXPECT_EQ(jobcat->IsMissing(&values[i]), expected[i]);
    OBS m;
    std::memcpy(&m, "m       ", 8);
    EXPECT_EQ(var("gender")->IsMissing(&m), 1);

    EXPECT_EQ(run({"MISSING", "VALUES"}, "VALUES salary (50000 THRU HI)"), "");
    OBS big = 60000;
    OBS userMissingBefore = 99999;
    OBS small = -5;
    EXPECT_EQ(var("salary")->IsMissing(&big), 1);
    EXPECT_EQ(var("salary")->IsMissing(&userMissingBefore), 1);  // now by the range
    EXPECT_EQ(var("salary")->IsMissing(&small), 0);              // the old range is gone

    EXPECT_EQ(run({"MISSING", "VALUES"}, "VALUES salary jobcat ()"), "");
    EXPECT_EQ(var("salary")->IsMissing(&big), 0);
    OBS sysmis = KWEL_Globals::sysmis();
    EXPECT_EQ(var("salary")->IsMissing(&sysmis), 1);  // system-missing always is

    EXPECT_NE(run({"MISSING", "VALUES"}, "VALUES salary (1 2 3 4)").find("at most three"),
              std::string::npos);
    EXPECT_NE(run({"MISSING", "VALUES"}, "VALUES salary (5 THRU 1)").find("higher to a lower"),
              std::string::npos);
    EXPECT_NE(run({"MISSING", "VALUES"}, "VALUES salary (1").find("right parenthesis"),
              std::string::npos);
}

TEST_F(DataCommands, MrsetsDefineReplaceAndDelete) {
    EXPECT_EQ(
        run({"MRSETS"},
            "/MCGROUP NAME=$jobs VARIABLES=jobcat minority LABEL='Jobs'"
            " /MDGROUP NAME=$owns VARIABLES=own_car own_bike VALUE=0 CATEGORYLABELS=COUNTEDVALUES"),
        "");
    ProcedureDataSource source;
    VariableSets sets(source, 1);
    ASSERT_EQ(sets.size(), 3u);  // $owns replaced in place, $bought kept, $jobs added
    EXPECT_EQ(sets[0].GetName(VariableSet::CHANGECASE_NONE), "$owns");
    EXPECT_EQ(sets[0].GetValue(), "0");
    EXPECT_TRUE(sets[0].qIsEnhancedDichotomy());
    EXPECT_EQ(sets[2].GetLabel(), "Jobs");
    EXPECT_EQ(sets[2].GetType(), 1);

    EXPECT_EQ(run({"MRSETS"}, "/DELETE NAME=[$owns $bought]"), "");
    EXPECT_EQ(VariableSets(ProcedureDataSource(), 1).size(), 1u);
    EXPECT_NE(run({"MRSETS"}, "/MDGROUP NAME=$x VARIABLES=own_car own_bike").find("needs VALUE="),
              std::string::npos);
    EXPECT_NE(
        run({"MRSETS"}, "/MCGROUP NAME=x VARIABLES=own_car own_bike").find("must start with $"),
        std::string::npos);
    EXPECT_NE(run({"MRSETS"}, "/MCGROUP NAME=$x VARIABLES=gender jobcat")
                  .find("mixes numeric and string"),
              std::string::npos);
}

TEST_F(DataCommands, DatasetHandles) {
    auto other =
        hd::loadDataset(std::string(GGRAPH_SOURCE_DIR) + "/tests/data/dictionary/inferred.csv");
    ASSERT_TRUE(other.ok());
    hd::addNamedDataset("scores", other.dataset);

    UserCaseFileSpec spec;
    EXPECT_TRUE(spec.Init("SCORES", false, false));
    EXPECT_FALSE(spec.IsWorkingFile());
    UserInputCaseFile file(spec, nullptr);
    EXPECT_EQ(file.DataSource()->ColumnCount(), 5);
    EXPECT_FALSE(spec.Init("nothing", false, false));
    EXPECT_TRUE(spec.Init("*", false, false));
    EXPECT_TRUE(spec.IsWorkingFile());

    EXPECT_EQ(run({"DATASET", "NAME"}, "NAME staff."), "");
    EXPECT_EQ(run({"DATASET", "ACTIVATE"}, "ACTIVATE scores WINDOW=FRONT."), "");
    EXPECT_EQ(ProcedureDataSource().ColumnCount(), 5);
    EXPECT_TRUE(spec.Init("staff", false, false));
    EXPECT_FALSE(spec.IsWorkingFile());
    EXPECT_NE(
        run({"DATASET", "ACTIVATE"}, "ACTIVATE nowhere").find("no dataset called \"nowhere\""),
        std::string::npos);
    EXPECT_EQ(run({"DATASET", "ACTIVATE"}, "ACTIVATE staff"), "");
    EXPECT_EQ(ProcedureDataSource().ColumnCount(), 10);
    EXPECT_FALSE(hd::isDataCommand({"FREQUENCIES"}));
    EXPECT_TRUE(hd::isDataCommand({"ADD", "VALUE", "LABELS"}));
}
