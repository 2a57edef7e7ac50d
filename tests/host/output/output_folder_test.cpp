// A run's output folder before the job: nothing of an earlier run passes for this run's output,
// and nothing that an earlier run did not write is touched.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/output/output_folder.h"

namespace fs = std::filesystem;

TEST(OutputFolder, EarlierOutputGoesAndTheUsersFilesStay) {
    fs::path const folder = fs::temp_directory_path() / "ggraph_output_folder_test";
    fs::remove_all(folder);
    fs::create_directories(folder / "charts");
    for (char const* name :
         {"output.json", "report.html", "output.json.tmp-123", "notes.txt", "charts/chart-001.svg",
          "charts/chart-002.png", "charts/chart-1000.pdf", "charts/chart-003.xml",
          "charts/chart-004-g.csv", "charts/chart-01.svg", "charts/mine.svg",
          "charts/chart-001.svg.bak", "charts/chart-005-a b.csv"})
        std::ofstream(folder / name) << "earlier";

    auto const result = host::output::prepareOutputFolder(folder, "job <1>.sps");
    ASSERT_TRUE(result.ok) << result.error;

    for (char const* gone :
         {"output.json", "output.json.tmp-123", "charts/chart-001.svg", "charts/chart-002.png",
          "charts/chart-1000.pdf", "charts/chart-003.xml", "charts/chart-004-g.csv"})
        EXPECT_FALSE(fs::exists(folder / gone)) << gone;
    for (char const* kept : {"notes.txt", "charts/chart-01.svg", "charts/mine.svg",
                             "charts/chart-001.svg.bak", "charts/chart-005-a b.csv"})
        EXPECT_TRUE(fs::exists(folder / kept)) << kept;

    std::ifstream in(folder / "report.html");
    std::stringstream report;
    report << in.rdbuf();
    EXPECT_NE(report.str().find("has not finished"), std::string::npos);
    EXPECT_NE(report.str().find("job &lt;1&gt;.sps"), std::string::npos);
    fs::remove_all(folder);
}
