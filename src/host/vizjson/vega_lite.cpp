#include "host/vizjson/vega_lite.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>

#include <fmt/format.h>

#include "host/files/file_io.h"
#include "host/vizjson/json_rows.h"
#include "platform/var_data_processor.h"

namespace host::vizjson {

using nlohmann::json;

namespace {

constexpr char const* kChannels[] = {"x",     "y",     "color",     "size",
                                     "shape", "theta", "longitude", "latitude"};
// Keys of a JSON chart that change nothing in the picture this engine draws.
constexpr char const* kQuiet[] = {"$schema",    "description", "name",     "autosize",
                                  "background", "padding",     "usermeta", "config"};
constexpr char const* kAggregates[] = {"count", "sum", "mean", "average", "median", "min", "max"};

std::string gplString(std::string const& s) {
    std::string out = "\"";
    for (char c : s) out += c == '"' ? std::string("\\\"") : std::string(1, c);
    return out + "\"";
}

bool oneOf(std::string const& s, std::initializer_list<char const*> list) {
    for (char const* l : list)
        if (s == l)
            return true;
    return false;
}

struct Channel {
    std::string field, type, aggregate, timeUnit, title;
    bool bin = false;
    int maxbins = 0;
    json value;  // a constant
    bool used() const { return !field.empty() || !aggregate.empty() || !value.is_null(); }
};

struct Unit {
    std::string mark;
    std::map<std::string, Channel> enc;
    json data;  // the layer's own data, or null for the parent's
    std::string projection;
};

// Reads one channel; what the subset lacks is warned about.
Channel readChannel(std::string const& name, json const& c, std::vector<std::string>& warnings) {
    Channel ch;
    if (!c.is_object())
        return ch;
    for (auto const& [k, v] : c.items()) {
        if (k == "field" && v.is_string())
            ch.field = v.get<std::string>();
        else if (k == "type" && v.is_string())
            ch.type = v.get<std::string>();
        else if (k == "aggregate" && v.is_string())
            ch.aggregate = v.get<std::string>() == "average" ? "mean" : v.get<std::string>();
        else if (k == "timeUnit" && v.is_string())
            ch.timeUnit = v.get<std::string>();
        else if (k == "title" && v.is_string())
            ch.title = v.get<std::string>();
        else if (k == "bin")
            ch.bin = v.is_boolean() ? v.get<bool>() : v.is_object(),
            ch.maxbins = v.is_object() && v.contains("maxbins") && v["maxbins"].is_number()
                             ? v["maxbins"].get<int>()
                             : 0;
        else if (k == "value")
            ch.value = v;
        else if (!oneOf(k, {"axis", "legend", "scale", "sort", "stack", "format"}))
            warnings.push_back(
                fmt::format("encoding.{}.{} is not supported; it is ignored", name, k));
    }
    if (!ch.aggregate.empty() &&
        std::find_if(std::begin(kAggregates), std::end(kAggregates),
                     [&](char const* a) { return ch.aggregate == a; }) == std::end(kAggregates)) {
        warnings.push_back(fmt::format(
            "aggregate \"{}\" is not supported; the values are drawn as they are", ch.aggregate));
        ch.aggregate.clear();
    }
    return ch;
}

Unit readUnit(json const& spec, Unit const* parent, std::vector<std::string>& warnings) {
    Unit u;
    if (parent)
        u.enc = parent->enc;
    if (spec.contains("mark")) {
        json const& m = spec["mark"];
        u.mark = m.is_string() ? m.get<std::string>()
                 : m.is_object() && m.contains("type") && m["type"].is_string()
                     ? m["type"].get<std::string>()
                     : "";
    } else if (parent) {
        u.mark = parent->mark;
    }
    if (spec.contains("encoding") && spec["encoding"].is_object())
        for (auto const& [name, c] : spec["encoding"].items()) {
            if (std::find_if(std::begin(kChannels), std::end(kChannels),
                             [&channel = name](char const* k) { return channel == k; }) ==
                std::end(kChannels)) {
                warnings.push_back(
                    fmt::format("encoding channel \"{}\" is not supported; it is ignored", name));
                continue;
            }
            u.enc[name] = readChannel(name, c, warnings);
        }
    if (spec.contains("data"))
        u.data = spec["data"];
    if (spec.contains("projection") && spec["projection"].is_object() &&
        spec["projection"].contains("type") && spec["projection"]["type"].is_string())
        u.projection = spec["projection"]["type"].get<std::string>();
    else if (parent)
        u.projection = parent->projection;
    return u;
}

void warnUnknownKeys(json const& spec, std::vector<std::string>& warnings, bool top) {
    for (auto const& [k, v] : spec.items()) {
        if (oneOf(k,
                  {"mark", "encoding", "data", "layer", "title", "projection", "width", "height"}))
            continue;
        if (top && std::find_if(std::begin(kQuiet), std::end(kQuiet),
                                [&key = k](char const* q) { return key == q; }) != std::end(kQuiet))
            continue;
        warnings.push_back(fmt::format("\"{}\" is not supported; it is ignored", k));
    }
}

// One GPL program built up layer by layer.
struct Builder {
    std::vector<std::string> sources, data, scales, coords, guides, elements;
    int variables = 0;
    std::string variable(std::string const& source, std::string const& column, bool categorical) {
        std::string name = fmt::format("v{}", ++variables);
        data.push_back(fmt::format("DATA: {} = col(source({}), name({}){})", name, source,
                                   gplString(column), categorical ? ", unit.category()" : ""));
        return name;
    }
    std::string text(std::string const& page) const {
        std::string out = page;
        for (auto const* part : {&sources, &data, &scales, &coords, &guides, &elements})
            for (auto const& line : *part) out += line + "\n";
        return page.empty() ? out : out + "PAGE: end()\n";
    }
};

// A quantitative field given as text ("06", "1.5") is its number; other texts are missing.
json asNumber(json const& v) {
    if (!v.is_string())
        return v.is_number() ? v : json(nullptr);
    std::string const s = v.get<std::string>();
    char* end = nullptr;
    double d = std::strtod(s.c_str(), &end);
    return !s.empty() && end == s.c_str() + s.size() && std::isfinite(d) ? json(d) : json(nullptr);
}

bool categoricalType(Channel const& c) {
    return c.type == "nominal" || c.type == "ordinal" || !c.timeUnit.empty() ||
           (c.type == "temporal");
}

// The column of a channel in the rows it writes: its field, cut to its time unit.
std::string columnName(Channel const& c) {
    if (!c.aggregate.empty() && c.field.empty())
        return "__count";
    return c.timeUnit.empty() ? c.field : c.timeUnit + "_" + c.field;
}

struct Aggregation {
    std::vector<std::string> groupBy;   // channels
    std::vector<std::string> measures;  // channels with an aggregate
};

// Rows cut to the unit's channels: time units applied, then grouped and aggregated where a
// channel asks for it (the other channels' values form the groups).
Rows shapeRows(Rows const& in, Unit const& u, std::string const& binned) {
    Aggregation ag;
    for (auto const& [name, c] : u.enc) {
        if (!c.used() || (c.field.empty() && c.aggregate.empty()))
            continue;
        (c.aggregate.empty() || name == binned ? ag.groupBy : ag.measures).push_back(name);
    }
    Rows cut;
    cut.reserve(in.size());
    for (auto const& row : in) {
        json out = json::object();
        for (auto const& [name, c] : u.enc) {
            if (c.field.empty())
                continue;
            json v = fieldValue(row, c.field);
            if (!c.timeUnit.empty())
                v = timeUnitValue(v, c.timeUnit);
            else if (c.type == "quantitative")
                v = asNumber(v);
            out[columnName(c)] = v;
        }
        cut.push_back(std::move(out));
    }
    if (ag.measures.empty() || !binned.empty())
        return cut;
    std::map<std::string, std::pair<json, std::vector<Rows::size_type>>> groups;
    std::vector<std::string> order;
    for (std::size_t r = 0; r < cut.size(); ++r) {
        json key = json::array();
        for (auto const& g : ag.groupBy)
            key.push_back(cut[r].value(columnName(u.enc.at(g)), json()));
        std::string k = key.dump();
        auto [it, added] = groups.try_emplace(k, std::pair{key, std::vector<Rows::size_type>{}});
        if (added)
            order.push_back(k);
        it->second.second.push_back(r);
    }
    Rows out;
    for (auto const& k : order) {
        auto const& [key, members] = groups[k];
        json row = json::object();
        for (std::size_t i = 0; i < ag.groupBy.size(); ++i)
            row[columnName(u.enc.at(ag.groupBy[i]))] = key[i];
        for (auto const& m : ag.measures) {
            Channel const& c = u.enc.at(m);
            std::vector<double> values;
            for (auto r : members) {
                json v = c.field.empty() ? json(1) : cut[r].value(columnName(c), json());
                if (v.is_number())
                    values.push_back(v.get<double>());
            }
            double result = std::nan("");
            if (c.aggregate == "count")
                result = c.field.empty() ? static_cast<double>(members.size()) : values.size();
            else if (!values.empty()) {
                std::sort(values.begin(), values.end());
                double sum = 0;
                for (double v : values) sum += v;
                std::size_t n = values.size();
                if (c.aggregate == "sum")
                    result = sum;
                if (c.aggregate == "mean")
                    result = sum / n;
                if (c.aggregate == "min")
                    result = values.front();
                if (c.aggregate == "max")
                    result = values.back();
                if (c.aggregate == "median")
                    result = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
            }
            row[columnName(c)] = std::isnan(result) ? json(nullptr) : json(result);
        }
        out.push_back(std::move(row));
    }
    return out;
}

void writeRows(VarDataProcessor& vdp, std::string const& source, Rows const& rows) {
    std::set<std::string> columns;
    for (auto const& r : rows)
        for (auto const& [k, v] : r.items()) columns.insert(k);
    vdp.AddDataSource(source, static_cast<unsigned>(rows.size()));
    for (auto const& c : columns) vdp.AddVariable(source, c, nullptr);
    for (unsigned r = 0; r < rows.size(); ++r)
        for (auto const& [k, v] : rows[r].items()) {
            if (v.is_number())
                vdp.SetVariableValue(source, k, r, v.get<double>());
            else if (v.is_string())
                vdp.SetStringVariableValue(source, k, r, v.get<std::string>());
            else if (v.is_boolean())
                vdp.SetStringVariableValue(source, k, r, v.get<bool>() ? "true" : "false");
        }
}

std::string titleOf(Channel const& c) {
    if (!c.title.empty())
        return c.title;
    if (c.field.empty())
        return c.aggregate == "count" ? "Count" : "";
    std::string t = c.field;
    if (!c.timeUnit.empty())
        t = fmt::format("{} ({})", t, c.timeUnit);
    if (!c.aggregate.empty())
        t = fmt::format("{} of {}", c.aggregate == "mean" ? "Mean" : c.aggregate, t);
    return t;
}

}  // namespace

void translateGeoUnit(Unit const& u, int index, Builder& b, Translation& t, Rows const& geoRows);
void translatePlotUnit(Unit const& u, int index, Builder& b, Translation& t, Rows const& rows);

namespace {

// The features of the GeoJSON texts as one collection, each tagged with its place in it.
json mergeFeatures(std::vector<std::pair<std::string, std::string>> const& texts,
                   std::vector<std::string>& warnings) {
    json all = json::array();
    for (auto const& [name, text] : texts) {
        json doc = json::parse(text, nullptr, false);
        if (doc.is_discarded() || !doc.is_object()) {
            warnings.push_back(fmt::format("GeoJSON \"{}\" is not JSON; it is not drawn", name));
            continue;
        }
        if (doc.value("type", "") == "FeatureCollection" && doc.contains("features") &&
            doc["features"].is_array())
            for (auto const& f : doc["features"]) all.push_back(f);
        else if (doc.value("type", "") == "Feature")
            all.push_back(doc);
        else
            all.push_back({{"type", "Feature"}, {"properties", json::object()}, {"geometry", doc}});
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!all[i].contains("properties") || !all[i]["properties"].is_object())
            all[i]["properties"] = json::object();
        all[i]["properties"]["__feature"] = static_cast<double>(i);
    }
    return {{"type", "FeatureCollection"}, {"features", all}};
}

}  // namespace

void translateGeoUnit(Unit const& u, int index, Builder& b, Translation& t, Rows const& features) {
    std::string const source = fmt::format("{}{}", kRowSource, index);
    // One row per feature: its place in the map, and the fields the encodings name.
    Rows rows;
    Channel color = u.enc.count("color") ? u.enc.at("color") : Channel{};
    for (auto const& f : features) {
        json row = {{"__feature", fieldValue(f, "properties.__feature")}};
        if (!color.field.empty()) {
            json v = fieldValue(f, color.field);
            if (v.is_null())
                v = fieldValue(f, "properties." + color.field);
            row[color.field] = color.type == "quantitative" ? asNumber(v) : v;
        }
        rows.push_back(std::move(row));
    }
    writeRows(*t.rows, source, rows);
    b.sources.push_back(fmt::format("SOURCE: r{} = userSource(id({}))", index, gplString(source)));
    b.sources.push_back(fmt::format(
        "SOURCE: m{} = mapSource(vizMap(\"geojson\"), key(\"__feature\"), showAllFeatures())",
        index));
    std::string key = b.variable(fmt::format("r{}", index), "__feature", true);
    std::string colorPart;
    if (!color.field.empty()) {
        std::string v = b.variable(fmt::format("r{}", index), color.field, categoricalType(color));
        colorPart = fmt::format(", color.interior({})", v);
        b.guides.push_back(
            fmt::format("GUIDE: legend(aesthetic(aesthetic.color.interior), label({}))",
                        gplString(titleOf(color))));
    } else {
        std::string hex = color.value.is_string() ? color.value.get<std::string>() : "#4C78A8";
        if (!hex.empty() && hex[0] == '#')
            hex.erase(0, 1);
        colorPart = fmt::format(", color.interior(color.\"{}\")", hex);
    }
    b.elements.push_back(fmt::format("ELEMENT: polygon(position(feature({})){})", key, colorPart));
}

void translatePlotUnit(Unit const& u, int index, Builder& b, Translation& t, Rows const& in) {
    auto has = [&](char const* c) { return u.enc.count(c) && u.enc.at(c).used(); };
    std::string const source = fmt::format("{}{}", kRowSource, index);
    std::string const s = fmt::format("r{}", index);
    std::string mark = u.mark;
    if (mark == "circle" || mark == "square")
        mark = "point";
    if (!oneOf(mark, {"bar", "line", "area", "point", "rect", "arc"})) {
        t.warnings.push_back(
            fmt::format("mark \"{}\" is not supported; the layer is left out", u.mark));
        return;
    }
    // Longitude and latitude put points on the map of a geoshape layer.
    if (has("longitude") && has("latitude")) {
        Rows rows = shapeRows(in, u, "");
        writeRows(*t.rows, source, rows);
        b.sources.push_back(fmt::format("SOURCE: {} = userSource(id({}))", s, gplString(source)));
        std::string lon = b.variable(s, columnName(u.enc.at("longitude")), false);
        std::string lat = b.variable(s, columnName(u.enc.at("latitude")), false);
        std::string colorPart;
        if (has("color") && !u.enc.at("color").field.empty())
            colorPart =
                fmt::format(", color({})", b.variable(s, columnName(u.enc.at("color")), true));
        b.elements.push_back(fmt::format("ELEMENT: point(position({}*{}){})", lon, lat, colorPart));
        return;
    }
    std::string binned;
    if (has("x") && u.enc.at("x").bin)
        binned = "x";
    // Heat maps: cells of binned x and y coloured by their counts, or a cell per pair of
    // categories of x and y coloured by the colour channel (a value, an aggregate, a category).
    bool const cells = mark == "rect";
    bool categoryCells = false;
    if (cells) {
        bool const both = has("x") && has("y");
        bool const counted = has("color") && u.enc.at("color").aggregate == "count";
        bool const numeric =
            both && !categoricalType(u.enc.at("x")) && !categoricalType(u.enc.at("y"));
        categoryCells = both && categoricalType(u.enc.at("x")) && categoricalType(u.enc.at("y"));
        if (!categoryCells && !(counted && numeric)) {
            t.warnings.push_back(
                "mark \"rect\" is drawn for binned x and y coloured by their count, or for x and y "
                "both categories; other cells are not drawn, and the layer is left out");
            return;
        }
        if (!categoryCells)
            binned = "xy";
    }
    Rows rows = shapeRows(in, u, binned);
    writeRows(*t.rows, source, rows);
    b.sources.push_back(fmt::format("SOURCE: {} = userSource(id({}))", s, gplString(source)));
    std::map<std::string, std::string> var;
    for (auto const& [name, c] : u.enc)
        if (c.used() && (!c.field.empty() || !c.aggregate.empty()) &&
            !(name == "y" && binned == "x") && !(name == "color" && cells && !categoryCells))
            var[name] = b.variable(s, columnName(c), c.aggregate.empty() && categoricalType(c));
    for (auto const& [name, c] : u.enc)
        if (auto order = timeUnitOrder(c.timeUnit);
            !order.empty() && (name == "x" || name == "y")) {
            std::string values;
            for (auto const& o : order) values += (values.empty() ? "" : ", ") + gplString(o);
            b.scales.push_back(
                fmt::format("SCALE: cat(dim({}), sort.values({}))", name == "x" ? 1 : 2, values));
        }
    std::string position, element;
    std::string color = var.count("color") ? var["color"] : "";
    if (mark == "arc") {
        if (!has("theta")) {
            t.warnings.push_back("an arc needs a theta encoding; the layer is left out");
            return;
        }
        b.coords.push_back("COORD: polar.theta(startAngle(0))");
        position = fmt::format("summary.percent({})", var["theta"]);
        element = "interval.stack";
    } else if (categoryCells) {
        position = fmt::format("{}*{}", var["x"], var["y"]);
        element = "polygon";
    } else if (cells) {
        // One number of bins serves both axes: the larger maxbins the two give.
        int const bins = std::max(u.enc.at("x").maxbins, u.enc.at("y").maxbins);
        position =
            fmt::format("bin.rect({}*{}, binCount({}))", var["x"], var["y"], bins > 0 ? bins : 10);
        color = "summary.count()";
        element = "polygon";
    } else if (!binned.empty()) {
        Channel const& x = u.enc.at("x");
        position = fmt::format("summary.count(bin.rect({}{}))", var["x"],
                               x.maxbins > 0 ? fmt::format(", binCount({})", x.maxbins) : "");
        element = "interval";
    } else {
        if (!has("x") || !has("y")) {
            t.warnings.push_back(
                fmt::format("mark \"{}\" needs x and y; the layer is left out", u.mark));
            return;
        }
        // A measure on x and a category on y: horizontal bars.
        bool const flipped = !u.enc.at("x").aggregate.empty() && u.enc.at("y").aggregate.empty() &&
                             categoricalType(u.enc.at("y"));
        position = flipped ? fmt::format("{}*{}", var["y"], var["x"])
                           : fmt::format("{}*{}", var["x"], var["y"]);
        if (flipped)
            b.coords.push_back("COORD: rect(dim(1,2), transpose())");
        bool const stacked = !color.empty() && categoricalType(u.enc.at("color"));
        element = mark == "bar"    ? (stacked ? "interval.stack" : "interval")
                  : mark == "area" ? (stacked ? "area.stack" : "area")
                                   : mark;
    }
    std::string aesthetics;
    if (!color.empty())
        aesthetics += fmt::format(", color.interior({})", color);
    else if (has("color") && u.enc.at("color").value.is_string()) {
        std::string hex = u.enc.at("color").value.get<std::string>();
        aesthetics +=
            fmt::format(", color.interior(color.\"{}\")", hex[0] == '#' ? hex.substr(1) : hex);
    }
    if (var.count("shape"))
        aesthetics += fmt::format(", shape({})", var["shape"]);
    bool const sizedByField = var.count("size") && element == "point";
    if (sizedByField)
        aesthetics += fmt::format(", size({})", var["size"]);
    else if (var.count("size"))
        t.warnings.push_back(fmt::format(
            "size by a field is drawn for points only; the {} marks keep one size", u.mark));
    else if (has("size") && u.enc.at("size").value.is_number())
        aesthetics +=
            fmt::format(", size(size.\"{}px\")", std::sqrt(u.enc.at("size").value.get<double>()));
    b.elements.push_back(fmt::format("ELEMENT: {}(position({}){})", element, position, aesthetics));
    if (mark != "arc") {
        for (char const* axis : {"x", "y"})
            if (u.enc.count(axis)) {
                std::string title = titleOf(u.enc.at(axis));
                if (std::string(axis) == "y" && !binned.empty())
                    title = "Count";
                int dim = std::string(axis) == "x" ? 1 : 2;
                if (!title.empty())
                    b.guides.push_back(
                        fmt::format("GUIDE: axis(dim({}), label({}))", dim, gplString(title)));
            }
    }
    if (!color.empty())
        b.guides.push_back(
            fmt::format("GUIDE: legend(aesthetic(aesthetic.color.interior), label({}))",
                        gplString(titleOf(u.enc.at("color")))));
    if (sizedByField)
        b.guides.push_back(fmt::format("GUIDE: legend(aesthetic(aesthetic.size), label({}))",
                                       gplString(titleOf(u.enc.at("size")))));
}

Translation translate(json const& spec, std::string const& folder,
                      std::vector<std::pair<std::string, std::string>> const& geoJson) {
    Translation t;
    t.rows = std::make_unique<VarDataProcessor>();
    if (!spec.is_object()) {
        t.warnings.push_back("the JSON chart is not a JSON object");
        return t;
    }
    warnUnknownKeys(spec, t.warnings, true);
    if (spec.contains("title"))
        t.description = spec["title"].is_string() ? spec["title"].get<std::string>()
                        : spec["title"].is_object() && spec["title"].contains("text") &&
                                spec["title"]["text"].is_string()
                            ? spec["title"]["text"].get<std::string>()
                            : std::string();
    Unit top = readUnit(spec, nullptr, t.warnings);
    std::vector<Unit> units;
    if (spec.contains("layer") && spec["layer"].is_array()) {
        for (auto const& l : spec["layer"]) {
            if (!l.is_object())
                continue;
            warnUnknownKeys(l, t.warnings, false);
            units.push_back(readUnit(l, &top, t.warnings));
        }
    } else {
        units.push_back(top);
        units.back().data = nullptr;  // the top's data is read once, as topRows
    }
    Rows topRows = spec.contains("data") ? loadRows(spec["data"], folder, t.warnings) : Rows{};
    bool const anyGeo =
        std::any_of(units.begin(), units.end(), [](Unit const& u) { return u.mark == "geoshape"; });
    Builder b;
    json features;
    if (anyGeo) {
        // The GeoJSON of the template's files, or of the geoshape layer's own data.
        std::vector<std::pair<std::string, std::string>> texts = geoJson;
        if (texts.empty())
            for (auto const& u : units) {
                json const& d =
                    u.mark == "geoshape" && !u.data.is_null() ? u.data : spec.value("data", json());
                if (u.mark != "geoshape" || !d.is_object())
                    continue;
                if (d.contains("values") && d["values"].is_object())
                    texts.push_back({"values", d["values"].dump()});
                else if (d.contains("url") && d["url"].is_string()) {
                    std::filesystem::path p = d["url"].get<std::string>();
                    if (p.is_relative())
                        p = std::filesystem::path(folder) / p;
                    auto read = files::readFile(p.lexically_normal());
                    if (read.ok)
                        texts.push_back({d["url"].get<std::string>(), read.bytes});
                    else
                        t.warnings.push_back(fmt::format("data.url \"{}\" cannot be read",
                                                         d["url"].get<std::string>()));
                }
            }
        features = mergeFeatures(texts, t.warnings);
        t.maps.push_back({"geojson", features.dump()});
    }
    int index = 0;
    for (auto const& u : units) {
        ++index;
        if (u.mark == "geoshape") {
            Rows fs;
            for (auto const& f : features["features"]) fs.push_back(f);
            translateGeoUnit(u, index, b, t, fs);
            if (!u.projection.empty()) {
                std::string p = u.projection == "albersUsa"    ? "albersUsa"
                                : u.projection == "equalEarth" ? "equalEarth"
                                : u.projection == "albers" || u.projection == "conicEqualArea"
                                    ? "albers"
                                : u.projection == "equirectangular" ? "equirectangular"
                                                                    : "";
                if (p.empty())
                    t.warnings.push_back(fmt::format(
                        "projection \"{}\" is not supported; the map's own is used", u.projection));
                else
                    b.coords.push_back(fmt::format("COORD: project(projection.{})", p));
            }
            continue;
        }
        if (anyGeo && !(u.enc.count("longitude") && u.enc.count("latitude"))) {
            t.warnings.push_back(fmt::format(
                "a \"{}\" layer beside a geoshape needs longitude and latitude; it is left out",
                u.mark));
            continue;
        }
        Rows rows = u.data.is_null() ? topRows : loadRows(u.data, folder, t.warnings);
        translatePlotUnit(u, index, b, t, rows);
    }
    if (b.elements.empty())
        return t;
    // Only one coordinate statement counts.
    if (b.coords.size() > 1)
        b.coords.resize(1);
    if (!t.description.empty())
        b.guides.push_back(fmt::format("GUIDE: text.title(label({}))", gplString(t.description)));
    std::string page;
    if (spec.contains("width") && spec["width"].is_number() && spec.contains("height") &&
        spec["height"].is_number())
        page = fmt::format("PAGE: begin(scale({}px, {}px))\n", spec["width"].get<double>() + 120,
                           spec["height"].get<double>() + 110);
    t.gpl = b.text(page);
    return t;
}

Translation translateText(std::string const& text, std::string const& folder,
                          std::vector<std::pair<std::string, std::string>> const& geoJson) {
    json spec = json::parse(text, nullptr, false);
    if (spec.is_discarded()) {
        Translation t;
        t.rows = std::make_unique<VarDataProcessor>();
        t.warnings.push_back("the JSON chart is not valid JSON");
        return t;
    }
    try {
        return translate(spec, folder, geoJson);
    } catch (json::exception const& e) {
        // A value of an unexpected JSON type somewhere deep in the JSON chart.
        Translation t;
        t.rows = std::make_unique<VarDataProcessor>();
        t.warnings.push_back(fmt::format("the JSON chart could not be read: {}", e.what()));
        return t;
    }
}

}  // namespace host::vizjson
