#pragma once
// The scene: what the renderers draw, in page coordinates (pixels, y down). Marks come in
// batches: one kind of mark and one role per batch, the shared style once, and what varies
// from mark to mark as arrays, so that a million points are a few arrays and not a million
// objects. What a mark stands for (category, group, value) is kept for tests and tools, as
// indices into the scene's key table.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace host::chart {

struct Color {
    double r = 0, g = 0, b = 0, a = 1;  // 0..1
    std::string hex() const;
    bool operator==(Color const&) const = default;
};

struct Point {
    double x = 0, y = 0;
};

// What a batch plays in the chart. Each role is written as the class of its SVG elements.
enum class Role : std::uint8_t {
    Title,
    Subtitle,
    Subsubtitle,
    Footnote,
    LegendTitle,
    LegendSwatch,
    LegendLabel,
    OuterFrame,
    InnerFrame,
    PanelLabel,
    Grid1,
    Grid2,
    Axis1,
    Axis2,
    Tick1,
    Tick2,
    TickLabel1,
    TickLabel2,
    AxisTitle1,
    AxisTitle2,
    Bar,
    ValueLabel,
    ErrorBar,
    ErrorBarCap,
    Cell,
    Point,
    PointLabel,  // the text of a point's label aesthetic, beside it
    Line,
    Path,
    Area,
    Polygon,
    Edge,
    FitLabel,
    Slice,
    SliceLabel,
    Box,
    Whisker,
    WhiskerCap,
    Median,
    Outlier,
    Extreme,
    OutlierLabel,
    ReferenceLine,
    ReferenceLabel,
    Feature,         // a map feature coloured by its data
    FeatureNoData,   // a map feature that no row names, in grey
    MapReference,    // a feature of a reference map, behind the data
    LegendGradient,  // a slice of a gradient bar
    LegendTick,
    Wall,     // a wall behind the data of three dimensions
    BarFace,  // the top or side of a bar in three dimensions
    Grid3,
    Axis3,
    Tick3,
    TickLabel3,
    AxisTitle3,
    Texture,  // the hatching of a textured bar or legend swatch
};

char const* roleName(Role role);
// The role of a guide of dimension 1, 2 or 3.
Role gridRole(int dim);
Role axisRole(int dim);
Role tickRole(int dim);
Role tickLabelRole(int dim);
Role axisTitleRole(int dim);

enum class MarkKind : std::uint8_t { Rect, Circle, Marker, Polyline, Polygon, Text };
enum class MarkerShape : std::uint8_t { Circle, Square, Triangle, Diamond, Cross };

// What all marks of a batch share.
struct Style {
    Color fill{0, 0, 0, 0};
    Color stroke{0, 0, 0, 0};
    double strokeWidth = 0;
    std::vector<double> dash;
    MarkerShape shape = MarkerShape::Circle;
    double size = 0;  // the radius of circles and markers that have none of their own
    double fontSize = 12;
    bool bold = false;
    int anchor = 0;    // texts: -1 start, 0 middle, 1 end
    double angle = 0;  // texts: degrees, clockwise

    bool operator==(Style const&) const = default;
};

// The outline of a marker of radius `r` centred on (x, y).
std::vector<Point> markerOutline(MarkerShape shape, double x, double y, double r);

// A batch of at least this many marks goes into an SVG or PDF as one picture of its marks, so
// that the file stays small; axes and text stay vector.
constexpr std::size_t kPictureMarks = 10000;

struct Batch {
    MarkKind kind = MarkKind::Rect;
    Role role = Role::Bar;
    Style style;

    // Per mark. Rect: x, y, w, h. Circle and Marker: the centre x, y, and the radius w (empty:
    // style.size for all). Text: the anchor point x, y and `text`. Polyline and Polygon: the
    // points of mark i are points[start[i]] up to points[start[i + 1]] (or the end).
    std::vector<double> x, y, w, h;
    std::vector<std::uint32_t> start;
    std::vector<Point> points;
    // Polygon: where a further ring of a mark begins in `points`, in increasing order. A batch
    // with rings is filled even-odd, so a ring inside another is a hole.
    std::vector<std::uint32_t> rings;
    std::vector<std::string> text;
    // Fill colours that differ between marks: `color[i]` indexes `colors`.
    std::vector<Color> colors;
    std::vector<std::uint32_t> color;
    // What each mark stands for: indices into Scene::keys (-1: nothing) and values.
    std::vector<std::int32_t> category, group;
    std::vector<double> value, value2;

    std::size_t size() const { return count; }
    std::size_t count = 0;

    // Adding marks; the other arrays are filled with their defaults as they come into use.
    void addRect(double x, double y, double w, double h);
    void addCircle(double x, double y, double r);
    void addText(double x, double y, std::string text);
    void addPath(std::vector<Point> const& pts);
    void addPath(Point a, Point b);
    // A polygon of several rings: an outline, its holes, further parts.
    void addRings(std::vector<std::vector<Point>> const& rings);
    // Of the mark just added.
    void setFill(Color const& c);
    void setMeaning(std::int32_t category, std::int32_t group, double value, double value2 = 0);
    void reserve(std::size_t n);

    // Arrays shorter than the batch hold the default for the marks past their end.
    Color fillAt(std::size_t i) const { return i < color.size() ? colors[color[i]] : style.fill; }
    std::int32_t categoryAt(std::size_t i) const { return i < category.size() ? category[i] : -1; }
    std::int32_t groupAt(std::size_t i) const { return i < group.size() ? group[i] : -1; }
    double valueAt(std::size_t i) const { return i < value.size() ? value[i] : 0; }
    double value2At(std::size_t i) const { return i < value2.size() ? value2[i] : 0; }
    double radiusAt(std::size_t i) const { return w.empty() ? style.size : w[i]; }
    std::size_t pointsEnd(std::size_t i) const {
        return i + 1 < start.size() ? start[i + 1] : points.size();
    }
};

struct Scene {
    double width = 640;
    double height = 480;
    std::vector<Batch> batches;
    std::vector<std::string> keys;  // the category and group keys marks refer to
    std::vector<std::string> warnings;

    std::size_t markCount() const;
    // The batch new marks of this kind, role and style go into: the last batch when it
    // matches, so that drawing order is kept, or a new one.
    Batch& batch(MarkKind kind, Role role, Style const& style);
    // The index of a key in `keys`, added when new; -1 for an empty key.
    std::int32_t key(std::string const& k);

private:
    std::unordered_map<std::string, std::int32_t> keyIndex_;
};

}  // namespace host::chart
