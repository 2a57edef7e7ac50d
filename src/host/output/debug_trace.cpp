#include "platform/host_procedure.h"

#include <string>

#include "host/output/document.h"

void ChartBase::printDebugInfo(std::string const& line) {
    host::output::current().addTrace(line);
}
