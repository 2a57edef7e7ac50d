#include "host/chart/stats/point_layout.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace host::chart::stats {

std::vector<double> jitterOffsets(std::size_t count, double half, std::uint64_t seed) {
    std::vector<double> out(count);
    std::uint64_t state = seed * 0x9E3779B97F4A7C15ULL + 1;
    for (auto& v : out) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        double unit = static_cast<double>(state >> 11) / 9007199254740992.0;  // [0, 1)
        v = (2 * unit - 1) * half;
    }
    return out;
}

std::vector<DotStack> dotStacks(std::vector<double> const& values,
                                std::vector<double> const& weights, double width) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](auto a, auto b) { return values[a] < values[b]; });
    std::vector<DotStack> stacks;
    double start = 0, sum = 0;
    for (auto i : order) {
        double w = weights.empty() ? 1.0 : weights[i];
        if (stacks.empty() || values[i] - start > width) {
            if (!stacks.empty())
                stacks.back().centre = sum / stacks.back().weight;
            stacks.emplace_back();
            start = values[i];
            sum = 0;
        }
        stacks.back().members.push_back(i);
        stacks.back().weight += w;
        sum += w * values[i];
    }
    if (!stacks.empty())
        stacks.back().centre = sum / stacks.back().weight;
    return stacks;
}

double stackOffset(std::size_t k, std::size_t count, bool symmetric) {
    double base = static_cast<double>(k) + 0.5;
    return symmetric ? base - static_cast<double>(count) / 2 : base;
}

std::vector<HexCell> hexBins(std::vector<double> const& x, std::vector<double> const& y,
                             std::vector<double> const& weights, double width, double height) {
    // Two rectangular lattices, the second shifted by half a cell each way; a point belongs to
    // the nearer of the two centres it falls between.
    // In units where the hexagon is regular and one wide, the centres form two rectangular
    // lattices, (i, j sqrt 3) and (i + 1/2, (j + 1/2) sqrt 3); a point belongs to the nearer
    // of the two candidate centres.
    std::map<std::pair<long long, long long>, HexCell> cells;
    double const s3 = std::sqrt(3.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        double u = x[i] / width, t = y[i] / height / s3;
        double ax = std::round(u), ay = std::round(t / s3);
        double bx = std::floor(u) + 0.5, by = std::floor(t / s3) + 0.5;
        double da = (u - ax) * (u - ax) + (t - ay * s3) * (t - ay * s3);
        double db = (u - bx) * (u - bx) + (t - by * s3) * (t - by * s3);
        double cx = da <= db ? ax : bx, cy = da <= db ? ay : by;
        auto& cell = cells[{std::llround(cx * 2), std::llround(cy * 2)}];
        cell.x = cx * width;
        cell.y = cy * 3 * height;
        cell.weight += weights.empty() ? 1.0 : weights[i];
    }
    std::vector<HexCell> out;
    out.reserve(cells.size());
    for (auto const& [key, cell] : cells) out.push_back(cell);
    return out;
}

std::vector<std::pair<double, double>> hexCorners(double x, double y, double width, double height) {
    double hw = width / 2, hh = height;  // height: from the centre to the top corner
    return {{x, y + hh}, {x + hw, y + hh / 2}, {x + hw, y - hh / 2},
            {x, y - hh}, {x - hw, y - hh / 2}, {x - hw, y + hh / 2}};
}

std::vector<double> cumulative(std::vector<double> const& values, bool percent) {
    std::vector<double> out(values.size());
    double run = 0;
    for (std::size_t i = 0; i < values.size(); ++i) out[i] = run += values[i];
    if (percent && run != 0)
        for (auto& v : out) v = v / run * 100;
    return out;
}

}  // namespace host::chart::stats
