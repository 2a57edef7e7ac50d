// The command line's datasets, print formats as text, and split groups over numbers and how
// many of them a command may draw.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/dictionary/dataset.h"
#include "host/dictionary/formats.h"
#include "host/dictionary/job_data.h"
#include "host/dictionary/registry.h"
#include "host/output/document.h"
#include "platform/data_source.h"

namespace hd = host::dictionary;

namespace {

std::string dataFile(char const* name) {
    return std::string(GGRAPH_SOURCE_DIR) + "/tests/data/dictionary/" + name;
}

}  // namespace

TEST(JobData, ActiveAndNamedDatasetsFromTheCommandLine) {
    auto result = hd::loadJobData(dataFile("employees.csv"),
                                  {"scores=" + dataFile("inferred.csv"), "gone=/nowhere.csv"});
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.cannotRun);  // a file that cannot be read stops the job
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].file, "/nowhere.csv");
    EXPECT_EQ(ProcedureDataSource().ColumnCount(), 10);

    UserCaseFileSpec spec;
    ASSERT_TRUE(spec.Init("Scores", false, false));
    EXPECT_EQ(UserInputCaseFile(spec, nullptr).DataSource()->ColumnCount(), 5);
    // A dataset that could not be read is there, and says so.
    ASSERT_TRUE(spec.Init("gone", false, false));
    EXPECT_TRUE(UserInputCaseFile(spec, nullptr).DataSource()->hostData()->fatal);

    result = hd::loadJobData("", {"broken", "later=" + dataFile("inferred.csv")});
    EXPECT_TRUE(result.cannotRun);
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_NE(result.messages[0].text.find("NAME=FILE, not \"broken\""), std::string::npos);

    // A failed --data leaves a fatal active dataset, which stops a procedure.
    result = hd::loadJobData("/nowhere.csv", {});
    EXPECT_TRUE(ProcedureDataSource().FatalError());
    EXPECT_FALSE(spec.Init("scores", false, false));  // the earlier job's datasets are gone
    result = hd::loadJobData("", {});
    EXPECT_TRUE(result.ok);
    EXPECT_FALSE(ProcedureDataSource().FatalError());
    hd::resetDatasets();
}

TEST(JobData, PrintFormatsAsText) {
    int type = 0;
    int width = 0;
    int decimals = 0;
    ASSERT_TRUE(hd::parseFormat("dollar10.2", type, width, decimals));
    EXPECT_EQ(type, FMT_DOLLAR);
    EXPECT_EQ(hd::formatToString(KwelFormatPack(type, width, decimals)), "DOLLAR10.2");
    ASSERT_TRUE(hd::parseFormat("A300", type, width, decimals));
    EXPECT_EQ(hd::formatToString(KwelFormatPack(FMT_A, 255, 0), 300), "A300");
    EXPECT_EQ(hd::formatToString(KwelFormatPack(FMT_DTIME, 12, 0)), "DTIME12");
    for (char const* bad : {"F", "F0", "F8.8", "Q8", "F8.", "F8.2x", "F41", "8.2"}) {
        EXPECT_FALSE(hd::parseFormat(bad, type, width, decimals)) << bad;
    }
    EXPECT_TRUE(hd::formatFitsVariable(FMT_PCT, true));
    EXPECT_FALSE(hd::formatFitsVariable(FMT_A, true));
}

TEST(JobData, NumericSplitGroupsMeetOnEqualValues) {
    auto data = std::make_shared<hd::Dataset>();
    data->cases = 5;
    int const g = hd::addVariable(*data, "g", 0);
    data->columns[static_cast<std::size_t>(g)] = {2.0, -0.0, 2.0, 0.0, KWEL_Globals::sysmis()};
    data->split = {g};
    KWEL_DataSource source(data);
    std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
    std::string trace;
    while (it->NextCase()) {
        trace += static_cast<ProcDSIterator*>(it.get())->SplitGroupEnd()
                     ? "|"
                     : std::to_string(it->CaseNumber());
    }
    EXPECT_EQ(trace, "13|24|5|");  // -0 and 0 are one group; system-missing is a group of its own
}

TEST(JobData, MoreSplitGroupsThanChartsCanBeReadSetTheSplitAsideWithAWarning) {
    host::output::Document document;
    host::output::ScopedDocument scope(document);
    auto splitBy = [](std::int64_t groups) {
        auto data = std::make_shared<hd::Dataset>();
        data->cases = 2 * groups;
        int const g = hd::addVariable(*data, "g", 0);
        for (std::int64_t i = 0; i < data->cases; ++i)
            data->columns[static_cast<std::size_t>(g)][static_cast<std::size_t>(i)] = static_cast<double>(i % groups);
        data->split = {g};
        return data;
    };
    auto count = [](KWEL_DataSource const& source, std::int64_t& cases) {
        std::unique_ptr<KWEL_InputCaseIterator> it(source.CreateInputCaseIterator(0));
        int groups = 0;
        cases = 0;
        while (it->NextCase()) {
            if (static_cast<ProcDSIterator*>(it.get())->SplitGroupEnd())
                ++groups;
            else
                ++cases;
        }
        return groups;
    };
    std::int64_t cases = 0;
    KWEL_DataSource fits(splitBy(1000));
    EXPECT_EQ(fits.SplitVariableCount(), 1);
    EXPECT_EQ(count(fits, cases), 1000);
    EXPECT_TRUE(document.items().empty());

    // One group more: every case is drawn, together, and the warning says why, once.
    KWEL_DataSource tooMany(splitBy(1001));
    EXPECT_EQ(tooMany.SplitVariableCount(), 0);
    EXPECT_EQ(count(tooMany, cases), 1);
    EXPECT_EQ(cases, 2002);
    (void)count(tooMany, cases);
    ASSERT_EQ(document.items().size(), 1u);
    EXPECT_EQ(document.items()[0].level, 2);
    EXPECT_NE(document.items()[0].text.find("SPLIT FILE makes 1001 groups"), std::string::npos);
}
