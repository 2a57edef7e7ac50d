#include "host/chart/chart_render.h"
#include "host/maps/map_chart.h"

#include "host/chart/geometry/draw.h"
#include "host/chart/layer/layer.h"
#include "host/chart/layout/layout.h"
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

Scene buildScene(ChartModel const& model, VarDataProcessor const* data,
                 TextMeasurer const& measurer) {
    if (maps::drawsMap(model))
        return maps::buildMapScene(model, data, measurer);
    Scene scene;
    Spec spec = readSpec(model.program, scene.warnings);
    scene.width = spec.width;
    scene.height = spec.height;
    Layers layers = buildLayers(spec, model, data, scene.warnings);
    Scales scales = trainCategoricalScales(layers, spec);
    if (std::string refused = scaleLimits(scales, layers); !refused.empty()) {
        scene.warnings.push_back(refused);
        return scene;
    }
    stackLayers(layers, scales);
    jitterLayers(layers, scales);
    dropUnshowable(layers, spec, scene.warnings);
    trainValueScales(layers, spec, scales);
    Palette palette = makePalette(scales, spec, model, layers);
    Layout layout = layoutChart(spec, model, layers, scales, legendEntries(scales, palette, layers),
                                measurer, scene.warnings);
    DrawContext dc{scene, spec, scales, palette, measurer, &layers};
    drawChart(dc, model, layers, layout);
    if (layers.layers.empty() && scene.warnings.empty())
        scene.warnings.push_back("the chart has no element to draw");
    return scene;
}

}  // namespace host::chart
