#include "host/chart/chart_cli.h"

#include <filesystem>

#include <nlohmann/json.hpp>

#include "host/chart/chart_send.h"
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

CliResult renderChart(std::string const& xml, std::string const& rowsJson,
                      std::string const& outDir, std::string const& formats) {
    CliResult r;
    XDocument doc(xml);
    if (!doc.implementationExists()) {
        r.exitCode = 1;
        r.error = doc.errorText() + "\n";
        return r;
    }
    VarDataProcessor rows;
    if (!rowsJson.empty()) {
        auto json = nlohmann::json::parse(rowsJson, nullptr, false);
        if (json.is_discarded() || !json.is_object()) {
            r.exitCode = 1;
            r.error = "the rows file is not a JSON object of sources\n";
            return r;
        }
        for (auto const& [source, table] : json.items()) {
            if (!table.contains("columns") || !table.contains("rows") ||
                !table["columns"].is_array() || !table["rows"].is_array()) {
                r.exitCode = 1;
                r.error = "source '" + source + "' of the rows file needs columns and rows\n";
                return r;
            }
            auto const& columns = table["columns"];
            rows.AddDataSource(source, static_cast<unsigned>(table["rows"].size()));
            for (auto const& c : columns) rows.AddVariable(source, c.get<std::string>(), nullptr);
            unsigned row = 0;
            for (auto const& values : table["rows"]) {
                for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
                    auto const& name = columns[i].get_ref<std::string const&>();
                    if (values[i].is_number())
                        rows.SetVariableValue(source, name, row, values[i].get<double>());
                    else if (values[i].is_string())
                        rows.SetStringVariableValue(source, name, row,
                                                    values[i].get<std::string>());
                }
                ++row;
            }
        }
        doc.SetChartData(&rows);
    }
    OutputOptions options;
    options.folder = outDir;
    options.svg = formats.find("svg") != std::string::npos;
    options.png = formats.find("png") != std::string::npos;
    options.pdf = formats.find("pdf") != std::string::npos;
    options.xml = false;
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
