#include "host/output/writers.h"

#include <ostream>
#include <string>

namespace host::output {

ConsoleSink::ConsoleSink(std::ostream& out) : out_(out) {}

void ConsoleSink::onMessage(Item const& message) {
    if (message.level < 2)
        return;
    std::string prefix = message.level >= 3 ? "Error: " : "Warning: ";
    if (message.line > 0)
        prefix += "line " + std::to_string(message.line) + ": ";
    out_ << prefix;
    // Continuation lines of a long text line up under its first line.
    std::string const indent(prefix.size(), ' ');
    for (char c : message.text) {
        out_ << c;
        if (c == '\n')
            out_ << indent;
    }
    out_ << '\n' << std::flush;
}

}  // namespace host::output
