#include "host/vizjson/json_rows.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include <fmt/format.h>

#include "host/files/file_io.h"

namespace host::vizjson {

using nlohmann::json;

namespace {

bool endsWith(std::string const& s, std::string const& tail) {
    if (s.size() < tail.size())
        return false;
    for (std::size_t i = 0; i < tail.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(s[s.size() - tail.size() + i])) != tail[i])
            return false;
    return true;
}

std::vector<std::string> splitCsvLine(std::string const& text, std::size_t& pos) {
    std::vector<std::string> cells(1);
    bool quoted = false;
    while (pos < text.size()) {
        char c = text[pos++];
        if (quoted) {
            if (c == '"' && pos < text.size() && text[pos] == '"')
                cells.back() += '"', ++pos;
            else if (c == '"')
                quoted = false;
            else
                cells.back() += c;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            cells.emplace_back();
        } else if (c == '\n') {
            break;
        } else if (c != '\r') {
            cells.back() += c;
        }
    }
    return cells;
}

json cellValue(std::string const& s) {
    if (s.empty())
        return nullptr;
    double v = 0;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec == std::errc() && end == s.data() + s.size() && std::isfinite(v))
        return v;
    return s;
}

}  // namespace

Rows parseCsv(std::string const& text) {
    Rows rows;
    std::size_t pos = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    std::vector<std::string> header = splitCsvLine(text, pos);
    while (pos < text.size()) {
        auto cells = splitCsvLine(text, pos);
        if (cells.size() == 1 && cells[0].empty())
            continue;
        json row = json::object();
        for (std::size_t c = 0; c < header.size(); ++c)
            row[header[c]] = c < cells.size() ? cellValue(cells[c]) : json(nullptr);
        rows.push_back(std::move(row));
    }
    return rows;
}

Rows loadRows(json const& data, std::string const& folder, std::vector<std::string>& warnings) {
    Rows rows;
    if (!data.is_object())
        return rows;
    json const* array = nullptr;
    json parsed;
    if (data.contains("values")) {
        array = &data["values"];
    } else if (data.contains("url") && data["url"].is_string()) {
        std::string const url = data["url"].get<std::string>();
        if (url.find("://") != std::string::npos) {
            warnings.push_back(
                fmt::format("data.url \"{}\" is not a local file; only files are read", url));
            return rows;
        }
        std::filesystem::path path = url;
        if (path.is_relative())
            path = std::filesystem::path(folder) / path;
        auto read = files::readFile(path.lexically_normal());
        if (!read.ok) {
            warnings.push_back(fmt::format("data.url \"{}\" cannot be read", url));
            return rows;
        }
        std::string type;
        if (data.contains("format") && data["format"].contains("type") &&
            data["format"]["type"].is_string())
            type = data["format"]["type"].get<std::string>();
        if (type.empty())
            type = endsWith(url, ".csv") ? "csv" : "json";
        if (type == "csv")
            return parseCsv(read.bytes);
        if (type != "json") {
            warnings.push_back(
                fmt::format("data format \"{}\" is not supported; only csv and json", type));
            return rows;
        }
        parsed = json::parse(read.bytes, nullptr, false);
        if (parsed.is_discarded()) {
            warnings.push_back(fmt::format("data.url \"{}\" is not JSON", url));
            return rows;
        }
        array = &parsed;
    } else if (data.contains("name")) {
        warnings.push_back("named data sets are not supported; give data.values or data.url");
        return rows;
    }
    if (array && data.contains("format") && data["format"].contains("property") &&
        data["format"]["property"].is_string() && array->is_object())
        array = array->contains(data["format"]["property"].get<std::string>())
                    ? &(*array)[data["format"]["property"].get<std::string>()]
                    : nullptr;
    if (!array || !array->is_array()) {
        warnings.push_back("the data is not a list of rows");
        return rows;
    }
    for (auto const& r : *array) rows.push_back(r.is_object() ? r : json{{"data", r}});
    return rows;
}

json fieldValue(json const& row, std::string const& field) {
    json const* at = &row;
    std::string part;
    auto step = [&]() -> bool {
        if (!at->is_object() || !at->contains(part))
            return false;
        at = &(*at)[part];
        part.clear();
        return true;
    };
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 1 < field.size())
            part += field[++i];
        else if (field[i] == '.') {
            if (!step())
                return nullptr;
        } else
            part += field[i];
    }
    return step() ? *at : json(nullptr);
}

json timeUnitValue(json const& value, std::string const& unit) {
    int year = 0, month = 1, day = 1, hour = 0, minute = 0;
    if (value.is_number()) {
        std::time_t t = static_cast<std::time_t>(value.get<double>() / 1000);
        std::tm tm{};
        gmtime_r(&t, &tm);
        year = tm.tm_year + 1900, month = tm.tm_mon + 1, day = tm.tm_mday;
        hour = tm.tm_hour, minute = tm.tm_min;
    } else if (value.is_string()) {
        std::string const s = value.get<std::string>();
        int n = std::sscanf(s.c_str(), "%d-%d-%d%*[T ]%d:%d", &year, &month, &day, &hour, &minute);
        if (n < 1)
            return nullptr;
        if (n == 1 && s.find('-') == std::string::npos && s.size() > 4)
            return nullptr;
    } else {
        return nullptr;
    }
    if (month < 1 || month > 12 || day < 1 || day > 31)
        return nullptr;
    static char const* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    static char const* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    if (unit == "year")
        return year;
    if (unit == "quarter")
        return fmt::format("Q{}", (month - 1) / 3 + 1);
    if (unit == "yearquarter")
        return fmt::format("{} Q{}", year, (month - 1) / 3 + 1);
    if (unit == "month")
        return months[month - 1];
    if (unit == "yearmonth")
        return fmt::format("{:04}-{:02}", year, month);
    if (unit == "date")
        return day;
    if (unit == "yearmonthdate")
        return fmt::format("{:04}-{:02}-{:02}", year, month, day);
    if (unit == "day") {
        std::tm tm{};
        tm.tm_year = year - 1900, tm.tm_mon = month - 1, tm.tm_mday = day, tm.tm_hour = 12;
        timegm(&tm);
        return days[tm.tm_wday];
    }
    if (unit == "hours")
        return hour;
    if (unit == "minutes")
        return minute;
    return nullptr;
}

std::vector<std::string> timeUnitOrder(std::string const& unit) {
    if (unit == "month")
        return {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    if (unit == "day")
        return {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return {};
}

}  // namespace host::vizjson
