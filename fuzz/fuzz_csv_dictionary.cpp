// Fuzz target of the CSV reader and the dictionary JSON reader. The first byte picks the reader;
// the rest is the file. Both must give messages, never crash, and keep the columns aligned. Where
// the first byte asks for it, the CSV is also read cut into two to four pieces, which must give
// what one pass gives: rows, lines, messages and every value bit for bit.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/dictionary_json.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::string_view const text(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::vector<host::dictionary::Diagnostic> messages;
    if (data[0] & 1) {
        (void)host::dictionary::readDictionaryText(std::string(text), "fuzz.json", messages);
        return 0;
    }
    // Odd and even second bytes declare the columns or let the reader infer them.
    host::dictionary::CsvDeclare declare;
    if (data[0] & 2) {
        declare = [](std::string const& header) {
            host::dictionary::CsvColumnDeclaration d;
            d.declared = true;
            d.numeric = header.size() % 2 == 0;
            d.width = static_cast<int>(header.size() % 5);
            d.nullMarkers = {"NA"};
            return d;
        };
    }
    auto table = host::dictionary::readCsvText(text, "fuzz.csv", declare, messages);
    for (auto const& column : table.columns) {
        std::size_t const rows =
            column.numeric ? column.numbers.size()
                           : column.cells.size() / static_cast<std::size_t>(column.cellsPerValue);
        if (rows != static_cast<std::size_t>(table.rows))
            std::abort();
    }
    if (table.columns.size() > 4 && (data[0] & 8)) {
        // A few columns of many are read by loops made for their kinds, every column by the
        // general loop: the columns both read must be alike.
        host::dictionary::CsvOptions options;
        options.declare = declare;
        options.threads = 1;
        options.select = [](std::vector<std::string> const& headers) {
            std::vector<bool> keep(headers.size(), false);
            for (std::size_t c = 0; c < headers.size(); c += 2) keep[c] = c < 6;
            return keep;
        };
        std::vector<host::dictionary::Diagnostic> fewMessages;
        auto few = host::dictionary::readCsvText(text, "fuzz.csv", options, fewMessages);
        if (few.rows != table.rows || few.columns.size() != table.columns.size())
            std::abort();
        for (std::int64_t row = 0; row < table.rows; ++row)
            if (few.lineOf(row) != table.lineOf(row))
                std::abort();
        for (std::size_t c = 0; c < table.columns.size() && c < 6; c += 2) {
            auto const& a = table.columns[c];
            auto const& b = few.columns[c];
            if (a.numeric != b.numeric || a.width != b.width || a.maxLength != b.maxLength ||
                a.maxDecimals != b.maxDecimals || a.numbers.size() != b.numbers.size() ||
                a.cells.size() != b.cells.size() ||
                (!a.numbers.empty() &&
                 std::memcmp(a.numbers.data(), b.numbers.data(), a.numbers.size() * 8) != 0) ||
                (!a.cells.empty() &&
                 std::memcmp(a.cells.data(), b.cells.data(), a.cells.size() * 8) != 0))
                std::abort();
        }
    }
    if (data[0] & 4) {
        host::dictionary::CsvOptions options;
        options.declare = declare;
        options.threads = 2;
        options.pieces = 2 + (data[0] >> 3) % 3;
        options.minPieceBytes = 1;
        std::vector<host::dictionary::Diagnostic> pieceMessages;
        auto pieces = host::dictionary::readCsvText(text, "fuzz.csv", options, pieceMessages);
        if (pieces.rows != table.rows || pieces.columns.size() != table.columns.size() ||
            pieceMessages.size() != messages.size())
            std::abort();
        for (std::size_t i = 0; i < messages.size(); ++i)
            if (pieceMessages[i].toString() != messages[i].toString())
                std::abort();
        for (std::int64_t row = 0; row < table.rows; ++row)
            if (pieces.lineOf(row) != table.lineOf(row))
                std::abort();
        for (std::size_t c = 0; c < table.columns.size(); ++c) {
            auto const& a = table.columns[c];
            auto const& b = pieces.columns[c];
            if (a.numeric != b.numeric || a.width != b.width || a.cellsPerValue != b.cellsPerValue ||
                a.numbers.size() != b.numbers.size() || a.cells.size() != b.cells.size() ||
                (!a.numbers.empty() &&
                 std::memcmp(a.numbers.data(), b.numbers.data(), a.numbers.size() * 8) != 0) ||
                (!a.cells.empty() &&
                 std::memcmp(a.cells.data(), b.cells.data(), a.cells.size() * 8) != 0))
                std::abort();
        }
    }
    return 0;
}
