#pragma once
// Where points go when they would cover each other: jitter, the stacks of a dot plot, and
// hexagonal bins; and the running totals of cumulative summaries.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace host::chart::stats {

// Offsets in [-half, half] for `count` points, the same for the same seed on every run and
// every machine (a 64-bit linear congruential sequence, not the library's generators).
std::vector<double> jitterOffsets(std::size_t count, double half, std::uint64_t seed = 1);

// Dot-plot stacks by the dot-density rule: values sorted, a stack starts at the smallest value
// not yet placed and takes every value within `width` of it; the stack sits at the mean of its
// values. `members` holds, for each stack, the indices of its values in sorted order.
struct DotStack {
    double centre = 0;
    double weight = 0;
    std::vector<std::size_t> members;
};
std::vector<DotStack> dotStacks(std::vector<double> const& values,
                                std::vector<double> const& weights, double width);

// The position of the k-th of `count` dots in a stack, in dot diameters from the base:
// `symmetric` centres the stack on its axis (point.dodge.symmetric), otherwise it grows from 0
// (point.stack).
double stackOffset(std::size_t k, std::size_t count, bool symmetric);

// Hexagonal bins with pointy tops: `width` between the flat sides, `height` from the centre to
// the top corner (each in its axis' units; a regular hexagon on screen when they are in the
// ratio sqrt 3 of the axes' scales). Cells with their centre and the weight of their cases.
struct HexCell {
    double x = 0, y = 0;
    double weight = 0;
};
std::vector<HexCell> hexBins(std::vector<double> const& x, std::vector<double> const& y,
                             std::vector<double> const& weights, double width, double height);
// The six corners of the hexagon around (x, y) for the same width and height.
std::vector<std::pair<double, double>> hexCorners(double x, double y, double width, double height);

// Running totals in the given order; `percent` as percentages of the grand total.
std::vector<double> cumulative(std::vector<double> const& values, bool percent);

}  // namespace host::chart::stats
