#pragma once
// The generated and derived variables of DATA and TRANS besides eval: a sequence of numbers
// (iter), the row number (index) and small categories folded into one (collapse).

#include <cstddef>
#include <string>
#include <vector>

namespace host::chart::transform {

// The numbers from, from + step, ... up to `to` (included when reached within rounding).
// Returns false with `error` for a step of 0, a step that walks away from `to`, or a
// sequence longer than `maxCount`.
bool iterate(double from, double to, double step, std::vector<double>& out, std::string& error,
             std::size_t maxCount = 10'000'000);

// 1, 2, ..., rows.
std::vector<double> rowIndex(std::size_t rows);

// Categories whose share of the total is below `minimumPercent` become `otherValue`. The share
// is of the sum of `sums` (the sumVariable) when given, otherwise of the count of rows; rows
// flagged in `missing` keep their value and count for nothing.
struct CollapseOptions {
    double minimumPercent = 5;
    std::string otherValue = "Other";
};
std::vector<std::string> collapse(std::vector<std::string> const& categories,
                                  std::vector<char> const& missing, std::vector<double> const* sums,
                                  CollapseOptions const& options);

}  // namespace host::chart::transform
