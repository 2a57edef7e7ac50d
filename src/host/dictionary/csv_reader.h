#pragma once
// A CSV reader (RFC 4180: quoted fields, doubled quotes, embedded newlines, CRLF or LF; UTF-8
// with or without a byte-order mark; a header row) that fills numeric and string columns.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/dictionary/cells.h"
#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

// Strings longer than this are cut, with a warning, so that one runaway field cannot make every
// case of its column that wide.
inline constexpr int kMaxStringWidth = 32767;

// What is known of a column before reading it.
struct CsvColumnDeclaration {
    bool declared = false;  // false: the type is inferred from the cells
    bool numeric = true;
    int width = 0;                         // declared string width; 0: as wide as needed
    std::vector<std::string> nullMarkers;  // texts that stand for system-missing in a number
};

struct CsvColumn {
    std::string header;  // as written in the file
    bool loaded = true;  // false: not asked for; the column holds no values
    bool numeric = true;
    Cells numbers;  // numeric: one per row, system-missing for empty cells
    // string: the values as data cells, blank-padded, cellsPerValue cells per row; when the
    // table is read, cellsPerValue is ObsCellsForWidth(width).
    Cells cells;
    int cellsPerValue = 1;
    int width = 0;        // string: the declared width, or the longest value (at least 1)
    int maxDecimals = 0;  // numbers: decimals and characters seen
    int maxLength = 0;

    // A string value with its trailing blanks.
    std::string valueAt(std::size_t row) const;
};

struct CsvTable {
    std::vector<CsvColumn> columns;
    std::int64_t rows = 0;
    // The line each row starts on, kept sparsely: (row, line) where a row does not start on
    // the line after the row before it.
    std::vector<std::pair<std::int64_t, std::int64_t>> rowLines;
    bool ok = false;  // false: nothing could be read (missing or empty file, no header)
    // The file itself could not be read (missing, no permission, not a regular file): nothing
    // in it was looked at.
    bool unreadable = false;

    // The line of the file a row starts on (the header's first line is 1).
    std::int64_t lineOf(std::int64_t row) const;
};

using CsvDeclare = std::function<CsvColumnDeclaration(std::string const& header)>;
// Which columns to fill, given every header in file order; the others are stepped over.
using CsvSelect = std::function<std::vector<bool>(std::vector<std::string> const& headers)>;
// How far reading has come: bytes of the file behind it, of `total`, and rows read. Called
// from the reading thread now and then.
using CsvProgress =
    std::function<void(std::uint64_t bytes, std::uint64_t total, std::int64_t rows)>;

struct CsvOptions {
    CsvDeclare declare;  // may be empty: every type is inferred
    CsvSelect select;    // may be empty: every column is read
    CsvProgress progress;
    // Threads that parse pieces side by side: 0 one per core. The file is cut into `pieces`
    // (0: four per thread, so that a thread held up by the machine leaves the others work to
    // take over), each of at least minPieceBytes, so small files are read in one.
    unsigned threads = 0;
    unsigned pieces = 0;
    std::size_t minPieceBytes = std::size_t{1} << 22;
};

// Reads the file. Problems are reported with the file, line and column; rows are kept where
// that is safe. The file is parsed in pieces side by side; what comes out (values, types,
// messages and their line numbers) is what one pass from start to end would give.
CsvTable readCsv(std::string const& path, CsvOptions const& options,
                 std::vector<Diagnostic>& messages);
// The same over text in memory; `name` stands for the file in messages.
CsvTable readCsvText(std::string_view text, std::string const& name, CsvOptions const& options,
                     std::vector<Diagnostic>& messages);
// Every column, `declare` saying what the dictionary says of each header (may be empty).
CsvTable readCsvText(std::string_view text, std::string const& name, CsvDeclare const& declare,
                     std::vector<Diagnostic>& messages);

}  // namespace host::dictionary
