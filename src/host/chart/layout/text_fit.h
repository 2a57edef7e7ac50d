#pragma once
// Fitting text into the room the layout gives it.

#include <string>
#include <vector>

#include "host/chart/layout/text_metrics.h"

namespace host::chart {

// No text drawn in a chart is longer than this many characters; longer ones are cut first.
constexpr std::size_t kMaxTextChars = 1000;

// `s` when it fits `maxWidth`, else its longest prefix of whole characters that fits with an
// ellipsis. A handful of measurements whatever the length: the prefix is found by halving.
std::string fitText(std::string const& s, double maxWidth, double size, TextMeasurer const& m,
                    bool bold = false);

// `s` broken at blanks into lines that each fit `maxWidth`, at most `maxLines` of them: what
// does not fit on the last line is shortened with an ellipsis, as is a word longer than a line.
std::vector<std::string> wrapText(std::string const& s, double maxWidth, double size,
                                  TextMeasurer const& m, bool bold = false,
                                  std::size_t maxLines = 2);

// The size of a text as drawn: cut to kMaxTextChars first.
TextSize measureText(std::string const& s, double size, TextMeasurer const& m, bool bold = false);

// Valid UTF-8 of at most kMaxTextChars characters: texts come from the rows as bytes, and bad
// UTF-8 would break the SVG and Pango alike.
std::string cleanText(std::string const& s);

}  // namespace host::chart
