#include "host/clickhouse/tsv.h"

#include <fast_float/fast_float.h>

#include <limits>

namespace host::clickhouse {

bool TsvReader::next(std::vector<std::string_view>& fields) {
    fields.clear();
    if (rest_.empty())
        return false;
    std::size_t const end = rest_.find('\n');
    std::string_view line = rest_.substr(0, end);
    rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
    // Tabs and newlines inside a field are escaped, so a raw tab always separates two fields.
    while (true) {
        std::size_t const tab = line.find('\t');
        fields.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos)
            break;
        line.remove_prefix(tab + 1);
    }
    return true;
}

bool isNull(std::string_view field) {
    return field == "\\N";
}

std::string unescape(std::string_view field) {
    std::string text;
    text.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        char c = field[i];
        if (c == '\\' && i + 1 < field.size()) {
            char const next = field[++i];
            switch (next) {
                case 't':
                    c = '\t';
                    break;
                case 'n':
                    c = '\n';
                    break;
                case 'r':
                    c = '\r';
                    break;
                case 'b':
                    c = '\b';
                    break;
                case 'f':
                    c = '\f';
                    break;
                case '0':
                    c = '\0';
                    break;
                default:
                    c = next;
                    break;
            }
        }
        text += c;
    }
    return text;
}

std::optional<double> number(std::string_view field) {
    if (field.empty() || isNull(field))
        return std::nullopt;
    if (field == "inf" || field == "+inf")
        return std::numeric_limits<double>::infinity();
    if (field == "-inf")
        return -std::numeric_limits<double>::infinity();
    if (field == "nan" || field == "-nan")
        return std::numeric_limits<double>::quiet_NaN();
    double value = 0.0;
    auto const [end, problem] =
        fast_float::from_chars(field.data(), field.data() + field.size(), value);
    if (problem != std::errc() || end != field.data() + field.size())
        return std::nullopt;
    return value;
}

bool numberArray(std::string_view field, std::vector<double>& out) {
    out.clear();
    if (field.size() < 2 || field.front() != '[' || field.back() != ']')
        return false;
    field = field.substr(1, field.size() - 2);
    while (!field.empty()) {
        std::size_t const comma = field.find(',');
        std::optional<double> const value = number(field.substr(0, comma));
        if (!value)
            return false;
        out.push_back(*value);
        if (comma == std::string_view::npos)
            break;
        field.remove_prefix(comma + 1);
    }
    return true;
}

}  // namespace host::clickhouse
