#pragma once
// The rows of a JSON chart: inline values, or a CSV or JSON file named by a URL, as JSON objects;
// and the grouping and time units that the chart asks of them.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace host::vizjson {

using Rows = std::vector<nlohmann::json>;

// The rows of a "data" object. Problems (an unreadable file, a URL that is no local file, a
// format outside the subset) are added to `warnings`, and give no rows.
Rows loadRows(nlohmann::json const& data, std::string const& folder,
              std::vector<std::string>& warnings);

// Rows from CSV text with a header line: numbers where a cell is one, else text.
Rows parseCsv(std::string const& text);

// A field's value in a row; "a.b" reaches into nested objects, "a\\.b" is a dotted name.
nlohmann::json fieldValue(nlohmann::json const& row, std::string const& field);

// A date or time text (ISO 8601 date, date and time) or a number of milliseconds since 1970, cut
// to a time unit: "year" 2021, "month" "Mar", "yearmonth" "2021-03", "date" "2021-03-05", ...
// Null when the value is no date or the unit is unknown.
nlohmann::json timeUnitValue(nlohmann::json const& value, std::string const& unit);

// The order of the texts a time unit gives, when their alphabetical order is wrong (months and
// days of the week); empty otherwise.
std::vector<std::string> timeUnitOrder(std::string const& unit);

}  // namespace host::vizjson
