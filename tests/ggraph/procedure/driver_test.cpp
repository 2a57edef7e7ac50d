// The GGRAPH procedure driver: its phases, its title, its failure paths and BEGIN GPL alone.
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/host_procedure.h"
#include "support/employees.h"
#include "support/job_harness.h"

using host::output::Item;
using host::output::ItemKind;

namespace {

constexpr char kGoodJob[] =
    "GGRAPH /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";

Item const* onlyProcedure(test::JobRun const& run) {
    Item const* found = nullptr;
    for (auto const* item : run.flat()) {
        if (item->kind != ItemKind::Procedure) continue;
        EXPECT_EQ(found, nullptr) << "more than one procedure";
        found = item;
    }
    return found;
}

}  // namespace

TEST(Driver, TitleFollowsTheContextAndDebugLinesFrameTheRun) {
    auto plain = test::runJob(kGoodJob);
    ASSERT_NE(onlyProcedure(*plain), nullptr);
    EXPECT_EQ(onlyProcedure(*plain)->text, "GGraph");
    EXPECT_EQ(plain->texts(ItemKind::Trace),
              (std::vector<std::string>{"Starting GGraph Procedure", "Ending GGraph Procedure"}));

    for (char const* code : {"DM", "dm", "Dm"}) {
        host::runner::JobOptions options;
        options.context = code;
        auto rfm = test::runJob(kGoodJob, options);
        EXPECT_EQ(onlyProcedure(*rfm)->text, "RFM Analysis") << code;
    }
    host::runner::JobOptions other;
    other.context = "XD";
    EXPECT_EQ(onlyProcedure(*test::runJob(kGoodJob, other))->text, "GGraph");
}

TEST(Driver, ParseFailureEndsTheCommandQuietlyAndTheJobGoesOn) {
    auto run = test::runJob(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE /STYLE X=1.\n"
        "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n" +
        std::string(kGoodJob));
    // The first command fails; its block is skipped with a note, not refused as a stray block;
    // the second command runs.
    // (The second one's GPL names undeclared variables, an error of its own chart.)
    ASSERT_EQ(run->messages(3).size(), 2u);
    EXPECT_EQ(run->messages(3)[0], "SubCmd GGraph. Unknown token STYLE.");
    EXPECT_EQ(run->messages(3)[1].rfind("The chart was not made: GPL error", 0), 0u);
    ASSERT_EQ(run->messages(1).size(), 1u);
    EXPECT_NE(run->messages(1)[0].find("belongs to the GGRAPH command"), std::string::npos);
    EXPECT_EQ(run->texts(ItemKind::Trace).size(), 4u);
}

TEST(Driver, DescriptionTableFollowsTheGraphsInTheRfmFlavour) {
    auto run = test::runJob(
        "GGRAPH /DESCRIPTION TEXT=HEATMAP /GRAPHSPEC SOURCE=INLINE /DESCRIPTION TEXT=HISTOGRAM.\n"
        "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n",
        test::rfm());
    Item const* procedure = onlyProcedure(*run);
    ASSERT_NE(procedure, nullptr);
    ASSERT_GE(procedure->children.size(), 2u);
    Item const& table = procedure->children[procedure->children.size() - 2];
    ASSERT_EQ(table.kind, ItemKind::Table);
    EXPECT_EQ(table.table.title, "Description: RFM Histograms");
    EXPECT_EQ(table.table.subtype, "DescriptionRFMHistograms");
    EXPECT_TRUE(table.table.titleHidden);
    EXPECT_EQ(table.table.minDataColumnWidth, 450);
    ASSERT_EQ(table.table.cells.size(), 1u);
    EXPECT_NE(table.table.cells[0].back().find("histograms"), std::string::npos);
    EXPECT_EQ(procedure->children.back().text, "Ending GGraph Procedure");

    // Without a DESCRIPTION behind the last GRAPHSPEC no table is made.
    auto none = test::runJob(
        "GGRAPH /DESCRIPTION TEXT=HEATMAP /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n",
        test::rfm());
    for (auto const* item : none->flat()) EXPECT_NE(item->kind, ItemKind::Table);
}

namespace {

// Throws once, from inside the command, at the first message of the given level.
class ThrowingSink : public host::output::MessageSink {
public:
    explicit ThrowingSink(bool goToCaller) : goToCaller_(goToCaller) {}
    void onMessage(Item const& message) override {
        if (thrown_ || message.level < 2) return;
        thrown_ = true;
        if (goToCaller_) throw KwelGoToCaller("test");
        throw std::runtime_error("test");
    }

private:
    bool goToCaller_;
    bool thrown_ = false;
};

constexpr char kWarningJob[] =
    "GGRAPH /FRAME /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n"
    "FREQUENCIES x.\n";

}  // namespace

TEST(Driver, AnyOtherExceptionIsAnUnexpectedErrorAndTheRunEndsNormally) {
    test::JobRun run;
    ThrowingSink sink(false);
    run.document.addSink(&sink);
    host::runner::runJobText(kWarningJob, run.document, {});
    ASSERT_FALSE(run.messages(3).empty());
    EXPECT_EQ(run.messages(3).front(), "Unexpected Error.");
    EXPECT_EQ(run.texts(ItemKind::Trace).back(), "Ending GGraph Procedure");
    // The job went on with the next command.
    EXPECT_EQ(run.messages(2).back(), "The FREQUENCIES command is not supported here; it is skipped.");
}

TEST(Driver, HostUnwindingPassesThroughTheDriver) {
    test::JobRun run;
    ThrowingSink sink(true);
    run.document.addSink(&sink);
    host::runner::runJobText(kWarningJob, run.document, {});
    // No "Unexpected Error.", no closing debug line, and the runner stopped the job.
    EXPECT_EQ(run.texts(ItemKind::Trace), (std::vector<std::string>{"Starting GGraph Procedure"}));
    ASSERT_EQ(run.messages(3).size(), 1u);
    EXPECT_EQ(run.messages(3)[0], "The job stopped at line 1 after an error.");
    for (auto const& text : run.messages(2)) EXPECT_EQ(text.find("FREQUENCIES"), std::string::npos);
}

TEST(Driver, StrayBlockIsSwallowedWholeAndReportedAsHostError99) {
    auto run = test::runJob("BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n" +
                            std::string(kGoodJob));
    ASSERT_EQ(run->messages(3).size(), 2u);  // and the second command's GPL error
    EXPECT_NE(run->messages(3)[0].find("BEGIN GPL must follow a GGRAPH command"), std::string::npos);
    // The GGRAPH command behind the block still ran.
    EXPECT_EQ(run->texts(ItemKind::Trace).size(), 2u);
}

namespace {

class DriverWithData : public test::EmployeesTest {};

constexpr char kChart[] =
    "BEGIN GPL\nSOURCE: s=userSource(id(\"a\"))\n"
    "DATA: jobcat=col(source(s), name(\"jobcat\"), unit.category())\n"
    "DATA: n=col(source(s), name(\"COUNT\"))\nELEMENT: interval(position(jobcat*n))\nEND GPL.\n";

std::vector<std::string> kinds(test::JobRun const& run, ItemKind kind) { return run.texts(kind); }

}  // namespace

TEST_F(DriverWithData, NoValidCasesEndsTheRunEarly) {
    // Every case is filtered out: the run ends after the data phase, without the description
    // table and without its last debug line.
    auto none = test::runJob(
        "GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() "
        "DATAFILTER=jobcat(VALUES=9 UNLABELED=EXCLUDE) /GRAPHSPEC SOURCE=INLINE /DESCRIPTION TEXT=SCATTER.\n" +
            std::string(kChart),
        test::rfm());
    EXPECT_EQ(none->messages(2).back(), "There are no valid cases...");
    EXPECT_EQ(kinds(*none, ItemKind::Trace), (std::vector<std::string>{"Starting GGraph Procedure"}));
    for (auto const* item : none->flat()) {
        EXPECT_NE(item->kind, ItemKind::Table);
        EXPECT_NE(item->kind, ItemKind::Chart);
    }

    // One data set with data is enough: the chart is drawn from it, once per region, since the
    // employees are split by region.
    auto one = test::runJob(
        "GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() "
        "/GRAPHDATASET NAME=\"b\" VARIABLES=jobcat COUNT() DATAFILTER=jobcat(VALUES=9 UNLABELED=EXCLUDE) "
        "/GRAPHSPEC SOURCE=INLINE.\n" +
        std::string(kChart));
    for (auto const& text : one->messages(2)) EXPECT_NE(text, "There are no valid cases...");
    std::size_t charts = 0;
    for (auto const* item : one->flat()) charts += item->kind == ItemKind::Chart;
    EXPECT_EQ(charts, 2u);

    // Without any GRAPHDATASET there is no data phase at all, and a chart that needs a data set
    // says which one it misses.
    auto without = test::runJob("GGRAPH /GRAPHSPEC SOURCE=INLINE.\n" + std::string(kChart));
    for (auto const& text : without->messages(2)) EXPECT_NE(text, "There are no valid cases...");
    EXPECT_EQ(without->messages(3), (std::vector<std::string>{
                                        "A graph specification refers to graph data set a, but graph "
                                        "data set a does not exist."}));
    EXPECT_EQ(kinds(*without, ItemKind::Trace).back(), "Ending GGraph Procedure");
}

TEST_F(DriverWithData, ACsvDataSetCountsAsHavingData) {
    auto run = test::runJob(
        "GGRAPH /GRAPHDATASET NAME=\"a\" CSVFILE=\"elsewhere.csv\" VARIABLES=whatever "
        "/GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: point(position(summary.count()))\nEND GPL.\n");
    for (auto const& text : run->messages(2)) EXPECT_NE(text, "There are no valid cases...");
    EXPECT_EQ(run->texts(ItemKind::Trace).back(), "Ending GGraph Procedure");
}
