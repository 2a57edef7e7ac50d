// Fuzz target of the chart XML reader: bad XML gives an error text, never a crash.
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/chart/chart_model.h"
#include "host/chart/chart_xml.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    host::chart::ChartModel model;
    std::string error;
    (void)host::chart::readChartXml(std::string(reinterpret_cast<char const*>(data), size), model, error);
    return 0;
}
