#include "host/chart/chart_send.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <future>
#include <limits>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/chart/chart_data_output.h"
#include "host/chart/chart_render.h"
#include "host/chart/chart_xml.h"
#include "host/chart/render/renderers.h"
#include "host/files/base64.h"
#include "host/output/document.h"
#include "platform/var_data_processor.h"

namespace host::chart {

namespace {
// Marks above which the report shows a chart as a PNG picture rather than inline SVG.
constexpr std::size_t kInlineSvgLimit = 20000;
}  // namespace

namespace {

struct SendState {
    OutputOptions options;
    int fileCounter = 0;
};

SendState& state() {
    static SendState s;
    return s;
}

nlohmann::json variablesJson(ChartModel const& model) {
    nlohmann::json out = nlohmann::json::array();
    for (auto const& v : model.variables) {
        nlohmann::json relabels = nlohmann::json::array();
        for (auto const& r : v.relabels)
            relabels.push_back({{"value", r.value}, {"label", r.label}});
        nlohmann::json format = nullptr;
        if (v.format.set)
            format = {{"decimals", v.format.decimals},
                      {"grouping", v.format.grouping},
                      {"prefix", v.format.prefix},
                      {"suffix", v.format.suffix},
                      {"packed", v.format.packed}};
        nlohmann::json statistic = nullptr;
        if (v.statistic >= 0)
            statistic = {{"code", v.statistic},
                         {"a", v.statA},
                         {"b", v.statB},
                         {"c", v.statC},
                         {"flag", v.statFlag}};
        out.push_back({{"source", v.source},
                       {"name", v.column.empty() ? v.name : v.column},
                       {"gplName", v.name},
                       {"label", v.label},
                       {"shortLabel", v.shortLabel},
                       {"creator", v.creator},
                       {"categorical", v.categorical},
                       {"statistic", statistic},
                       {"format", format},
                       {"relabels", relabels}});
    }
    return out;
}

bool writeText(std::filesystem::path const& path, std::string const& text, std::string& error) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out) {
        error = "could not write " + path.string();
        return false;
    }
    return true;
}

}  // namespace

void setOutputOptions(OutputOptions const& options) {
    state().options = options;
    state().fileCounter = 0;
}

OutputOptions const& outputOptions() {
    return state().options;
}

Scene renderModel(ChartModel const& model) {
    auto measurer = makePangoMeasurer();
    return buildScene(model, model.data, *measurer);
}

void sendChart(ChartModel& model, bool first, bool later, bool third) {
    namespace fs = std::filesystem;
    auto& out = output::current();
    ++model.sendCount;
    auto const& options = state().options;
    fs::path dir;
    std::string stem;
    DataFiles dataFiles;
    dataFiles.inlineRows = options.inlineRows;
    if (!options.folder.empty()) {
        std::error_code ec;
        dir = fs::path(options.folder) / "charts";
        fs::create_directories(dir, ec);
        stem = fmt::format("chart-{:03}", ++state().fileCounter);
        dataFiles = {dir, "charts/", stem, options.inlineRows};
    }
    // The rows are written out while the chart is drawn; both only read them.
    auto pendingData = std::async(std::launch::async, chartData, model.data, dataFiles);
    Scene scene;
    try {
        scene = renderModel(model);
    } catch (...) {
        // No chart item will name the data files: they go.
        std::error_code ignored;
        for (auto const& file : pendingData.get().files)
            fs::remove(fs::path(options.folder) / file, ignored);
        throw;
    }
    // A chart of very many marks goes into the report as a picture: as SVG it would make the
    // report too large to open.
    bool const asPicture = scene.markCount() > kInlineSvgLimit;
    bool const svgFile = !options.folder.empty() && options.svg;
    std::string const svg = !asPicture || svgFile ? writeSvg(scene) : std::string();

    nlohmann::json files = nlohmann::json::array();
    if (!options.folder.empty()) {
        std::string error;
        auto note = [&](bool ok, std::string const& name) {
            if (ok)
                files.push_back("charts/" + name);
            else
                out.addMessage(2, "The chart file could not be written: " + error);
        };
        if (options.svg)
            note(writeText(dir / (stem + ".svg"), svg, error), stem + ".svg");
        if (options.png) {
            note(writePng(scene, (dir / (stem + ".png")).string(), options.pngScale, error),
                 stem + ".png");
            if (double const scale = pngScaleFor(scene, options.pngScale); scale < options.pngScale)
                out.addMessage(2, fmt::format("Chart: the page of {:g} x {:g} px is drawn into a PNG "
                                              "of {:.0f} x {:.0f} pixels, the most a PNG is made of",
                                              scene.width, scene.height,
                                              std::ceil(scene.width * scale),
                                              std::ceil(scene.height * scale)));
        }
        if (options.pdf)
            note(writePdf(scene, (dir / (stem + ".pdf")).string(), error), stem + ".pdf");
        if (options.xml)
            note(writeText(dir / (stem + ".xml"), writeChartXml(model), error), stem + ".xml");
    }
    if (model.sendCount == 1)
        for (auto const& d : model.program.diagnostics)
            out.addMessage(
                2, fmt::format("GPL warning at line {}, column {}: {}", d.line, d.column, d.text));
    for (auto const& w : scene.warnings) out.addMessage(2, "Chart: " + w);
    ChartData data = pendingData.get();
    for (auto const& problem : data.problems)
        out.addMessage(2, "The chart's data file could not be written: " + problem);
    for (auto const& file : data.files) files.push_back(file);

    nlohmann::json payload = {
        {"description", model.description},
        {"subtitle", model.subtitleSet ? model.subtitle : std::string()},
        {"send", {first, later, third}},
        {"files", files},
        {"data", std::move(data.json)},
        {"variables", variablesJson(model)},
        {"templates", model.templateFiles},
        {"inlineTemplates", model.inlineTemplates},
        {"csvFiles", model.csvFiles},
        {"editable", model.editable},
        {"defaultTemplates",
         {{"owner", model.defaultTemplateOwner}, {"off", model.noDefaultTemplates}}},
        {"dataHandles", model.dataHandles},
        {"warnings", scene.warnings},
    };
    if (asPicture)
        payload["png"] = "data:image/png;base64," + files::base64(pngBytes(scene, 1));
    else
        payload["svg"] = svg;
    output::Item item;
    item.kind = output::ItemKind::Chart;
    item.text = model.description;
    item.payload = std::make_shared<nlohmann::json const>(std::move(payload));
    out.add(std::move(item));
}

}  // namespace host::chart
