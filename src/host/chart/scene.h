#pragma once
// The scene: drawing primitives in page coordinates (pixels, y down), with the role each plays
// so that tests can find bars, ticks and legend entries without reading pixels.

#include <string>
#include <vector>

namespace host::chart {

struct Color {
    double r = 0, g = 0, b = 0, a = 1;  // 0..1
    std::string hex() const;
};

struct Point {
    double x = 0, y = 0;
};

struct Primitive {
    enum class Kind { Rect, Polyline, Polygon, Circle, Text };
    Kind kind = Kind::Rect;
    std::string role;  // "bar", "point", "line", "area", "tick-x", "tick-label-y", "legend", ...
    // Rect: x, y, w, h. Circle: centre x, y and radius w. Text: anchor point x, y.
    double x = 0, y = 0, w = 0, h = 0;
    std::vector<Point> points;  // Polyline, Polygon
    // Polygon: where each ring after the first begins in `points`; rings are filled even-odd, so
    // a ring inside another is a hole.
    std::vector<std::size_t> ringStarts;
    Color fill{0, 0, 0, 0};
    Color stroke{0, 0, 0, 0};
    double strokeWidth = 0;
    std::vector<double> dash;
    // Text.
    std::string text;
    double fontSize = 12;
    bool bold = false;
    int anchor = 0;    // -1 start, 0 middle, 1 end
    double angle = 0;  // degrees, clockwise
    // What the primitive stands for, for tests: category, group and value.
    std::string category;
    std::string group;
    double value = 0;
    double value2 = 0;  // the other end of an interval, a box or a slice's start angle
};

struct Scene {
    double width = 640;
    double height = 480;
    std::vector<Primitive> items;
    std::vector<std::string> warnings;

    std::vector<Primitive const*> withRole(std::string const& role) const;
};

}  // namespace host::chart
