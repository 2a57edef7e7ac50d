#include "host/chart/chart_render.h"

#include <algorithm>
#include "host/maps/map_chart.h"

#include "host/chart/geometry/draw.h"
#include "host/chart/geometry/guides.h"
#include "host/chart/layer/layer.h"
#include "host/chart/layout/layout.h"
#include "host/chart/layout/page_graphs.h"
#include "host/chart/position/cumulative.h"
#include "host/chart/position/jitter.h"
#include "host/chart/position/stack.h"
#include "host/chart/scales/colors.h"
#include "host/chart/scales/scales.h"
#include "host/chart/spec/chart_spec.h"

namespace host::chart {

TextSize FixedTextMeasurer::measure(std::string const& text, double fontSize, bool) const {
    std::size_t chars = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80)
            ++chars;
    return {0.6 * fontSize * static_cast<double>(chars), 1.2 * fontSize};
}

namespace {

// A graph's layers, positions and scales.
void prepareGraph(GraphRun& run, ChartModel const& model, VarDataProcessor const* data,
                  std::vector<std::string>& warnings) {
    Spec& spec = run.spec;
    run.layers = buildLayers(spec, model, data, warnings);
    Layers& layers = run.layers;
    run.scales = trainCategoricalScales(layers, spec);
    if (std::string refused = scaleLimits(run.scales, layers); !refused.empty()) {
        warnings.push_back(refused);
        return;
    }
    cumulateLayers(layers, run.scales);
    stackLayers(layers, run.scales);
    jitterLayers(layers, run.scales);
    dropUnshowable(layers, spec, warnings);
    trainValueScales(layers, spec, run.scales);
    run.palette = makePalette(run.scales, spec, model, layers);
    run.drawable = true;
}

void layoutGraph(GraphRun& run, ChartModel const& model, TextMeasurer const& measurer,
                 std::vector<std::string>& warnings) {
    Spec& spec = run.spec;
    auto lay = [&](std::vector<std::string>& said) {
        run.layout = layoutChart(spec, model, run.layers, run.scales,
                                 legendEntries(run.scales, run.palette, run.layers), measurer, said);
    };
    // Sizes given as shares of the plot are known once the plot is: a first layout with a
    // guess at its side, then the layout with the sizes (and so the legend) they give.
    bool const shares = spec.sizeMin.share > 0 || spec.sizeMax.share > 0;
    resolveSizeRange(run.layers, spec, std::min(spec.width, spec.height) * 0.7);
    if (!shares) {
        lay(warnings);
        return;
    }
    std::vector<std::string> firstPass;
    lay(firstPass);
    if (run.layout.panels.empty()) {
        warnings.insert(warnings.end(), firstPass.begin(), firstPass.end());
        return;
    }
    Rect const& plot = run.layout.panels.front().plot;
    resolveSizeRange(run.layers, spec, std::min(plot.w, plot.h));
    lay(warnings);
}

}  // namespace

Scene buildScene(ChartModel const& model, VarDataProcessor const* data,
                 TextMeasurer const& measurer) {
    if (maps::drawsMap(model))
        return maps::buildMapScene(model, data, measurer);
    Scene scene;
    std::vector<Spec> specs = readGraphs(model.program, scene.warnings);
    scene.width = specs.front().width;
    scene.height = specs.front().height;
    GraphRuns runs;
    for (auto& spec : specs) {
        runs.push_back(std::make_unique<GraphRun>());
        runs.back()->spec = std::move(spec);
        prepareGraph(*runs.back(), model, data, scene.warnings);
    }
    if (runs.size() > 1) {
        // Graphs side by side line up: a first layout finds each plot's edges.
        shareRanges(runs);
        std::vector<std::string> unsaid;
        for (auto& run : runs)
            if (run->drawable)
                layoutGraph(*run, model, measurer, unsaid);
        alignPlots(runs);
    }
    bool anyLayer = false;
    for (auto& run : runs) {
        if (!run->drawable)
            continue;
        layoutGraph(*run, model, measurer, scene.warnings);
        if (run->spec.titlesOnly) {
            drawTitles(scene, run->layout);
            continue;
        }
        DrawContext dc{scene, run->spec, run->scales, run->palette, measurer, &run->layers};
        drawChart(dc, model, run->layers, run->layout);
        anyLayer |= !run->layers.layers.empty();
    }
    if (!anyLayer && scene.warnings.empty())
        scene.warnings.push_back("the chart has no element to draw");
    return scene;
}

}  // namespace host::chart
