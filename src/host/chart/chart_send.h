#pragma once
// Sending a chart: the item in the output document and its files.

#include <string>

#include "host/chart/chart_model.h"
#include "host/chart/scene/scene.h"

namespace host::chart {

struct OutputOptions {
    std::string folder;  // where charts/ goes; empty: no files are written
    bool svg = true;
    bool png = true;
    bool pdf = false;
    bool xml = true;
    double pngScale = 2;  // device pixels per chart pixel
};

// The runner sets these for a job.
void setOutputOptions(OutputOptions const& options);
OutputOptions const& outputOptions();

void sendChart(ChartModel& model, bool first, bool later, bool third);

// Renders the model over its current rows with Pango metrics.
Scene renderModel(ChartModel const& model);

}  // namespace host::chart
