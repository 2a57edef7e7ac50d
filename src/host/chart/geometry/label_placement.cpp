#include "host/chart/geometry/label_placement.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

namespace host::chart {

namespace {

// Boxes and discs filed by the grid cells they touch, so that a test looks at its neighbours
// only.
class Grid {
public:
    explicit Grid(double cell) : cell_(cell) {}

    template <typename Visit>
    void cells(Rect const& b, Visit visit) const {
        auto lo = [&](double v) { return static_cast<std::int64_t>(std::floor(v / cell_)); };
        for (std::int64_t gx = lo(b.x); gx <= lo(b.x + b.w); ++gx)
            for (std::int64_t gy = lo(b.y); gy <= lo(b.y + b.h); ++gy) visit(gx, gy);
    }
    void add(Rect const& b, std::uint32_t item) {
        cells(b, [&](std::int64_t gx, std::int64_t gy) { items_[key(gx, gy)].push_back(item); });
    }
    template <typename Test>
    bool any(Rect const& b, Test test) const {
        bool hit = false;
        cells(b, [&](std::int64_t gx, std::int64_t gy) {
            if (hit)
                return;
            auto it = items_.find(key(gx, gy));
            if (it != items_.end())
                hit = std::any_of(it->second.begin(), it->second.end(), test);
        });
        return hit;
    }

private:
    static std::uint64_t key(std::int64_t gx, std::int64_t gy) {
        return (std::uint64_t(gx) << 32) ^ (std::uint64_t(gy) & 0xffffffffu);
    }
    double cell_;
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> items_;
};

bool overlaps(Rect const& a, Rect const& b) {
    return a.x < b.x + b.w && b.x < a.x + a.w && a.y < b.y + b.h && b.y < a.y + a.h;
}

bool covers(Rect const& b, PointDisc const& p) {
    double dx = p.x - std::clamp(p.x, b.x, b.x + b.w);
    double dy = p.y - std::clamp(p.y, b.y, b.y + b.h);
    return dx * dx + dy * dy < p.r * p.r;
}

bool inside(Rect const& b, Rect const& bounds) {
    return b.x >= bounds.x && b.y >= bounds.y && b.x + b.w <= bounds.x + bounds.w &&
           b.y + b.h <= bounds.y + bounds.h;
}

// The places around a point, in the order they are tried: right, above right, below right,
// above, below, left, above left, below left.
std::vector<Rect> candidates(PointDisc const& p, double w, double h) {
    constexpr double gap = 2;
    double d = p.r * 0.7071 + 1;  // the corner places touch the circle at 45 degrees
    double right = p.x + p.r + gap, left = p.x - p.r - gap - w;
    return {{right, p.y - h / 2, w, h},
            {p.x + d, p.y - d - h, w, h},
            {p.x + d, p.y + d, w, h},
            {p.x - w / 2, p.y - p.r - gap - h, w, h},
            {p.x - w / 2, p.y + p.r + gap, w, h},
            {left, p.y - h / 2, w, h},
            {p.x - d - w, p.y - d - h, w, h},
            {p.x - d - w, p.y + d, w, h}};
}

}  // namespace

std::vector<std::optional<Rect>> placeLabels(std::vector<PointDisc> const& points,
                                             std::vector<LabelRequest> const& labels,
                                             Rect const& bounds) {
    std::vector<std::optional<Rect>> out(labels.size());
    double tallest = 1;
    for (auto const& l : labels) tallest = std::max(tallest, l.h);
    Grid discs(tallest * 2), placed(tallest * 2);
    // Only points that reach into the bounds can be in a label's way; the others (off the
    // plot, or not finite) are never filed, so the grid stays small.
    for (std::size_t i = 0; i < points.size(); ++i) {
        auto const& p = points[i];
        Rect box{p.x - p.r, p.y - p.r, 2 * p.r, 2 * p.r};
        if (std::isfinite(box.x + box.y + box.w) && overlaps(box, bounds))
            discs.add(box, static_cast<std::uint32_t>(i));
    }
    // The places of each label that no point takes; the labels with the fewest go first, so
    // that a crowded point gets its one free place before a neighbour with more choice does.
    std::vector<std::vector<Rect>> free(labels.size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        auto const& l = labels[i];
        for (Rect const& c : candidates(points[l.point], l.w, l.h))
            if (inside(c, bounds) && !discs.any(c, [&](std::uint32_t k) {
                    return k != l.point && covers(c, points[k]);
                }))
                free[i].push_back(c);
    }
    std::vector<std::size_t> order(labels.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return free[a].size() < free[b].size(); });
    for (std::size_t i : order) {
        for (Rect const& c : free[i]) {
            // Neighbouring labels keep a little gap, so that they do not read as one.
            Rect const near{c.x - 2, c.y, c.w + 4, c.h};
            if (placed.any(near, [&](std::uint32_t k) { return overlaps(near, *out[k]); }))
                continue;
            out[i] = c;
            placed.add(c, static_cast<std::uint32_t>(i));
            break;
        }
    }
    return out;
}

}  // namespace host::chart
