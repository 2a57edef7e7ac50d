#include "host/chart/chart_data_output.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>

#include <fmt/format.h>

#include "platform/var_data_processor.h"

namespace host::chart {
namespace {

using CellKind = VarDataProcessor::CellKind;

nlohmann::json inlineRows(VarDataProcessor const& data, std::string const& source,
                          std::size_t columns) {
    nlohmann::json rows = nlohmann::json::array();
    unsigned const n = data.GetRowCount(source);
    for (unsigned r = 0; r < n; ++r) {
        nlohmann::json row = nlohmann::json::array();
        for (int c = 0; c < static_cast<int>(columns); ++c) {
            switch (data.GetCellKind(source, c, r)) {
                case CellKind::Missing:
                    row.push_back(nullptr);
                    break;
                case CellKind::Text:
                    row.push_back(data.GetText(source, c, r));
                    break;
                case CellKind::Number: {
                    double const v = data.GetNumber(source, c, r);
                    if (std::isfinite(v))
                        row.push_back(v);
                    else
                        row.push_back(nullptr);
                    break;
                }
            }
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

void appendCsvField(fmt::memory_buffer& line, std::string const& text) {
    bool const quote = text.empty() || text.find_first_of(",\"\r\n") != std::string::npos ||
                       text.front() == ' ' || text.back() == ' ';
    if (!quote) {
        line.append(text);
        return;
    }
    line.push_back('"');
    for (char c : text) {
        if (c == '"')
            line.push_back('"');
        line.push_back(c);
    }
    line.push_back('"');
}

// The shortest text that reads back as the same double; nothing for a value that is not finite.
void appendNumber(fmt::memory_buffer& line, double value) {
    if (!std::isfinite(value))
        return;
    char text[32];
    auto const end = std::to_chars(text, text + sizeof text, value).ptr;
    line.append(text, end);
}

// A name for the source's file that no other source of the chart has taken.
std::string uniqueFileName(DataFiles const& where, std::string const& source,
                           std::set<std::string>& taken) {
    std::string const base = where.stem + "-" + fileSafeName(source);
    std::string name = base + ".csv";
    for (int n = 2; !taken.insert(name).second; ++n) name = fmt::format("{}-{}.csv", base, n);
    return name;
}

}  // namespace

std::string fileSafeName(std::string const& name) {
    std::string out;
    for (char c : name) {
        bool const keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_';
        out.push_back(keep ? c : '_');
        if (out.size() == 48)
            break;
    }
    return out.empty() ? "data" : out;
}

bool writeSourceCsv(VarDataProcessor const& data, std::string const& source,
                    std::filesystem::path const& path, std::string& error) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = "could not write " + path.string() + ": " + std::strerror(errno);
        return false;
    }
    auto const names = data.GetVariableNames(source);
    int const columns = static_cast<int>(names.size());
    fmt::memory_buffer buffer;
    for (int c = 0; c < columns; ++c) {
        if (c > 0)
            buffer.push_back(',');
        appendCsvField(buffer, names[static_cast<std::size_t>(c)]);
    }
    buffer.push_back('\n');
    bool ok = true;
    unsigned const n = data.GetRowCount(source);
    for (unsigned r = 0; r < n && ok; ++r) {
        for (int c = 0; c < columns; ++c) {
            if (c > 0)
                buffer.push_back(',');
            switch (data.GetCellKind(source, c, r)) {
                case CellKind::Missing:
                    break;
                case CellKind::Text:
                    appendCsvField(buffer, data.GetText(source, c, r));
                    break;
                case CellKind::Number:
                    appendNumber(buffer, data.GetNumber(source, c, r));
                    break;
            }
        }
        buffer.push_back('\n');
        if (buffer.size() >= (1u << 16) || r + 1 == n) {
            ok = std::fwrite(buffer.data(), 1, buffer.size(), file) == buffer.size();
            buffer.clear();
        }
    }
    if (ok && buffer.size() > 0)
        ok = std::fwrite(buffer.data(), 1, buffer.size(), file) == buffer.size();
    int const writeErrno = errno;
    if (std::fclose(file) != 0 && ok) {
        ok = false;
        error = "could not write " + path.string() + ": " + std::strerror(errno);
    } else if (!ok) {
        error = "could not write " + path.string() + ": " + std::strerror(writeErrno);
    }
    if (!ok)
        std::remove(path.c_str());
    return ok;
}

ChartData chartData(VarDataProcessor const* data, DataFiles const& where) {
    ChartData out;
    if (!data)
        return out;
    std::vector<std::string> sources;
    data->GetSourceNames(sources);
    std::set<std::string> taken;
    for (auto const& source : sources) {
        auto const names = data->GetVariableNames(source);
        unsigned const rows = data->GetRowCount(source);
        nlohmann::json entry = {{"columns", names}};
        if (where.folder.empty() || rows <= where.inlineRows) {
            entry["rows"] = inlineRows(*data, source, names.size());
        } else {
            entry["rowCount"] = rows;
            std::string const name = uniqueFileName(where, source, taken);
            std::string error;
            if (writeSourceCsv(*data, source, where.folder / name, error)) {
                entry["file"] = where.prefix + name;
                out.files.push_back(where.prefix + name);
            } else {
                out.problems.push_back(error);
            }
        }
        out.json[source] = std::move(entry);
    }
    return out;
}

}  // namespace host::chart
