#pragma once
// Chart XML: the whole chart model as text, and back.

#include <string>

#include "host/chart/chart_model.h"

namespace host::chart {

std::string writeChartXml(ChartModel const& model);
// Builds the model from chart XML; false with `error` set when the text is no chart.
[[nodiscard]] bool readChartXml(std::string const& xml, ChartModel& model, std::string& error);

}  // namespace host::chart
