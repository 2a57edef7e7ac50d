#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/chart/chart_cli.h"
#include "host/chart/chart_send.h"
#include "host/output/document.h"
#include "platform/chart.h"
#include "platform/entries.h"
#include "platform/var_data_processor.h"

namespace {

ChartString cs(std::string const& s) {
    ChartString c;
    c.assignUTF8(s);
    return c;
}

std::string const kBar = R"(SOURCE: s=userSource(id("graphdataset"))
DATA: jobcat=col(source(s), name("jobcat"), unit.category())
DATA: MEAN_salary=col(source(s), name("MEAN_salary"))
GUIDE: text.subtitle(label("By category"))
ELEMENT: interval(position(jobcat*MEAN_salary))
)";

}  // namespace

TEST(VarDataProcessor, RowsSourcesDeletionAndMerging) {
    VarDataProcessor vdp;
    vdp.AddDataSource("g", 100);
    VarDataProcessor::_varinfo info;
    vdp.AddVariable("g", "x", &info);
    vdp.AddVariable("g", "name", nullptr);
    vdp.SetVariableValue(&info, 0, 1.5);
    vdp.SetStringVariableValue("g", "name", 0, "Ann");
    vdp.SetVariableValue(&info, 1, 2.5);
    vdp.SetStringVariableValue("g", "name", 1, "Bob");
    // A refused case: its row is dropped and the next case takes its number.
    vdp.DeleteRow("g", 1);
    EXPECT_EQ(vdp.GetRowCount("g"), 1u);
    vdp.SetVariableValue(&info, 1, 9);
    EXPECT_EQ(vdp.GetRowCount("g"), 2u);
    int name = vdp.FindVariable("g", "name");
    EXPECT_EQ(vdp.GetCellKind("g", name, 1), VarDataProcessor::CellKind::Missing);
    EXPECT_EQ(vdp.GetText("g", name, 0), "Ann");
    EXPECT_EQ(vdp.GetNumber("g", info.variable, 1), 9);
    vdp.SetVariableValue("g", "x", 2, -std::numeric_limits<double>::max());
    EXPECT_EQ(vdp.GetCellKind("g", info.variable, 2), VarDataProcessor::CellKind::Missing);

    VarDataProcessor other;
    other.SetVariableValue("h", "y", 0, 7);
    other.SetVariableValue("g", "x", 0, 42);
    vdp.AddVDP(other);
    std::vector<std::string> names;
    EXPECT_EQ(vdp.GetSourceNames(names), 2);
    EXPECT_EQ(names, (std::vector<std::string>{"g", "h"}));
    EXPECT_EQ(vdp.GetRowCount("g"), 4u);  // appended after the three rows
    EXPECT_EQ(vdp.GetNumber("g", info.variable, 3), 42);
    // A record from another store writes nothing here.
    other.SetVariableValue(&info, 0, 1);
    EXPECT_EQ(other.GetRowCount("g"), 1u);
}

TEST(ChartDocument, ModelOperationsOfTheCommandLibrary) {
    XDocument doc(kBar, true, true);
    ASSERT_TRUE(doc.implementationExists()) << doc.errorText();
    XGraph* graph = doc.getGraph();
    EXPECT_EQ(graph->getUserSourceNames(), (std::vector<std::string>{"graphdataset"}));
    EXPECT_TRUE(graph->doesSourceExist(cs("graphdataset")));
    EXPECT_FALSE(graph->doesSourceExist(cs("other")));
    EXPECT_TRUE(graph->doesSubTitleExist());

    XVariable x = graph->getVariable(cs("MEAN_salary"), 0);
    EXPECT_FALSE(x.doesFormatExist());
    x.setLabel(cs("Mean Salary"));
    x.setShortLabel(cs("salary"));
    x.setCreator(XVariable::CREATOR_ORDINARY);
    x.setStatistic(XVariable::STAT_MEAN, 0, 0, 0, false);
    x.SetNumberFormat(2, true, cs("$").xc_str(), cs("").xc_str());
    EXPECT_TRUE(x.doesFormatExist());
    // The handle writes through: a second look-up sees the change.
    EXPECT_EQ(graph->getVariable(cs("MEAN_salary"), 0).getLabel().toUTF8(), "Mean Salary");
    EXPECT_THROW(graph->getVariable(cs("MEAN_salary"), 1), std::out_of_range);
    EXPECT_THROW(graph->getVariable(cs("nothing"), 0), std::out_of_range);

    XVariable c = graph->addCaseNumberVariable("graphdataset");
    EXPECT_EQ(c.getSource(), "s");
    XVariable w = graph->addWeightVariable("graphdataset");
    EXPECT_TRUE(w.isWeightVariable());
    XVariable d = graph->addDataVariable(cs("graphdataset"), true, cs("MEAN_salary"));
    EXPECT_TRUE(d.getCategorical());
    // Two chart variables over one column: the second is instance 1 and takes the format.
    EXPECT_NO_THROW(graph->getVariable(cs("MEAN_salary"), 1));
    graph->copyVariableFormats();
    EXPECT_TRUE(graph->getVariable(cs("MEAN_salary"), 1).doesFormatExist());
}

TEST(ChartDocument, BadGplMakesNoDocumentAndSaysWhy) {
    struct Case {
        char const* gpl;
        char const* says;
    };
    for (auto const& c : std::initializer_list<Case>{
             {"", "empty"},
             {"ELEMENT: interval(position(a*b)", "never declared"},
             {"SOURCE: s=userSource(id(\"g\"))\nDATA: a=col(source(t), name(\"a\"))",
              "source 't' does not exist"},
             {"SOURCE: s=userSource(id(\"g\"))\nFOO: x()", "unknown statement 'FOO'"},
             {"SOURCE: s=userSource(id(\"g\")\nDATA: a=col(source(s), name(\"a\"))))\n"
              "ELEMENT: point(position(a*a), , color(a))",
              "expected a function"},
         }) {
        XDocument doc(c.gpl, true, true);
        EXPECT_FALSE(doc.implementationExists()) << c.gpl;
        EXPECT_NE(doc.errorText().find(c.says), std::string::npos) << doc.errorText();
    }
    // Unknown and not-yet-drawn functions are warnings: the chart is still made.
    XDocument lenient(
        "SOURCE: s=userSource(id(\"g\"))\nDATA: a=col(source(s), name(\"a\"))\n"
        "ELEMENT: point(position(a*a), wobble(3))\n"
        "ELEMENT: line(position(density.kernel.parzen(a)))",
        true, true);
    EXPECT_TRUE(lenient.implementationExists());
    auto const& diags = lenient.model().program.diagnostics;
    ASSERT_EQ(diags.size(), 2u);
    EXPECT_EQ(diags[0].text, "unknown function 'wobble' ignored");
    EXPECT_EQ(diags[0].line, 3);
    EXPECT_EQ(diags[1].text, "function 'density.kernel.parzen' is not supported yet");
}

TEST(ChartDocument, ChartXmlCarriesTheModelAndRoundTrips) {
    XDocument doc(kBar, true, true);
    doc.SetDescription(cs("Mean salary").xc_str());
    doc.setEditable(XDocument::EDITABLE_NO);
    doc.AddColorSpec(XDocument::ColorSpec(1, 255, 136, 0));
    doc.SetInnerFrame(XDocument::TEMPL_PARAM_YES);
    std::string fit = "<addFitLine rsquared=\"true\" target=\"pair\" type=\"linear\"/>";
    doc.addInlineTemplate(&fit);
    std::string csv = "data & more.csv";
    doc.addCSVFile(&csv);
    XVariable x = doc.getGraph()->getVariable(cs("jobcat"), 0);
    x.setLabel(cs("Employment <Category> \"é\""));
    x.addRelabel(cs("1").xc_str(), cs("Clerical").xc_str());
    x.setStatistic(XVariable::STAT_PTILE, 0.25, 0, 0, false);

    std::string xml = doc.getChartXML();
    XDocument back(xml);
    ASSERT_TRUE(back.implementationExists()) << back.errorText();
    EXPECT_EQ(back.getChartXML(), xml);
    EXPECT_EQ(back.GetDescription().toUTF8(), "Mean salary");
    XVariable y = back.getGraph()->getVariable(cs("jobcat"), 0);
    EXPECT_EQ(y.getLabel().toUTF8(), "Employment <Category> \"é\"");
    EXPECT_EQ(y.getStatistic(), XVariable::STAT_PTILE);

    for (char const* bad : {"", "<chart>", "<other/>", "<chart version=\"1\"/>",
                            "<!DOCTYPE chart [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
                            "<chart><gpl>&x;</gpl></chart>"}) {
        XDocument none{std::string(bad)};
        EXPECT_FALSE(none.implementationExists()) << bad;
        EXPECT_FALSE(none.errorText().empty());
    }
    // The conversion of the chart builder and of `ggraph gpl2xml`.
    EXPECT_EQ(convertGPLToChartXML("ELEMENT: ("), "");
    EXPECT_EQ(host::chart::gplToXml("ELEMENT: (", "").exitCode, 1);
    std::string const convertedXml = convertGPLToChartXML(kBar);
    EXPECT_NE(convertedXml.find("description=\"ggraph\""), std::string::npos);
    auto converted = host::chart::gplToXml(kBar, convertedXml);
    EXPECT_EQ(converted.exitCode, 0);
    EXPECT_EQ(converted.output, convertedXml);
}

TEST(ChartDocument, SendPutsTheChartAndItsFilesIntoTheOutput) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / "ggraph-chart-send-test";
    fs::remove_all(dir);
    host::chart::OutputOptions options;
    options.folder = dir.string();
    options.pdf = true;
    options.pngScale = 1;
    host::chart::setOutputOptions(options);

    XDocument doc(kBar, true, true);
    doc.SetDescription(cs("Graph").xc_str());
    VarDataProcessor vdp;
    vdp.SetVariableValue("graphdataset", "jobcat", 0, 1);
    vdp.SetVariableValue("graphdataset", "MEAN_salary", 0, 27838.5);
    vdp.SetVariableValue("graphdataset", "jobcat", 1, 2);
    vdp.SetVariableValue("graphdataset", "MEAN_salary", 1, -std::numeric_limits<double>::max());
    doc.SetDataHandle(cs("graphdataset"), cs("*"));
    doc.SetChartData(&vdp);
    doc.getGraph()->SetSubTitle(cs("gender = f").xc_str());

    host::output::Document out;
    {
        host::output::ScopedDocument scope(out);
        doc.Send(true, false, false);
        doc.Send(true, true, false);
    }
    host::chart::setOutputOptions({});
    ASSERT_EQ(out.items().size(), 2u);
    auto const& item = out.items()[0];
    EXPECT_EQ(item.kind, host::output::ItemKind::Chart);
    auto const& j = *item.payload;
    EXPECT_EQ(j["description"], "Graph");
    EXPECT_EQ(j["subtitle"], "gender = f");
    EXPECT_EQ(j["send"], nlohmann::json({true, false, false}));
    EXPECT_EQ((*out.items()[1].payload)["send"][1], true);
    auto const& data = j["data"]["graphdataset"];
    EXPECT_EQ(data["columns"], nlohmann::json({"jobcat", "MEAN_salary"}));
    EXPECT_EQ(data["rows"][1], nlohmann::json({2, nullptr}));
    EXPECT_EQ(j["variables"][1]["name"], "MEAN_salary");
    EXPECT_EQ(j["variables"][1]["source"], "s");
    EXPECT_TRUE(j["editable"].get<bool>());
    EXPECT_NE(j["svg"].get<std::string>().find("<text"), std::string::npos);
    ASSERT_EQ(j["files"].size(), 4u);
    for (auto const& f : j["files"]) {
        EXPECT_TRUE(fs::exists(dir / f.get<std::string>())) << f;
        EXPECT_GT(fs::file_size(dir / f.get<std::string>()), 200u) << f;
    }
    EXPECT_NE((*out.items()[1].payload)["files"][0], j["files"][0]);
    fs::remove_all(dir);
}

TEST(ChartDocument, AChartOfVeryManyMarksReachesTheReportAsAPicture) {
    XDocument doc("SOURCE: s=userSource(id(\"g\"))\nDATA: x=col(source(s), name(\"x\"))\n"
                  "DATA: y=col(source(s), name(\"y\"))\nELEMENT: point(position(x*y))\n",
                  true, true);
    ASSERT_TRUE(doc.implementationExists());
    VarDataProcessor rows;
    rows.AddDataSource("g", 30000);
    rows.AddVariable("g", "x", nullptr);
    rows.AddVariable("g", "y", nullptr);
    for (unsigned i = 0; i < 25000; ++i) {
        rows.SetVariableValue("g", "x", i, i % 500);
        rows.SetVariableValue("g", "y", i, (i * 7) % 311);
    }
    doc.SetChartData(&rows);
    host::output::Document out;
    {
        host::output::ScopedDocument scope(out);
        host::chart::setOutputOptions({});  // no files: the report is all there is
        doc.Send(true, false, false);
    }
    ASSERT_EQ(out.items().size(), 1u);
    auto const& payload = *out.items()[0].payload;
    EXPECT_FALSE(payload.contains("svg"));
    ASSERT_TRUE(payload.contains("png"));
    std::string const png = payload["png"];
    EXPECT_EQ(png.rfind("data:image/png;base64,iVBORw0KGgo", 0), 0u);
    EXPECT_LT(png.size(), 2'000'000u);
}
