// Chart completion against a real dictionary and a real chart document.
#include <gtest/gtest.h>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/relabel_string.h"
#include "host/chart/chart_model.h"
#include "platform/chart.h"
#include "platform/messages.h"
#include "support/employees.h"
#include "support/parse_harness.h"

namespace {

using host::chart::ChartVariableRecord;

class CompleteChartTest : public test::EmployeesTest {
protected:
    // Parses the command and makes the document of its first graph specification's GPL.
    void make(std::string const& command, std::string const& gpl, std::string const& context = "") {
        run_ = test::parse(command + "\nBEGIN GPL\n" + gpl + "END GPL.\n", context);
        ASSERT_TRUE(run_->parsed) << run_->onlyMessage().text;
        ASSERT_TRUE(run_->validated);
        document_ = std::make_unique<XDocument>(run_->spec(0).GetGPLSpecification(), true, true);
        ASSERT_TRUE(document_->implementationExists()) << document_->errorText();
    }
    bool complete() {
        host::output::ScopedDocument scope(run_->document());
        return CompleteChart().Complete(document_.get(), run_->settings(), run_->spec(0), &dictionary_,
                                        relabel_);
    }
    ChartVariableRecord& variable(std::string const& name, unsigned instance = 0) {
        ChartVariableRecord* record = document_->model().findVariable(name, instance);
        EXPECT_NE(record, nullptr) << name;
        static ChartVariableRecord none;
        return record != nullptr ? *record : none;
    }
    std::string relabel(ChartVariableRecord const& v, std::string const& value) {
        std::string found;
        for (auto const& r : v.relabels) {
            if (r.value == value) found = r.label;  // a later relabel replaces an earlier one
        }
        return found;
    }

    std::unique_ptr<test::ParsedCommand> run_;
    std::unique_ptr<XDocument> document_;
    FacSTDictionary dictionary_{""};
    RelabelString relabel_;
};

constexpr char kBarGpl[] =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: jobcat=col(source(s), name(\"jobcat\"), unit.category())\n"
    "DATA: m=col(source(s), name(\"MEAN_salary\"))\n"
    "ELEMENT: interval(position(jobcat*m))\n";

}  // namespace

TEST_F(CompleteChartTest, VariablesAndStatisticsTakeTheirLabelsFormatsAndRelabels) {
    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat gender MEAN(salary) /GRAPHSPEC SOURCE=INLINE.",
         kBarGpl);
    ASSERT_EQ(run_->settings().GetAggregatedDataSets()[0]->GetStatistics()[0]->GetUnicodeGPLLabel().toUTF8(),
              "MEAN_salary");
    EXPECT_TRUE(complete());

    EXPECT_EQ(document_->GetDescription().toUTF8(), "Graph");
    ChartVariableRecord& jobcat = variable("jobcat");
    EXPECT_EQ(jobcat.label, "Employment category");
    EXPECT_EQ(jobcat.shortLabel, "jobcat");
    EXPECT_EQ(jobcat.creator, 0);
    EXPECT_EQ(relabel(jobcat, "1"), "Clerical");
    EXPECT_EQ(relabel(jobcat, "3"), "Manager");

    ChartVariableRecord& mean = variable("MEAN_salary");
    EXPECT_EQ(mean.label, "Mean Current salary");
    EXPECT_EQ(mean.statistic, XVariable::STAT_MEAN);
    EXPECT_TRUE(mean.format.set);
    EXPECT_EQ(mean.format.prefix, "$");

    // gender is in the data set but not in the GPL: the aggregated data set adds it, categorical,
    // with its string values relabelled without their padding.
    ChartVariableRecord& gender = variable("gender");
    EXPECT_FALSE(gender.declared);
    EXPECT_TRUE(gender.categorical);
    EXPECT_EQ(relabel(gender, "f"), "Female");
}

TEST_F(CompleteChartTest, DocumentSettingsAndTheOrderOfInlineTemplates) {
    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat MEAN(salary) "
         "/GRAPHSPEC SOURCE=INLINE LABEL=\"Pay\" EDITABLE=NO TEMPLATE=[\"a.sgt\" \"b.sgt\"] "
         "INLINETEMPLATE=\"<mine/>\" /FITLINE TOTAL=YES SUBGROUP=YES.",
         kBarGpl);
    EXPECT_TRUE(complete());
    auto const& model = document_->model();
    EXPECT_EQ(document_->GetDescription().toUTF8(), "Pay");
    EXPECT_FALSE(model.editable);
    EXPECT_EQ(model.templateFiles, (std::vector<std::string>{"a.sgt", "b.sgt"}));
    EXPECT_EQ(model.defaultTemplateOwner, "GGRAPH");
    ASSERT_EQ(model.inlineTemplates.size(), 3u);
    EXPECT_NE(model.inlineTemplates[0].find("target=\"pair\""), std::string::npos);
    EXPECT_NE(model.inlineTemplates[1].find("target=\"subgroup\""), std::string::npos);
    EXPECT_EQ(model.inlineTemplates[2], "<mine/>");
}

TEST_F(CompleteChartTest, WithoutDefaultTemplatesOnlySystemVariablesAreLabelled) {
    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat salary "
         "/GRAPHSPEC SOURCE=INLINE DEFAULTTEMPLATE=NO TEMPLATE=\"a.sgt\".",
         "SOURCE: s=userSource(id(\"g\"))\n"
         "DATA: jobcat=col(source(s), name(\"jobcat\"), unit.category())\n"
         "DATA: n=col(source(s), name(\"$CASENUM\"))\n"
         "ELEMENT: point(position(jobcat*n))\n");
    EXPECT_TRUE(complete());
    EXPECT_TRUE(document_->model().noDefaultTemplates);
    EXPECT_TRUE(document_->model().templateFiles.empty());
    EXPECT_EQ(variable("jobcat").label, "");
    EXPECT_TRUE(variable("jobcat").relabels.empty());
    EXPECT_EQ(variable("$CASENUM").label, "Case Number");
    EXPECT_EQ(variable("$CASENUM").creator, 1);
}

TEST_F(CompleteChartTest, StatisticMappingCarriesTheLimits) {
    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat PIN(salary 1 5) PTILE(salary 25) "
         "GPTILE(salary 75) CASEVALUE(salary) /GRAPHSPEC SOURCE=INLINE.",
         "SOURCE: s=userSource(id(\"g\"))\n"
         "DATA: jobcat=col(source(s), name(\"jobcat\"), unit.category())\n"
         "DATA: a=col(source(s), name(\"PIN_salary_1_5\"))\n"
         "DATA: b=col(source(s), name(\"PTILE_salary_25\"))\n"
         "DATA: c=col(source(s), name(\"GPTILE_salary_75\"))\n"
         "DATA: d=col(source(s), name(\"salary\"))\n"
         "ELEMENT: point(position(jobcat*a))\n");
    auto const& statistics = run_->settings().GetAggregatedDataSets()[0]->GetStatistics();
    ASSERT_EQ(statistics.size(), 4u);
    EXPECT_TRUE(complete());
    ChartVariableRecord& pin = variable(statistics[0]->GetUnicodeGPLLabel().toUTF8());
    EXPECT_EQ(pin.statistic, XVariable::STAT_PCT_IN);
    EXPECT_DOUBLE_EQ(pin.statB, 1.0);
    EXPECT_DOUBLE_EQ(pin.statC, 5.0);
    ChartVariableRecord& gptile = variable(statistics[2]->GetUnicodeGPLLabel().toUTF8());
    EXPECT_EQ(gptile.statistic, XVariable::STAT_GPTILE);
    EXPECT_DOUBLE_EQ(gptile.statA, 75.0);
    EXPECT_TRUE(gptile.statFlag);
}

TEST_F(CompleteChartTest, TransposedChartsAreLabelledByWhatTheirStatisticsShare) {
    constexpr char kGpl[] =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: idx=col(source(s), name(\"#INDEX\"), unit.category())\n"
        "DATA: sum=col(source(s), name(\"#SUMMARY\"))\n"
        "ELEMENT: interval(position(idx*sum))\n";
    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=MEAN(salary) MEAN(jobcat) TRANSFORM=VARSTOCASES "
         "/GRAPHSPEC SOURCE=INLINE.",
         kGpl);
    EXPECT_TRUE(complete());
    EXPECT_EQ(variable("#SUMMARY").label, "Mean");
    EXPECT_EQ(variable("#INDEX").label, "Variables");
    EXPECT_EQ(relabel(variable("#INDEX"), "0"), "Current salary");
    EXPECT_EQ(relabel(variable("#INDEX"), "1"), "Employment category");

    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=MEAN(salary) MEDIAN(salary) TRANSFORM=VARSTOCASES "
         "/GRAPHSPEC SOURCE=INLINE.",
         kGpl);
    EXPECT_TRUE(complete());
    EXPECT_EQ(variable("#SUMMARY").label, "Current salary");
    EXPECT_EQ(variable("#INDEX").label, "Statistics");
    EXPECT_EQ(relabel(variable("#INDEX"), "1"), "Median");

    make("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=MEAN(salary) MEDIAN(jobcat) TRANSFORM=VARSTOCASES "
         "/GRAPHSPEC SOURCE=INLINE.",
         kGpl);
    EXPECT_TRUE(complete());
    EXPECT_EQ(variable("#SUMMARY").label, "Value");
    EXPECT_EQ(relabel(variable("#INDEX"), "0"), "Mean Current salary");
}

TEST_F(CompleteChartTest, ADocumentThatDoesNotExistIsLeftAlone) {
    make("GGRAPH /GRAPHSPEC SOURCE=INLINE.", kBarGpl);
    XDocument broken("ELEMENT: interval(position(nowhere*nothing))\n", true, true);
    ASSERT_FALSE(broken.implementationExists());
    EXPECT_FALSE(CompleteChart().Complete(&broken, run_->settings(), run_->spec(0), &dictionary_, relabel_));
}
