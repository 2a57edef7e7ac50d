#include "host/chart/stats/links.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace host::chart::stats {

namespace {

double cross(XY const& o, XY const& a, XY const& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

}  // namespace

std::vector<XY> convexHull(std::vector<XY> points) {
    std::sort(points.begin(), points.end(),
              [](XY const& a, XY const& b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
    points.erase(std::unique(points.begin(), points.end(),
                             [](XY const& a, XY const& b) { return a.x == b.x && a.y == b.y; }),
                 points.end());
    if (points.size() < 3)
        return points;
    // Andrew's monotone chain: the lower hull left to right, then the upper right to left.
    std::vector<XY> hull(2 * points.size());
    std::size_t k = 0;
    for (auto const& p : points) {
        while (k >= 2 && cross(hull[k - 2], hull[k - 1], p) <= 0) --k;
        hull[k++] = p;
    }
    for (std::size_t i = points.size() - 1, lower = k + 1; i-- > 0;) {
        while (k >= lower && cross(hull[k - 2], hull[k - 1], points[i]) <= 0) --k;
        hull[k++] = points[i];
    }
    hull.resize(k - 1);  // the last point repeats the first
    return hull;
}

std::vector<Edge> minimumSpanningTree(std::vector<XY> const& points) {
    std::size_t n = points.size();
    std::vector<Edge> edges;
    if (n < 2)
        return edges;
    std::vector<double> best(n, std::numeric_limits<double>::infinity());
    std::vector<std::size_t> from(n, 0);
    std::vector<char> inTree(n, 0);
    std::size_t current = 0;
    inTree[0] = 1;
    for (std::size_t added = 1; added < n; ++added) {
        std::size_t next = n;
        for (std::size_t j = 0; j < n; ++j) {
            if (inTree[j])
                continue;
            double dx = points[j].x - points[current].x, dy = points[j].y - points[current].y;
            double d = dx * dx + dy * dy;
            if (d < best[j]) {
                best[j] = d;
                from[j] = current;
            }
            if (next == n || best[j] < best[next])
                next = j;
        }
        inTree[next] = 1;
        edges.emplace_back(from[next], next);
        current = next;
    }
    return edges;
}

std::vector<Edge> sequenceEdges(std::size_t count) {
    std::vector<Edge> edges;
    for (std::size_t i = 1; i < count; ++i) edges.emplace_back(i - 1, i);
    return edges;
}

std::vector<Edge> joinEdges(std::vector<double> const& keys) {
    std::vector<Edge> edges;
    std::unordered_map<double, std::size_t> last;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        auto [it, fresh] = last.try_emplace(keys[i], i);
        if (!fresh) {
            edges.emplace_back(it->second, i);
            it->second = i;
        }
    }
    return edges;
}

}  // namespace host::chart::stats
