#include "ggraph/procedure/report.h"

#include "platform/output.h"

namespace ggraph {

void report(ReportLevel level, std::string const& text) {
    BpError(BpString(text, true), BP_SHOW_OUTPUT, static_cast<BpErrorLevel>(level));
}

void report(ReportLevel level, std::string const& text, std::initializer_list<std::string> values) {
    BpComposite composite(text, true);
    for (std::string const& value : values) composite.Add(BpString(value, false));
    composite.Finish();
    BpError(composite, BP_SHOW_OUTPUT, static_cast<BpErrorLevel>(level));
}

void report(ReportLevel level, std::string const& text,
            std::initializer_list<BpCellText const*> cells) {
    BpComposite composite(text, true);
    for (BpCellText const* cell : cells) composite.Add(*cell);
    composite.Finish();
    BpError(composite, BP_SHOW_OUTPUT, static_cast<BpErrorLevel>(level));
}

}  // namespace ggraph
