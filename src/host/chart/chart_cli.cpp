#include "host/chart/chart_cli.h"

#include <filesystem>
#include <limits>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/chart/chart_send.h"
#include "host/chart/frame/csv_source.h"
#include "host/files/json_text.h"
#include "host/output/document.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

namespace host::chart {

CliResult gplToXml(std::string const& gpl, std::string const& xml) {
    CliResult r;
    // The document again, for what the conversion does not tell: why it failed, or its warnings.
    XDocument doc(gpl, true, true);
    if (xml.empty() || !doc.implementationExists()) {
        r.exitCode = 1;
        r.error = (doc.errorText().empty() ? "the GPL text makes no chart" : doc.errorText()) + "\n";
        return r;
    }
    r.output = xml;
    for (auto const& d : doc.model().program.diagnostics)
        r.error += "GPL warning at line " + std::to_string(d.line) + ": " + d.text + "\n";
    return r;
}

namespace {

// A source whose rows are in a CSV file beside the chart (what `ggraph run` writes for a big
// source: columns, rowCount and file instead of rows). The file's path is taken from the folder
// of the rows file, as output.json names it from the output folder.
bool readRowsFile(nlohmann::json const& table, std::string const& source, std::string const& file,
                  std::string const& rowsName, VarDataProcessor& rows, std::string& messages) {
    auto const& named = table["file"].get_ref<std::string const&>();
    std::filesystem::path path(named);
    if (path.is_relative() && !rowsName.empty())
        path = std::filesystem::path(rowsName).parent_path() / path;
    std::string error;
    std::vector<std::string> warnings;
    VarDataProcessor read;
    if (!readCsvSource(path.string(), source, read, error, warnings)) {
        messages += fmt::format("{}: error: the rows of source '{}' are to come from {}: {}\n",
                                file, source, path.string(), error);
        return false;
    }
    for (auto const& w : warnings) messages += w + "\n";
    auto const& columns = table["columns"];
    for (auto const& c : columns)
        if (read.FindVariable(source, c.get<std::string>()) < 0)
            messages += fmt::format("{}: warning: {} has no column '{}' of source '{}'; its values "
                                    "are missing\n",
                                    file, path.string(), c.get<std::string>(), source);
    if (table.contains("rowCount") && table["rowCount"].is_number_unsigned() &&
        table["rowCount"].get<std::uint64_t>() != read.GetRowCount(source))
        messages += fmt::format("{}: warning: {} holds {} rows of source '{}', not the {} that "
                                "rowCount says\n",
                                file, path.string(), read.GetRowCount(source), source,
                                table["rowCount"].get<std::uint64_t>());
    rows.AddVDP(read);
    return true;
}

// Rows as JSON into `rows`; an error text naming the file, line and column when they cannot be
// used, and warnings for rows that do not fit their columns.
bool readRows(std::string const& text, std::string const& name, VarDataProcessor& rows,
              std::string& messages) {
    std::string const file = name.empty() ? std::string("the rows") : name;
    auto parsed = files::readJsonText(text);
    for (auto const& problem : parsed.problems) {
        auto const place = files::placeOf(text, problem.offset);
        messages += fmt::format("{}:{}:{}: error: {}\n", file, place.line, place.column,
                                problem.text);
    }
    if (!parsed.problems.empty())
        return false;
    if (!parsed.value.is_object()) {
        messages += file + ": error: the rows must be a JSON object of sources\n";
        return false;
    }
    for (auto const& [source, table] : parsed.value.items()) {
        bool const inFile = table.is_object() && table.contains("file") &&
                            table["file"].is_string() && !table.contains("rows");
        if (!table.is_object() || !table.contains("columns") || !table["columns"].is_array() ||
            (!inFile && (!table.contains("rows") || !table["rows"].is_array()))) {
            messages += "source '" + source + "' of the rows file needs columns and rows (or a "
                        "file of rows)\n";
            return false;
        }
        auto const& columns = table["columns"];
        for (auto const& c : columns) {
            if (!c.is_string()) {
                messages += fmt::format("{}: error: the columns of source '{}' must be names\n",
                                        file, source);
                return false;
            }
        }
        if (inFile) {
            if (!readRowsFile(table, source, file, name, rows, messages))
                return false;
            continue;
        }
        rows.AddDataSource(source, static_cast<unsigned>(table["rows"].size()));
        for (auto const& c : columns) rows.AddVariable(source, c.get<std::string>(), nullptr);
        unsigned row = 0;
        std::size_t ragged = 0, unusable = 0;
        for (auto const& values : table["rows"]) {
            if (!values.is_array() || values.size() != columns.size())
                ++ragged;
            for (std::size_t i = 0; values.is_array() && i < columns.size() && i < values.size(); ++i) {
                auto const& column = columns[i].get_ref<std::string const&>();
                if (values[i].is_number())
                    rows.SetVariableValue(source, column, row, values[i].get<double>());
                else if (values[i].is_string())
                    rows.SetStringVariableValue(source, column, row, values[i].get<std::string>());
                else if (!values[i].is_null())
                    ++unusable;
            }
            ++row;
        }
        if (ragged > 0)
            messages += fmt::format(
                "{}: warning: {} row(s) of source '{}' do not hold one value per column ({}); "
                "missing values are empty, surplus ones are left out\n",
                file, ragged, source, columns.size());
        if (unusable > 0)
            messages += fmt::format(
                "{}: warning: {} value(s) of source '{}' are neither numbers nor texts; they are "
                "read as empty\n",
                file, unusable, source);
    }
    return true;
}

}  // namespace

CliResult renderChart(std::string const& xml, std::string const& rowsJson,
                      std::string const& outDir, std::string const& formats,
                      std::string const& rowsName) {
    CliResult r;
    XDocument doc(xml);
    if (!doc.implementationExists()) {
        r.exitCode = 1;
        r.error = doc.errorText() + "\n";
        return r;
    }
    VarDataProcessor rows;
    if (!rowsJson.empty() || !rowsName.empty()) {
        if (!readRows(rowsJson, rowsName, rows, r.error)) {
            r.exitCode = 1;
            return r;
        }
        doc.SetChartData(&rows);
    }
    OutputOptions options;
    options.folder = outDir;
    options.svg = formats.find("svg") != std::string::npos;
    options.png = formats.find("png") != std::string::npos;
    options.pdf = formats.find("pdf") != std::string::npos;
    options.xml = false;
    // No output.json comes of a render, so the rows need no file of their own.
    options.inlineRows = std::numeric_limits<std::size_t>::max();
    OutputOptions saved = outputOptions();
    setOutputOptions(options);
    output::Document document;
    {
        output::ScopedDocument scope(document);
        doc.Send(true, false, false);
    }
    setOutputOptions(saved);
    for (auto const& item : document.items()) {
        if (item.kind == output::ItemKind::Message)
            r.error += item.text + "\n";
        if (item.kind == output::ItemKind::Chart && item.payload)
            for (auto const& f : (*item.payload)["files"])
                r.output += (std::filesystem::path(outDir) / f.get<std::string>()).string() + "\n";
    }
    return r;
}

}  // namespace host::chart
