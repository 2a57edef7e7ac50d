#pragma once
// Reads a row store as text: one line per row, "name=value" per column, for compact checks.
// A missing cell (the system-missing value included) reads ".", a text is in quotes.

#include <sstream>
#include <string>

#include "platform/var_data_processor.h"

namespace test {

inline std::string rows(VarDataProcessor const& vdp, std::string const& source) {
    std::ostringstream out;
    auto const names = vdp.GetVariableNames(source);
    for (unsigned row = 0; row < vdp.GetRowCount(source); ++row) {
        for (std::size_t v = 0; v < names.size(); ++v) {
            int const index = static_cast<int>(v);
            out << (v ? " " : "") << names[v] << "=";
            switch (vdp.GetCellKind(source, index, row)) {
                case VarDataProcessor::CellKind::Missing:
                    out << ".";
                    break;
                case VarDataProcessor::CellKind::Number:
                    out << vdp.GetNumber(source, index, row);
                    break;
                case VarDataProcessor::CellKind::Text:
                    out << "'" << vdp.GetText(source, index, row) << "'";
                    break;
            }
        }
        out << "\n";
    }
    return out.str();
}

}  // namespace test
