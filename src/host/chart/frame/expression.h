#pragma once
// The expressions of `TRANS: y = eval(...)`: arithmetic, powers, text joined with `+`,
// comparisons, and/or/not, a few functions and conditionals, evaluated a column at a time.
// A missing value makes its result missing, except where logic decides without it
// (false and missing is false, true or missing is true).

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace host::chart::transform {

// A column of numbers or of texts; `missing` flags each row.
struct ValueColumn {
    bool text = false;
    std::vector<double> numbers;
    std::vector<std::string> texts;
    std::vector<char> missing;

    std::size_t size() const { return missing.size(); }
    static ValueColumn numeric(std::vector<double> values);  // NaN stands for missing
};

struct ExprNode;

struct ParsedExpression {
    std::shared_ptr<ExprNode const> root;  // null when the text has an error
    std::string error;                     // "line 3, column 12: ..." of the GPL text
    std::vector<std::string> names;        // variables the expression reads
};

// Parses `text`, which starts at (line, column) of the GPL program.
ParsedExpression parseExpression(std::string_view text, int line = 1, int column = 1);

// The variables of the expression by name; null for a name that is not one.
using ColumnLookup = std::function<ValueColumn const*(std::string const& name)>;

// Evaluates over `rows` rows. Returns false with `error` when a name is unknown or a type
// does not fit (a text where a number is needed).
bool evaluate(ParsedExpression const& expr, ColumnLookup const& lookup, std::size_t rows,
              ValueColumn& out, std::string& error);

}  // namespace host::chart::transform
