// Fuzz target of the CSV reader and the dictionary JSON reader. The first byte picks the reader;
// the rest is the file. Both must give messages, never crash, and keep the columns aligned.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
    return 0;
}
