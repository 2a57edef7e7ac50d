#pragma once
// The one way the command library reports: a text of the message table, with its placeholders
// ^1, ^2 filled by data values in order, put into the output at level 2 (a warning) or 3 (an
// error).

#include <initializer_list>
#include <string>

class BpCellText;

namespace ggraph {

enum ReportLevel { kWarning = 2, kError = 3 };

// A message without placeholders: BpString(text, true).
void report(ReportLevel level, std::string const& text);
// A message with placeholders: a BpComposite of the text with one BpString(value, false) each.
void report(ReportLevel level, std::string const& text, std::initializer_list<std::string> values);
// The same with cells of any kind (numbers in their format, for instance).
void report(ReportLevel level, std::string const& text,
            std::initializer_list<BpCellText const*> cells);

}  // namespace ggraph
