#pragma once
// The labels of an axis's ticks: categories by their labels, numbers in the variable's format
// with the decimals their step needs.

#include <string>
#include <vector>

#include "host/chart/layer/layer.h"
#include "host/chart/scales/scales.h"

namespace host::chart {

struct TickText {
    std::string text;
    double value = 0;  // the number, or the index of a category
    std::string key;   // the category's key
};

std::vector<TickText> tickTexts(int dim, Scales const& scales, Layers const& layers);

// A value of dimension 2 as a data label shows it: in the variable's format (counts as whole
// numbers, percentages with a % sign and one decimal at most), else with at most two decimals.
std::string valueText(double value, Layers const& layers);

}  // namespace host::chart
