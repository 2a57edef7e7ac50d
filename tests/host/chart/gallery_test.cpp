#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "host/chart/chart_cli.h"
#include "platform/chart.h"
#include "platform/entries.h"

namespace fs = std::filesystem;

namespace {

std::string slurp(fs::path const& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace

// Every gallery chart goes from GPL through chart XML to SVG and PNG without a warning; the
// pictures land in the build folder for a person to look at. A chart's `.inline` file holds
// inline templates (one a line) that the document is given, as the command gives its fit lines.
TEST(ChartGallery, EveryFormRendersFromGplThroughXml) {
    fs::path gallery = fs::path(GGRAPH_SOURCE_DIR) / "examples" / "gallery";
    fs::path out = fs::path(GGRAPH_BINARY_DIR) / "gallery";
    int count = 0;
    for (auto const& entry : fs::directory_iterator(gallery)) {
        if (entry.path().extension() != ".gpl")
            continue;
        ++count;
        std::string const gpl = slurp(entry.path());
        auto xml = host::chart::gplToXml(gpl, convertGPLToChartXML(gpl));
        ASSERT_EQ(xml.exitCode, 0) << entry.path() << xml.error;
        fs::path inl = entry.path();
        inl.replace_extension(".inline");
        if (fs::exists(inl)) {
            XDocument doc(slurp(entry.path()), true, true);
            std::istringstream lines(slurp(inl));
            for (std::string t; std::getline(lines, t);)
                if (!t.empty())
                    doc.addInlineTemplate(&t);
            xml.output = doc.getChartXML();
        }
        fs::path rows = entry.path();
        rows.replace_extension(".json");
        fs::path dir = out / entry.path().stem();
        fs::remove_all(dir);
        auto r = host::chart::renderChart(xml.output, slurp(rows), dir.string(), "svg,png");
        EXPECT_EQ(r.exitCode, 0) << entry.path();
        EXPECT_EQ(r.error, "") << entry.path();
        fs::path png = dir / "charts" / "chart-001.png";
        ASSERT_TRUE(fs::exists(png)) << png;
        EXPECT_GT(fs::file_size(png), 5000u) << png;  // something was drawn
        EXPECT_NE(slurp(dir / "charts" / "chart-001.svg").find("<text"), std::string::npos);
    }
    EXPECT_GE(count, 14);
}
