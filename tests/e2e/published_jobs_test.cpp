// Whole jobs written as published jobs write them: what their authors meant is drawn, and what
// was read leniently is said with its place.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include "platform/entries.h"
#include "support/staff_jobs.h"

namespace {

using PublishedJobs = test::StaffJobs;

constexpr char kBarGpl[] =
    "BEGIN GPL\n"
    "  SOURCE: s=userSource(id(\"g\"))\n"
    "  DATA: dept=col(source(s), name(\"dept\"), unit.category())\n"
    "  DATA: m=col(source(s), name(\"M\"))\n"
    "  ELEMENT: interval(position(dept*m))\n"
    "END GPL.\n";

}  // namespace

TEST_F(PublishedJobs, ConfidenceLevelWithATrailingPeriod) {
    run(std::string("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=dept MEANCI(salary, 95.)"
                    "[name=\"M\" LOW=\"L\" HIGH=\"H\"] /GRAPHSPEC SOURCE=INLINE.\n") +
        kBarGpl);
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    EXPECT_TRUE(messages.empty()) << allMessages();
    EXPECT_EQ(charts[0]["data"]["g"]["rows"].size(), 3u);
    EXPECT_EQ(marks(charts[0], "bar"), 3u);
}

TEST_F(PublishedJobs, AValuesListEndingTheSubcommandLeavesTheFilterOut) {
    run(std::string("GGRAPH /GRAPHSPEC SOURCE=INLINE /GRAPHDATASET NAME=\"g\" VARIABLES=dept "
                    "MEAN(salary)[name=\"M\"] DATAFILTER=dept(VALUES=.\n") +
        kBarGpl);
    EXPECT_TRUE(said("Incomplete subCmd GRAPHDATASET.")) << allMessages();
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    EXPECT_EQ(charts[0]["data"]["g"]["rows"].size(), 3u);  // every department
    EXPECT_EQ(marks(charts[0], "bar"), 3u);
}

TEST_F(PublishedJobs, GplLeniencesDrawTheChartAndSayWhere) {
    run("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=dept sex COUNT()[name=\"COUNT\"]\n"
        "  /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\n"
        "  SOURCE: s=userSource(id(\"g\"))\n"
        "  DATA: Departmentofthe\n"
        "     company=col(source(s), name(\"dept\"), unit.category())\n"
        "  ELEMENT: interval.stack(position(Departmentofthe\n"
        "     company*COUNT)), color.interior(sex))\n"
        "END GPL.\n");
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    EXPECT_TRUE(said("line 3, column 6: the name 'Departmentofthe' goes on")) << allMessages();
    EXPECT_TRUE(said("line 5, column 20: surplus ')'")) << allMessages();
    EXPECT_TRUE(said("line 5, column 38: variable 'sex' is used but never declared"))
        << allMessages();
    EXPECT_TRUE(said("variable 'COUNT' is used but never declared")) << allMessages();
    // Two sexes stacked in three departments.
    EXPECT_EQ(charts[0]["data"]["g"]["rows"].size(), 6u);
    EXPECT_EQ(marks(charts[0], "bar"), 6u);
}

TEST(Entries, AreFoundByTheirPlainNames) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "ggraph_"), reinterpret_cast<void*>(&ggraph_));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "begingpl_"), reinterpret_cast<void*>(&begingpl_));
}
