#include "host/dictionary/date_columns.h"

#include <charconv>

#include "platform/dictionary.h"

namespace host::dictionary {

namespace {

std::string trimmedValue(CsvColumn const& column, std::size_t row) {
    std::string s = column.valueAt(row);
    std::size_t end = s.find_last_not_of(' ');
    s.erase(end == std::string::npos ? 0 : end + 1);
    std::size_t start = s.find_first_not_of(' ');
    s.erase(0, start == std::string::npos ? s.size() : start);
    return s;
}

bool numberText(std::string const& s, double& value) {
    auto r = std::from_chars(s.data(), s.data() + s.size(), value);
    return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

// The kind every non-empty value of the column has as an ISO date, or nothing.
std::optional<DateKind> inferredKind(CsvColumn const& column, std::int64_t rows) {
    std::optional<DateKind> kind;
    for (std::int64_t r = 0; r < rows; ++r) {
        std::string s = trimmedValue(column, static_cast<std::size_t>(r));
        if (s.empty())
            continue;
        DateKind k;
        if (!parseIsoDate(s, &k))
            return std::nullopt;
        if (!kind || k == DateKind::DateTime)
            kind = k;
    }
    return kind;
}

}  // namespace

std::vector<std::optional<DateKind>> convertDateColumns(CsvTable& table,
                                                        DateDeclaration const& declared,
                                                        std::string const& file,
                                                        std::vector<Diagnostic>& messages) {
    std::vector<std::optional<DateKind>> kinds(table.columns.size());
    DiagnosticSink sink(messages);
    for (std::size_t c = 0; c < table.columns.size(); ++c) {
        CsvColumn& column = table.columns[c];
        if (column.numeric)
            continue;
        std::optional<DateKind> kind = declared ? declared(column.header) : std::nullopt;
        bool const inferred = !kind;
        if (inferred)
            kind = inferredKind(column, table.rows);
        if (!kind)
            continue;
        Cells numbers(static_cast<std::size_t>(table.rows), KWEL_Globals::sysmis());
        for (std::int64_t r = 0; r < table.rows; ++r) {
            auto row = static_cast<std::size_t>(r);
            std::string s = trimmedValue(column, row);
            if (s.empty())
                continue;
            if (auto v = parseDateValue(s, *kind)) {
                numbers[row] = *v;
            } else if (!numberText(s, numbers[row])) {
                Diagnostic d;
                d.level = Diagnostic::Warning;
                d.file = file;
                d.line = table.lineOf(r);
                d.text = "column \"" + column.header + "\": \"" + s + "\" is not a " +
                         (*kind == DateKind::Time   ? "time (hh:mm:ss)"
                          : *kind == DateKind::Date ? "date (yyyy-mm-dd)"
                                                    : "date and time (yyyy-mm-ddThh:mm:ss)") +
                         "; the value is missing";
                sink.add("bad date", std::move(d));
                numbers[row] = KWEL_Globals::sysmis();
            }
        }
        column.numeric = true;
        column.numbers = std::move(numbers);
        column.cells.clear();
        column.cells.shrink_to_fit();
        column.width = 0;
        kinds[c] = kind;
    }
    sink.finish();
    return kinds;
}

}  // namespace host::dictionary
