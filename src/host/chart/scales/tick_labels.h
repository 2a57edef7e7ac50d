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

}  // namespace host::chart
