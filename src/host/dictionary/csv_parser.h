#pragma once
// The CSV reader's inside: a parser of the header and one of a run of rows. The reader cuts a
// file into runs at row boundaries, parses them side by side and joins what they found; a run
// knows nothing of the others, so its line numbers count from its own start and its messages
// wait until the join puts them in file order.

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "host/dictionary/csv_reader.h"

namespace host::dictionary::csv {

// Messages of one run, in order, with each kind kept short as DiagnosticSink keeps it: the
// first `limit` of a kind are kept, the rest only counted.
class RunMessages {
public:
    struct Entry {
        std::string kind;
        Diagnostic diagnostic;
    };
    struct Overflow {
        std::string kind;
        std::int64_t count = 0;
        Diagnostic last;
    };
    void add(std::string const& kind, Diagnostic diagnostic);
    // Into `sink` as if reported there one by one; lines move down by `lineOffset`.
    void replay(DiagnosticSink& sink, std::int64_t lineOffset) const;

private:
    std::vector<Entry> kept_;
    std::vector<Overflow> kinds_;  // every kind seen; count is what was not kept
};

struct ColumnState {
    CsvColumn column;
    bool load = true;  // false: the field is stepped over
    bool declared = false;
    int declaredWidth = 0;
    std::vector<std::string> nullMarkers;
    std::int64_t numbersSeen = 0;  // non-empty numeric cells
    bool flippedLate = false;      // turned string after numbers had been read
    int blankLength = 0;           // the longest blank cell read while the column held numbers
    bool tabbedBlanks = false;     // one of those held a tab

    // Where the run writes the column's values. The reader sets aside a stretch of the table's
    // column for each run, as many values as the run has line ends, so that joining the runs
    // moves nothing. A run whose values outgrow that layout (a wider text, a column that turns
    // out to be text) copies what it wrote into `column` and goes on there.
    OBS* region = nullptr;
    std::size_t regionUsed = 0;      // cells written into the region
    std::size_t regionCapacity = 0;  // cells it has room for

    // Gives up the region: its values move into the column's own cells or numbers.
    void leaveRegion();
    // Values written so far, in either place.
    std::size_t values() const;
};

// Reports how far the runs have come: bytes behind them and rows read, from any thread.
struct RunProgress {
    std::atomic<std::uint64_t> bytes{0};
    std::atomic<std::int64_t> rows{0};
};

// What one run of rows gave.
struct RunResult {
    std::vector<ColumnState> states;
    std::int64_t rows = 0;
    std::int64_t lines = 0;        // line breaks passed, quoted ones included
    // Where rows start: (row, line) wherever a row does not start on the line after the one
    // before it (the first row, and after blank lines or quoted line breaks).
    std::vector<std::pair<std::int64_t, std::int64_t>> rowLines;
    char const* end = nullptr;     // where its last row ended
    RunMessages messages;
};

// Reads the header at the start of `text` (after a byte-order mark and blank lines). False when
// there is none; `dataStart` is where the rows begin and `lines` the line breaks before them.
bool parseHeader(std::string_view text, std::string const& name, std::vector<std::string>& headers,
                 char const*& dataStart, std::int64_t& lines, RunMessages& messages);

// Parses the rows that start in [start, stop) of `text`; the last one may end past `stop`.
// `states` are the columns as declared, each loaded one with the region it writes into.
void parseRows(std::string_view text, char const* start, char const* stop,
               std::string const& name, std::vector<ColumnState> states, RunProgress* progress,
               RunResult& result);

// How many line ends (LF, CRLF or a lone CR) lie in [from, to): no run of rows that starts there
// holds more rows than that, or one more where the text ends without a line end.
std::size_t countLineEnds(char const* from, char const* to);

// The first row boundary at or after `at`: past the next line break, as if no quote were open.
char const* nextRowStart(char const* at, char const* end);

// A data cell of eight blanks.
inline OBS blankCell() {
    OBS cell;
    std::memset(&cell, ' ', sizeof cell);
    return cell;
}

// Lays a string column out with `per` cells per value.
void widen(CsvColumn& column, std::size_t per);

// A string column that held only empty cells as numbers, as blank text.
void numbersToBlanks(CsvColumn& column);

}  // namespace host::dictionary::csv
