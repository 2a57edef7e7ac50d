#include "host/chart/scene/scene.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace host::chart {

namespace {

constexpr char const* kRoleNames[] = {
    "title",
    "subtitle",
    "subsubtitle",
    "footnote",
    "legend-title",
    "legend-swatch",
    "legend-label",
    "outer-frame",
    "inner-frame",
    "panel-label",
    "grid-1",
    "grid-2",
    "axis-1",
    "axis-2",
    "tick-1",
    "tick-2",
    "tick-label-1",
    "tick-label-2",
    "axis-title-1",
    "axis-title-2",
    "bar",
    "value-label",
    "errorbar",
    "errorbar-cap",
    "cell",
    "point",
    "point-label",
    "line",
    "path",
    "area",
    "polygon",
    "edge",
    "fit-label",
    "slice",
    "slice-label",
    "box",
    "whisker",
    "whisker-cap",
    "median",
    "outlier",
    "extreme",
    "outlier-label",
    "reference-line",
    "reference-label",
    "feature",
    "feature-no-data",
    "reference",
    "legend-gradient",
    "legend-tick",
    "wall",
    "bar-face",
    "grid-3",
    "axis-3",
    "tick-3",
    "tick-label-3",
    "axis-title-3",
    "texture",
};
static_assert(std::size(kRoleNames) == std::size_t(Role::Texture) + 1);

Role byDim(int dim, Role first, Role second, Role third) {
    return dim == 1 ? first : dim == 3 ? third : second;
}

}  // namespace

std::string Color::hex() const {
    auto c = [](double v) { return static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255)); };
    return fmt::format("#{:02X}{:02X}{:02X}", c(r), c(g), c(b));
}

char const* roleName(Role role) {
    return kRoleNames[static_cast<std::size_t>(role)];
}
Role gridRole(int dim) {
    return byDim(dim, Role::Grid1, Role::Grid2, Role::Grid3);
}
Role axisRole(int dim) {
    return byDim(dim, Role::Axis1, Role::Axis2, Role::Axis3);
}
Role tickRole(int dim) {
    return byDim(dim, Role::Tick1, Role::Tick2, Role::Tick3);
}
Role tickLabelRole(int dim) {
    return byDim(dim, Role::TickLabel1, Role::TickLabel2, Role::TickLabel3);
}
Role axisTitleRole(int dim) {
    return byDim(dim, Role::AxisTitle1, Role::AxisTitle2, Role::AxisTitle3);
}

std::vector<Point> markerOutline(MarkerShape shape, double px, double py, double r) {
    switch (shape) {
        case MarkerShape::Square:
            return {{px - r, py - r}, {px + r, py - r}, {px + r, py + r}, {px - r, py + r}};
        case MarkerShape::Triangle:
            return {{px, py - r * 1.2}, {px + r * 1.1, py + r * 0.8}, {px - r * 1.1, py + r * 0.8}};
        case MarkerShape::Diamond:
            return {{px, py - r * 1.3}, {px + r, py}, {px, py + r * 1.3}, {px - r, py}};
        case MarkerShape::Cross: {
            double q = r * 0.35;
            return {{px - q, py - r}, {px + q, py - r}, {px + q, py - q}, {px + r, py - q},
                    {px + r, py + q}, {px + q, py + q}, {px + q, py + r}, {px - q, py + r},
                    {px - q, py + q}, {px - r, py + q}, {px - r, py - q}, {px - q, py - q}};
        }
        case MarkerShape::Circle:
            break;
    }
    return {};
}

void Batch::reserve(std::size_t n) {
    x.reserve(n);
    y.reserve(n);
    if (kind == MarkKind::Rect) {
        w.reserve(n);
        h.reserve(n);
    }
}

void Batch::addRect(double px, double py, double pw, double ph) {
    x.push_back(px);
    y.push_back(py);
    w.push_back(pw);
    h.push_back(ph);
    ++count;
}

void Batch::addCircle(double px, double py, double r) {
    x.push_back(px);
    y.push_back(py);
    // Radii are kept once one differs from the style's; the first such circle may be the first.
    if (!w.empty() || r != style.size) {
        w.resize(count, style.size);
        w.push_back(r);
    }
    ++count;
}

void Batch::addText(double px, double py, std::string t) {
    x.push_back(px);
    y.push_back(py);
    text.push_back(std::move(t));
    ++count;
}

void Batch::addPath(std::vector<Point> const& pts) {
    start.push_back(static_cast<std::uint32_t>(points.size()));
    points.insert(points.end(), pts.begin(), pts.end());
    ++count;
}

void Batch::addRings(std::vector<std::vector<Point>> const& parts) {
    start.push_back(static_cast<std::uint32_t>(points.size()));
    bool first = true;
    for (auto const& ring : parts) {
        if (ring.empty())
            continue;
        if (!first)
            rings.push_back(static_cast<std::uint32_t>(points.size()));
        first = false;
        points.insert(points.end(), ring.begin(), ring.end());
    }
    ++count;
}

void Batch::addPath(Point a, Point b) {
    start.push_back(static_cast<std::uint32_t>(points.size()));
    points.push_back(a);
    points.push_back(b);
    ++count;
}

void Batch::setFill(Color const& c) {
    if (color.empty() && c == style.fill)
        return;
    if (color.empty()) {
        colors.push_back(style.fill);
        color.assign(count - 1, 0);
    }
    std::uint32_t index = 0;
    // Recent colours first: marks of one colour tend to come together.
    for (std::size_t k = colors.size(); k-- > 0;)
        if (colors[k] == c) {
            index = static_cast<std::uint32_t>(k);
            goto found;
        }
    colors.push_back(c);
    index = static_cast<std::uint32_t>(colors.size() - 1);
found:
    color.resize(count - 1, 0);
    color.push_back(index);
}

void Batch::setMeaning(std::int32_t cat, std::int32_t grp, double v, double v2) {
    auto put = [&](auto& array, auto value, auto none) {
        if (array.empty() && value == none)
            return;
        array.resize(count - 1, none);
        array.push_back(value);
    };
    put(category, cat, std::int32_t(-1));
    put(group, grp, std::int32_t(-1));
    put(value, v, 0.0);
    put(value2, v2, 0.0);
}

std::size_t Scene::markCount() const {
    std::size_t n = 0;
    for (auto const& b : batches) n += b.size();
    return n;
}

Batch& Scene::batch(MarkKind kind, Role role, Style const& style) {
    if (!batches.empty()) {
        Batch& last = batches.back();
        if (last.kind == kind && last.role == role && last.style == style)
            return last;
    }
    Batch& b = batches.emplace_back();
    b.kind = kind;
    b.role = role;
    b.style = style;
    return b;
}

std::int32_t Scene::key(std::string const& k) {
    if (k.empty())
        return -1;
    auto [it, fresh] = keyIndex_.try_emplace(k, static_cast<std::int32_t>(keys.size()));
    if (fresh)
        keys.push_back(k);
    return it->second;
}

}  // namespace host::chart
