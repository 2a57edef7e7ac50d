#pragma once
// Rows for chart-engine tests and the scene built from them with fixed text metrics.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/chart_render.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

namespace test {

// One cell of a test row: a number, or a text.
struct Cell {
    bool text;
    double number;
    std::string s;
    Cell(double v) : text(false), number(v) {}
    Cell(char const* v) : text(true), number(0), s(v) {}
};

// A store with one source of the given columns and rows.
inline void fill(VarDataProcessor& vdp, std::string const& source,
                 std::vector<std::string> const& cols, std::vector<std::vector<Cell>> const& rows) {
    vdp.AddDataSource(source, 10);
    for (auto const& c : cols) vdp.AddVariable(source, c, nullptr);
    for (unsigned r = 0; r < rows.size(); ++r)
        for (std::size_t c = 0; c < cols.size(); ++c)
            if (rows[r][c].text)
                vdp.SetStringVariableValue(source, cols[c], r, rows[r][c].s);
            else
                vdp.SetVariableValue(source, cols[c], r, rows[r][c].number);
}

inline host::chart::Scene scene(XDocument& doc, VarDataProcessor* vdp) {
    EXPECT_TRUE(doc.implementationExists()) << doc.errorText();
    host::chart::FixedTextMeasurer fixed;
    return host::chart::buildScene(doc.model(), vdp, fixed);
}

}  // namespace test
