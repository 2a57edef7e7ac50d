#pragma once
// The chart document's data-label template: `<addDataLabels/>` labels each bar and point with
// its value, `<addDataLabels><labeling variable="name"/></addDataLabels>` with a variable's
// value instead, as label(name) would.

#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/spec/chart_spec.h"

namespace host::chart {

// Reads the data-label templates among the document's inline templates into spec.dataLabels.
// A template that is not XML, or that names no variable of the chart, is a warning.
void readDataLabelTemplates(Spec& spec, ChartModel const& model,
                            std::vector<std::string>& warnings);

}  // namespace host::chart
