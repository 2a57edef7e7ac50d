#pragma once
// The dictionary as the host understood it, for `ggraph describe --data FILE [--json]`.

#include <iosfwd>
#include <string>

#include "host/dictionary/dataset.h"

namespace host::dictionary {

std::string describeText(Dataset const& dataset);
// {"cases", "variables": [{"name", "type", "width", "label", "measure", "format",
// "valueLabels", "missing"}], "weight", "split", "mrsets"}
std::string describeJson(Dataset const& dataset);

// The whole `describe` command: loads the file, prints the load messages to `err` and the
// description to `out`. Gives the exit status: 0, or 1 when the data could not be read.
int runDescribe(std::string const& dataPath, bool json, std::ostream& out, std::ostream& err,
                std::string const& dictionaryPath = {});

}  // namespace host::dictionary
