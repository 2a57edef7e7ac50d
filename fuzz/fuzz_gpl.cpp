// Fuzz target of the GPL parser and the chart model built from it.
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/chart/chart_model.h"
#include "host/chart/gpl_syntax.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    (void)host::chart::gpl::parse(text);
    host::chart::ChartModel model;
    host::chart::buildFromGpl(model, text);
    return 0;
}
