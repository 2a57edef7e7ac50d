#pragma once
// The server's TabSeparated answers: rows of fields with backslash escapes, \N for NULL, and
// arrays of numbers as [a,b,c].
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::clickhouse {

// Walks the lines of an answer and splits each into its fields (still escaped).
class TsvReader {
public:
    explicit TsvReader(std::string_view body) : rest_(body) {}
    // False at the end of the answer.
    bool next(std::vector<std::string_view>& fields);

private:
    std::string_view rest_;
};

bool isNull(std::string_view field);
// The field's text with its escapes resolved.
std::string unescape(std::string_view field);
// A number as the server writes it (inf, -inf and nan included); nullopt for NULL or a field
// that is no number.
std::optional<double> number(std::string_view field);
// [1,2.5,-3]; false when the field is no such array.
bool numberArray(std::string_view field, std::vector<double>& out);

}  // namespace host::clickhouse
