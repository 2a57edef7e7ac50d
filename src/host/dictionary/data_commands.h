#pragma once
// The commands of a job that change the active dataset's state: SPLIT FILE, WEIGHT, DATASET
// ACTIVATE (and NAME), VALUE LABELS, ADD VALUE LABELS, VARIABLE LABELS, MISSING VALUES,
// VARIABLE LEVEL, FORMATS, MRSETS.

#include <string>
#include <vector>

#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

// True when the first words of a command (upper-case, as the job splitter gives them) name one
// of the commands above.
bool isDataCommand(std::vector<std::string> const& upperWords);

// Runs one of them on the active dataset. `body` is the command's text behind its first word,
// starting at `line` and `column` of the job. A mistake is reported (with its line and column)
// and leaves the dataset as the command found it, so the rest of the job goes on; a command
// that names nothing of the above gives one message saying so.
std::vector<Diagnostic> applyDataCommand(std::vector<std::string> const& upperWords,
                                         std::string const& body, int line, int column = 1);

}  // namespace host::dictionary
