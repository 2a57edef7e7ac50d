// Fuzz target of the GPL parser and the chart model built from it (the build parses the text).
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/chart/chart_model.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    host::chart::ChartModel model;
    host::chart::buildFromGpl(model, text);
    return 0;
}
