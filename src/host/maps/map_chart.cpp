#include "host/maps/map_chart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include <fmt/format.h>

#include "host/chart/chart_render.h"
#include "host/files/file_io.h"
#include "host/maps/key_match.h"
#include "host/maps/map_library.h"
#include "host/maps/map_picture.h"
#include "platform/chart_string.h"
#include "platform/var_data_processor.h"

namespace host::maps {
namespace {

using chart::ChartModel;
using chart::ChartVariableRecord;
using chart::Color;
using chart::gpl::Node;

constexpr double kSysmis = -std::numeric_limits<double>::max();
constexpr char const* kPalette[] = {"#0072B2", "#E69F00", "#009E73", "#CC79A7",
                                    "#56B4E9", "#D55E00", "#F0E442", "#000000"};
constexpr std::size_t kListedKeys = 10;

Color hexColor(std::string hex) {
    if (!hex.empty() && hex[0] == '#')
        hex.erase(0, 1);
    unsigned v = 0;
    std::sscanf(hex.c_str(), "%x", &v);
    return {((v >> 16) & 255) / 255.0, ((v >> 8) & 255) / 255.0, (v & 255) / 255.0, 1};
}

std::string stringArg(Node const* call) {
    std::string out;
    if (call)
        for (auto const& a : call->args)
            if (a.kind == Node::Kind::String)
                out += a.value;
    return out;
}

// showAllFeatures(), showAllFeatures("yes") and showAllFeatures(true) say yes; "no", false and 0
// say no.
bool yesArg(Node const* call) {
    if (!call || call->args.empty())
        return call != nullptr;
    auto const& a = call->args[0];
    if (a.kind == Node::Kind::Number)
        return a.number != 0;
    std::string const v = chart::gpl::lower(a.kind == Node::Kind::String ? a.value : a.name);
    return v != "no" && v != "false";
}

struct MapSourceSpec {
    std::string name;    // the GPL source name
    std::string origin;  // vizmap, vizrefmap, map, file
    std::string arg;
    std::string key;
    bool showAll = false;
    bool reference = false;
    int line = 0;
};

std::vector<MapSourceSpec> mapSources(ChartModel const& model) {
    std::vector<MapSourceSpec> out;
    for (auto const& st : model.program.statements) {
        if (st.keyword != "SOURCE" || st.body.key() != "mapsource")
            continue;
        MapSourceSpec s;
        s.name = st.target;
        s.line = st.line;
        s.origin = "vizmap";
        for (char const* origin : {"vizmap", "vizrefmap", "map", "file"})
            if (auto const* c = st.body.find(origin)) {
                s.origin = origin;
                s.arg = stringArg(c);
            }
        s.reference = s.origin == "vizrefmap" || st.body.find("reference");
        s.key = stringArg(st.body.find("key"));
        s.showAll = yesArg(st.body.find("showallfeatures"));
        out.push_back(s);
    }
    return out;
}

// The map's text: what the document was given, or else the library's map of that name.
std::optional<FeatureMap> loadSource(ChartModel const& model, MapSourceSpec const& s,
                                     std::string& shown, std::string& error) {
    std::string text;
    shown = s.arg;
    if (s.origin == "vizmap" || s.origin == "vizrefmap") {
        auto const& given = s.origin == "vizmap" ? model.vizMaps : model.vizRefMaps;
        for (auto const& [name, contents] : given)
            if (s.arg.empty() || name == s.arg) {
                shown = name;
                text = contents.empty() ? mapText(name) : contents;
                break;
            }
        if (shown.empty()) {
            // A template's reference layer stands whether or not the command named a reference
            // map; without one there is nothing to draw and nothing to say.
            error = s.origin == "vizmap" ? "the chart was given no map (VIZMAP)" : "";
            return std::nullopt;
        }
    } else {
        text = mapText(s.arg);
    }
    if (text.empty()) {
        error = fmt::format("map '{}' is neither a shipped map nor a readable file", shown);
        return std::nullopt;
    }
    auto map = readGeoJson(text, error);
    if (!map)
        error = fmt::format("map '{}': {}", shown, error);
    return map;
}

// One chart variable's cells: texts for keys and categories, numbers for values.
struct Column {
    ChartVariableRecord const* var = nullptr;
    std::vector<std::string> text;
    std::vector<double> number;  // NaN where the cell is missing or a text
    bool categorical = false;
};

std::optional<Column> readColumn(ChartModel const& model, VarDataProcessor const* data,
                                 std::string const& name, std::string& error) {
    Column c;
    for (auto const& v : model.variables)
        if (v.name == name)
            c.var = &v;
    if (!c.var) {
        error = fmt::format("variable '{}' is not declared", name);
        return std::nullopt;
    }
    std::string source = c.var->source;
    for (auto const& s : model.sources)
        if (s.name == source && !s.id.empty() && data && data->HasSource(s.id))
            source = s.id;
    int const index = data ? data->FindVariable(source, c.var->column) : -1;
    if (index < 0) {
        error = fmt::format("the rows have no column '{}' (variable '{}')", c.var->column, name);
        return std::nullopt;
    }
    c.categorical = c.var->categorical;
    unsigned const n = data->GetRowCount(source);
    c.text.resize(n);
    c.number.assign(n, std::numeric_limits<double>::quiet_NaN());
    for (unsigned r = 0; r < n; ++r) {
        switch (data->GetCellKind(source, index, r)) {
            case VarDataProcessor::CellKind::Text:
                c.text[r] = data->GetText(source, index, r);
                c.categorical = true;
                break;
            case VarDataProcessor::CellKind::Number: {
                double v = data->GetNumber(source, index, r);
                if (v == kSysmis || !std::isfinite(v))
                    break;
                c.number[r] = v;
                // A coded value shows (and matches) as its label.
                c.text[r] = fmt::format("{:g}", v);
                for (auto const& rl : c.var->relabels) {
                    char* end = nullptr;
                    double key = std::strtod(rl.value.c_str(), &end);
                    if (end != rl.value.c_str() && key == v) {
                        c.text[r] = rl.label;
                        break;
                    }
                }
                break;
            }
            case VarDataProcessor::CellKind::Missing:
                break;
        }
    }
    return c;
}

// What colours the features or points: a variable, a summary of one, or a constant.
struct ColorSpec {
    enum class Summary { Value, Count, Sum, Mean, Min, Max } summary = Summary::Value;
    std::string variable;
    std::optional<Color> constant;
    std::string label;  // the legend's title
};

std::optional<Color> constantColor(Node const& n) {
    static std::map<std::string, std::string> const named = {
        {"red", "#D62728"},      {"blue", "#1F77B4"},     {"green", "#2CA02C"},
        {"black", "#000000"},    {"white", "#FFFFFF"},    {"grey", "#7F7F7F"},
        {"gray", "#7F7F7F"},     {"orange", "#FF7F0E"},   {"purple", "#9467BD"},
        {"darkblue", "#08306B"}, {"lightgray", "#D3D3D3"}};
    if (n.kind == Node::Kind::Constant && chart::gpl::lower(n.name) == "color")
        return hexColor(n.value);
    if (n.kind == Node::Kind::Name && chart::gpl::lower(n.name).rfind("color.", 0) == 0) {
        auto it = named.find(chart::gpl::lower(n.name).substr(6));
        return hexColor(it == named.end() ? "#0072B2" : it->second);
    }
    return std::nullopt;
}

std::optional<ColorSpec> readColor(Node const& element, std::vector<std::string>& warnings) {
    Node const* c = element.find("color.interior");
    if (!c)
        c = element.find("color");
    if (!c || c->args.empty())
        return std::nullopt;
    ColorSpec spec;
    Node const& a = c->args[0];
    if (auto k = constantColor(a)) {
        spec.constant = k;
        return spec;
    }
    if (a.kind == Node::Kind::Name) {
        spec.variable = a.name;
        return spec;
    }
    if (a.kind == Node::Kind::Call) {
        static std::map<std::string, ColorSpec::Summary> const summaries = {
            {"summary.count", ColorSpec::Summary::Count},
            {"summary.sum", ColorSpec::Summary::Sum},
            {"summary.mean", ColorSpec::Summary::Mean},
            {"summary.min", ColorSpec::Summary::Min},
            {"summary.max", ColorSpec::Summary::Max}};
        auto it = summaries.find(a.key());
        if (it != summaries.end()) {
            spec.summary = it->second;
            if (!a.args.empty() && a.args[0].kind == Node::Kind::Name)
                spec.variable = a.args[0].name;
            if (spec.variable.empty() && spec.summary != ColorSpec::Summary::Count) {
                warnings.push_back(fmt::format("line {}: {} needs a variable", a.line, a.name));
                return std::nullopt;
            }
            return spec;
        }
        warnings.push_back(
            fmt::format("line {}: '{}' cannot colour a map; the features are drawn without it",
                        a.line, a.name));
    }
    return std::nullopt;
}

std::string weightName(ChartModel const& model, std::string const& source) {
    for (auto const& v : model.variables)
        if (v.weight && v.source == source)
            return v.name;
    for (auto const& st : model.program.statements)
        if (st.keyword == "SOURCE" && st.target == source)
            if (auto const* w = st.body.find("weight");
                w && !w->args.empty() && w->args[0].kind == Node::Kind::Name)
                return w->args[0].name;
    return {};
}

// Folds the values of the rows that name one feature as the colour asks.
struct Accumulator {
    double sum = 0, weight = 0, min = std::numeric_limits<double>::infinity(), max = -min, last = 0;
    double count = 0;
    std::size_t valued = 0;
    std::string category;
    // A case counts as often as its weight says.
    void add(double v, std::string const& cat, double w) {
        count += w;
        if (!cat.empty())
            category = cat;
        if (std::isnan(v))
            return;
        ++valued;
        sum += w * v, weight += w, last = v;
        min = std::min(min, v), max = std::max(max, v);
    }
    std::optional<double> result(ColorSpec::Summary s) const {
        switch (s) {
            case ColorSpec::Summary::Count:
                return count;
            case ColorSpec::Summary::Value:
                return valued ? std::optional(last) : std::nullopt;
            case ColorSpec::Summary::Sum:
                return valued ? std::optional(sum) : std::nullopt;
            case ColorSpec::Summary::Mean:
                return valued && weight > 0 ? std::optional(sum / weight) : std::nullopt;
            case ColorSpec::Summary::Min:
                return valued ? std::optional(min) : std::nullopt;
            case ColorSpec::Summary::Max:
                return valued ? std::optional(max) : std::nullopt;
        }
        return std::nullopt;
    }
};

std::string variableLabel(ChartModel const& model, std::string const& name) {
    for (auto const& v : model.variables)
        if (v.name == name)
            return v.label.empty() ? (v.column.empty() ? v.name : v.column) : v.label;
    return name;
}

chart::NumberFormat variableFormat(ChartModel const& model, std::string const& name) {
    for (auto const& v : model.variables)
        if (v.name == name)
            return v.format;
    return {};
}

struct Context {
    ChartModel const& model;
    VarDataProcessor const* data;
    chart::Scene scene;  // its warnings, until the layout makes the rest
    MapPicture picture;
    std::vector<Color> categoryColors;
    std::map<std::string, std::size_t> categoryIndex;
    double low = std::numeric_limits<double>::infinity(), high = -low;

    void warn(int line, std::string const& text) {
        scene.warnings.push_back(fmt::format("line {}: {}", line, text));
    }
    Color categoryColor(std::string const& category) {
        auto [it, added] = categoryIndex.emplace(category, categoryIndex.size());
        if (added)
            picture.legend.categories.push_back(
                {category, hexColor(kPalette[it->second % std::size(kPalette)])});
        return picture.legend.categories[it->second].second;
    }
};

// The shapes of a choropleth element: rows joined to the features of the data map.
void drawFeatures(Context& cx, Node const& element, int line, FeatureMap const& map,
                  MapSourceSpec const& source, std::string const& mapName) {
    Node const* position = element.find("position");
    Node const* feature = position ? position->find("feature") : nullptr;
    std::string keyVar;
    if (feature && !feature->args.empty() && feature->args[0].kind == Node::Kind::Name)
        keyVar = feature->args[0].name;
    auto color = readColor(element, cx.scene.warnings);

    std::vector<Accumulator> acc(map.features.size());
    std::vector<bool> named(map.features.size(), false);
    bool categorical = false;
    if (!keyVar.empty()) {
        std::string error;
        auto keys = readColumn(cx.model, cx.data, keyVar, error);
        std::optional<Column> values;
        if (color && !color->variable.empty()) {
            values = readColumn(cx.model, cx.data, color->variable, error);
            if (!values)
                cx.warn(line, error);
        }
        // The source's weight: the one the command added, or userSource's weight().
        std::optional<Column> weights;
        if (keys) {
            std::string const name = weightName(cx.model, keys->var->source);
            if (!name.empty()) {
                weights = readColumn(cx.model, cx.data, name, error);
                if (!weights)
                    cx.warn(line, error);
            }
        }
        if (!keys) {
            cx.warn(line, error);
        } else {
            KeyIndex index(map, source.key);
            std::vector<std::string> unmatched;
            for (std::size_t r = 0; r < keys->text.size(); ++r) {
                if (keys->text[r].empty())
                    continue;
                int f = index.find(keys->text[r]);
                if (f < 0) {
                    if (std::find(unmatched.begin(), unmatched.end(), keys->text[r]) ==
                        unmatched.end())
                        unmatched.push_back(keys->text[r]);
                    continue;
                }
                double const w = weights && r < weights->number.size() ? weights->number[r] : 1;
                if (!(w > 0))
                    continue;  // a case whose weight is missing or not positive is left out
                named[f] = true;
                double v = values && r < values->number.size() ? values->number[r] : std::nan("");
                std::string cat =
                    values && r < values->text.size() ? values->text[r] : std::string();
                acc[f].add(v, cat, w);
            }
            categorical =
                values && values->categorical && color->summary == ColorSpec::Summary::Value;
            if (!unmatched.empty()) {
                std::string list;
                for (std::size_t i = 0; i < unmatched.size() && i < kListedKeys; ++i)
                    list += (i ? ", " : "") + unmatched[i];
                if (unmatched.size() > kListedKeys)
                    list += fmt::format(" and {} more", unmatched.size() - kListedKeys);
                cx.warn(line,
                        fmt::format("{} {} of '{}' {} no feature of map '{}'{}: {}",
                                    unmatched.size(), unmatched.size() == 1 ? "key" : "keys",
                                    keyVar, unmatched.size() == 1 ? "matches" : "match", mapName,
                                    source.key.empty() ? "" : fmt::format(" by '{}'", source.key),
                                    list));
            }
        }
    }
    // Without a key variable every feature is drawn, in the element's colour or grey.
    bool const showAll = keyVar.empty() || source.showAll;
    std::vector<std::optional<double>> value(map.features.size());
    for (std::size_t f = 0; f < map.features.size(); ++f) {
        if (!named[f])
            continue;
        ColorSpec::Summary s = color ? color->summary : ColorSpec::Summary::Count;
        value[f] = acc[f].result(s);
        if (value[f] && !categorical && color && !color->constant)
            cx.low = std::min(cx.low, *value[f]), cx.high = std::max(cx.high, *value[f]);
    }
    std::size_t const first = cx.picture.shapes.size();
    for (std::size_t f = 0; f < map.features.size(); ++f) {
        if (!named[f] && !showAll)
            continue;
        Shape shape;
        shape.feature = &map.features[f];
        shape.category = featureKey(map.features[f], source.key);
        bool const hasValue =
            named[f] && (categorical ? !acc[f].category.empty() : value[f].has_value());
        shape.role = hasValue ? "feature" : "feature-no-data";
        shape.fill = noDataColor();
        if (hasValue && color && color->constant)
            shape.fill = *color->constant;
        else if (hasValue && categorical)
            shape.fill = cx.categoryColor(acc[f].category);
        else if (hasValue && value[f])
            shape.value = *value[f];
        else if (keyVar.empty())
            shape.fill = color && color->constant ? *color->constant : noDataColor(),
            shape.role = "feature";
        cx.picture.legend.noData |= shape.role == "feature-no-data";
        cx.picture.shapes.push_back(shape);
    }
    if (color && !color->constant && !categorical) {
        cx.picture.legend.kind = MapLegend::Kind::Gradient;
        cx.picture.legend.format = color->variable.empty()
                                       ? chart::NumberFormat{}
                                       : variableFormat(cx.model, color->variable);
        if (cx.picture.legend.title.empty())
            cx.picture.legend.title = color->summary == ColorSpec::Summary::Count
                                          ? std::string("Count")
                                          : variableLabel(cx.model, color->variable);
        // Shapes get their gradient colour once every element's values are known.
        for (std::size_t i = first; i < cx.picture.shapes.size(); ++i)
            if (cx.picture.shapes[i].role == "feature")
                cx.picture.shapes[i].role = "feature-valued";
    } else if (categorical) {
        cx.picture.legend.kind = MapLegend::Kind::Categories;
        if (cx.picture.legend.title.empty())
            cx.picture.legend.title = variableLabel(cx.model, color->variable);
    }
}

// Points at longitude*latitude, in one colour or coloured by a variable's categories.
void drawPoints(Context& cx, Node const& element, int line) {
    Node const* position = element.find("position");
    if (!position || position->args.empty() || position->args[0].kind != Node::Kind::Cross ||
        position->args[0].args.size() != 2 || position->args[0].args[0].kind != Node::Kind::Name ||
        position->args[0].args[1].kind != Node::Kind::Name) {
        cx.warn(line,
                "a point on a map needs position(longitude*latitude); the element is left out");
        return;
    }
    std::string error;
    auto lon = readColumn(cx.model, cx.data, position->args[0].args[0].name, error);
    auto lat =
        lon ? readColumn(cx.model, cx.data, position->args[0].args[1].name, error) : std::nullopt;
    if (!lon || !lat) {
        cx.warn(line, error);
        return;
    }
    auto color = readColor(element, cx.scene.warnings);
    std::optional<Column> colors;
    if (color && !color->variable.empty()) {
        colors = readColumn(cx.model, cx.data, color->variable, error);
        if (!colors)
            cx.warn(line, error);
    }
    double radius = 3.5;
    if (Node const* size = element.find("size"); size && !size->args.empty()) {
        auto const& a = size->args[0];
        std::string const text = a.kind == Node::Kind::Constant ? a.value : std::string();
        double v = a.kind == Node::Kind::Number ? a.number : std::atof(text.c_str());
        if (v > 0)
            radius = v / 2;
    }
    std::size_t dropped = 0;
    for (std::size_t r = 0; r < lon->number.size() && r < lat->number.size(); ++r) {
        double x = lon->number[r], y = lat->number[r];
        if (std::isnan(x) || std::isnan(y) || std::fabs(y) > 90 || std::fabs(x) > 360) {
            dropped += !(std::isnan(x) && std::isnan(y));
            continue;
        }
        PointMark p;
        p.at = {x, y};
        p.radius = radius;
        p.fill = color && color->constant ? *color->constant : hexColor(kPalette[0]);
        if (colors && r < colors->text.size() && !colors->text[r].empty()) {
            p.category = colors->text[r];
            p.fill = cx.categoryColor(colors->text[r]);
            if (cx.picture.legend.kind == MapLegend::Kind::None) {
                cx.picture.legend.kind = MapLegend::Kind::Categories;
                cx.picture.legend.title = variableLabel(cx.model, color->variable);
            }
        }
        cx.picture.points.push_back(p);
    }
    if (dropped)
        cx.warn(line, fmt::format("{} {} outside longitude and latitude left out", dropped,
                                  dropped == 1 ? "point" : "points"));
}

// GUIDE texts, the PAGE size and the COORD projection.
void readGuides(Context& cx, std::optional<Projection>& projection) {
    for (auto const& st : cx.model.program.statements) {
        auto const& b = st.body;
        std::string const key = b.key();
        auto label = [&] { return stringArg(b.find("label")); };
        if (st.keyword == "GUIDE" && key == "text.title")
            cx.picture.title = label();
        else if (st.keyword == "GUIDE" && key == "text.subtitle")
            cx.picture.subtitle = label();
        else if (st.keyword == "GUIDE" && key == "text.footnote")
            cx.picture.footnote = label();
        else if (st.keyword == "GUIDE" && key == "legend" && b.find("label"))
            cx.picture.legend.title = label();
        else if (st.keyword == "PAGE" && key == "begin")
            if (Node const* s = b.find("scale"); s && s->args.size() == 2 &&
                                                 s->args[0].kind == Node::Kind::Number &&
                                                 s->args[0].value != "%")
                cx.picture.width = s->args[0].number, cx.picture.height = s->args[1].number;
        if (st.keyword == "COORD" && key == "project") {
            std::string name = b.args.empty() ? std::string() : b.args[0].name;
            if (!b.args.empty() && b.args[0].kind == Node::Kind::String)
                name = b.args[0].value;
            if (chart::gpl::lower(name).rfind("projection.", 0) == 0)
                name = name.substr(11);
            projection = projectionByName(name);
            if (!projection)
                cx.warn(st.line,
                        fmt::format("unknown projection '{}'; the map's own is used", name));
        }
    }
    if (cx.model.subtitleSet && !cx.model.subtitle.empty())
        cx.picture.subtitle = cx.model.subtitle;
}

}  // namespace

bool drawsMap(ChartModel const& model) {
    for (auto const& st : model.program.statements)
        if (st.keyword == "SOURCE" && st.body.key() == "mapsource")
            return true;
    return false;
}

chart::Scene buildMapScene(ChartModel const& model, VarDataProcessor const* data,
                           chart::TextMeasurer const& measurer) {
    Context cx{model, data, {}, {}, {}, {}};
    std::optional<Projection> projection;
    readGuides(cx, projection);

    // Reference maps first, so that they lie under the data.
    auto sources = mapSources(model);
    std::stable_sort(sources.begin(), sources.end(),
                     [](auto const& a, auto const& b) { return a.reference > b.reference; });
    std::vector<FeatureMap> maps;
    maps.reserve(sources.size());
    std::vector<std::string> names;
    MapSourceSpec const* dataSource = nullptr;
    FeatureMap const* dataMap = nullptr;
    std::string dataName;
    for (auto const& s : sources) {
        std::string shown, error;
        auto map = loadSource(model, s, shown, error);
        if (!map) {
            if (!error.empty())
                cx.warn(s.line, error + "; it is not drawn");
            continue;
        }
        maps.push_back(std::move(*map));
        if (s.reference) {
            for (auto const& f : maps.back().features) {
                Shape shape;
                shape.feature = &f;
                shape.role = "reference";
                shape.fill = {0.93, 0.93, 0.93, 1};
                shape.category = featureKey(f, s.key);
                cx.picture.shapes.push_back(shape);
            }
        } else if (!dataMap) {
            dataSource = &s, dataMap = &maps.back(), dataName = shown;
        }
    }
    bool anyShapes = false;
    for (auto const& st : model.program.statements) {
        if (st.keyword != "ELEMENT")
            continue;
        std::string const type = st.body.key();
        if (type == "polygon") {
            if (!dataMap) {
                cx.warn(st.line, "a polygon on a map needs a data map; the element is left out");
                continue;
            }
            drawFeatures(cx, st.body, st.line, *dataMap, *dataSource, dataName);
            anyShapes = true;
        } else if (type == "point") {
            drawPoints(cx, st.body, st.line);
        } else {
            cx.warn(st.line, fmt::format("element '{}' is not drawn on a map; it is left out",
                                         st.body.name));
        }
    }
    // A map with points alone still shows its features.
    if (!anyShapes && dataMap)
        for (auto const& f : dataMap->features) {
            Shape shape;
            shape.feature = &f;
            shape.role = "reference";
            shape.fill = {0.93, 0.93, 0.93, 1};
            shape.category = featureKey(f, dataSource->key);
            cx.picture.shapes.push_back(shape);
        }
    double const span = cx.high - cx.low;
    cx.picture.legend.low = cx.low, cx.picture.legend.high = cx.high;
    for (auto& shape : cx.picture.shapes)
        if (shape.role == "feature-valued") {
            shape.role = "feature";
            shape.fill = sequentialColor(span > 0 ? (shape.value - cx.low) / span : 1);
        }
    if (cx.picture.legend.kind == MapLegend::Kind::Gradient && !(span >= 0))
        cx.picture.legend.kind = MapLegend::Kind::None;

    FeatureMap all;
    for (auto const& m : maps)
        all.features.insert(all.features.end(), m.features.begin(), m.features.end());
    for (auto const& p : cx.picture.points) all.features.push_back(Feature{{}, {}, {}, {p.at}});
    Projection const chosen = projection ? *projection : suitedProjection(all);
    chart::Scene scene = layoutMap(cx.picture, chosen, measurer);
    scene.warnings.insert(scene.warnings.begin(), cx.scene.warnings.begin(),
                          cx.scene.warnings.end());
    return scene;
}

}  // namespace host::maps
