#include "host/chart/frame/csv_source.h"

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/date_columns.h"
#include "platform/dictionary.h"
#include "platform/var_data_processor.h"

namespace host::chart {

bool readCsvSource(std::string const& path, std::string const& source, VarDataProcessor& into,
                   std::string& error, std::vector<std::string>& warnings) {
    namespace hd = host::dictionary;
    std::vector<hd::Diagnostic> messages;
    hd::CsvTable table = hd::readCsv(path, {}, messages);
    if (table.ok)
        hd::convertDateColumns(table, {}, path, messages);
    for (auto const& m : messages)
        (m.level == hd::Diagnostic::Error && !table.ok ? error : warnings.emplace_back()) =
            m.toString();
    if (!table.ok) {
        if (error.empty())
            error = "csvSource: " + path + " cannot be read";
        return false;
    }
    auto rows = static_cast<unsigned>(table.rows);
    into.AddDataSource(source, rows);
    double const sysmis = KWEL_Globals::sysmis();
    for (auto const& column : table.columns) {
        VarDataProcessor::_varinfo info;
        into.AddVariable(source, column.header, &info);
        for (unsigned r = 0; r < rows; ++r) {
            if (column.numeric) {
                if (column.numbers[r] != sysmis)
                    into.SetVariableValue(&info, r, column.numbers[r]);
                continue;
            }
            std::string text = column.valueAt(r);
            text.erase(text.find_last_not_of(' ') + 1);
            if (!text.empty())
                into.SetStringVariableValue(&info, r, text);
        }
    }
    return true;
}

}  // namespace host::chart
