#include "host/chart/chart_render.h"
#include "host/maps/map_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "host/chart/chart_statistics.h"
#include "platform/chart_string.h"
#include "platform/var_data_processor.h"

namespace host::chart {

namespace {

using gpl::Node;
constexpr double kSysmis = -std::numeric_limits<double>::max();

double roundTick(double v);

Color hexColor(std::string const& hex, double alpha = 1) {
    unsigned v = 0;
    std::sscanf(hex.c_str() + (hex[0] == '#' ? 1 : 0), "%x", &v);
    return {((v >> 16) & 255) / 255.0, ((v >> 8) & 255) / 255.0, (v & 255) / 255.0, alpha};
}

// A colour-blind-safe categorical palette (Okabe and Ito), in an order that keeps neighbours
// apart.
constexpr char const* kPalette[] = {"#0072B2", "#E69F00", "#009E73", "#CC79A7",
                                    "#56B4E9", "#D55E00", "#F0E442", "#000000"};

struct NamedColor {
    char const* name;
    char const* hex;
};
constexpr NamedColor kNamedColors[] = {
    {"red", "#D62728"},        {"blue", "#1F77B4"},      {"green", "#2CA02C"},
    {"black", "#000000"},      {"white", "#FFFFFF"},     {"grey", "#7F7F7F"},
    {"gray", "#7F7F7F"},       {"lightgray", "#D3D3D3"}, {"lightgrey", "#D3D3D3"},
    {"darkgray", "#404040"},   {"darkgrey", "#404040"},  {"orange", "#FF7F0E"},
    {"yellow", "#F2C500"},     {"purple", "#9467BD"},    {"brown", "#8C564B"},
    {"pink", "#E377C2"},       {"lightblue", "#ADD8E6"}, {"darkblue", "#08306B"},
    {"lightgreen", "#90EE90"}, {"darkgreen", "#006400"}, {"cyan", "#17BECF"},
    {"magenta", "#E7298A"},    {"navy", "#1F3A68"},      {"teal", "#008080"},
};

std::string numberKey(double v) {
    ChartString s;
    s.assignDouble(v, 16);
    return s.toUTF8();
}

// ---- the chart as the statements describe it

struct AxisGuide {
    bool hidden = false;
    bool ticksHidden = false;
    bool gridlines = false;
    bool gridlinesSet = false;
    double delta = 0;
    bool hasStart = false;
    double start = 0;
    bool opposite = false;
    std::string label;
    bool labelSet = false;
};

struct ScaleSpec {
    std::string type;  // linear, log, cat
    bool hasMin = false, hasMax = false;
    double min = 0, max = 0;
    std::vector<double> includeNumbers;
    std::vector<std::string> includeValues;
    std::vector<std::string> sortValues;
    bool reverse = false;
    double base = 10;
};

struct ColorScaleSpec {
    std::map<std::string, std::string> map;  // category -> colour name or hex
};

struct ElementSpec {
    std::string type;      // interval, point, line, area, path
    std::string modifier;  // stack, dodge
    Node const* position = nullptr;
    Node const* color = nullptr;  // interior colour
    Node const* exterior = nullptr;
    Node const* shape = nullptr;
    Node const* size = nullptr;
    Node const* transparency = nullptr;
    Node const* label = nullptr;
    Node const* split = nullptr;
    std::string missing = "gap";
    bool closed = false;
    bool fitLine = false;  // a fit line added by a template, labelled with its R squared
    int line = 0;
};

struct RefLine {
    int dim = 2;
    double value = 0;
    std::string colorHex = "#D62728";
    std::string label;
};

struct Spec {
    double width = 640, height = 480;
    std::vector<ElementSpec> elements;
    std::map<int, ScaleSpec> scales;
    ColorScaleSpec colorScale;
    bool transpose = false;
    int clusterDim = 0;
    std::map<int, AxisGuide> axes;
    std::string legendLabel;
    bool legendLabelSet = false;
    bool legendHidden = false;
    std::string title, subtitle, subsubtitle, footnote;
    std::vector<RefLine> refLines;
    bool polar = false;  // polar.theta: pies
    double startAngle = 0;
    bool graphPlaced = false;  // GRAPH: begin(origin(), scale()) as fractions of the page
    double graphX = 0, graphY = 0, graphW = 1, graphH = 1;
    bool totalFit = false, subgroupFit = false;  // fit lines asked for by inline templates
    bool elementsRefused = false;                // a coordinate system the engine cannot draw
    std::string gradientLow = "#DEEBF7", gradientHigh = "#08519C";  // counts of two-way bins
};

std::string labelOf(Node const& call) {
    std::string out;
    if (auto const* l = call.find("label")) {
        for (auto const& a : l->args) {
            if (a.kind == Node::Kind::String)
                out += a.value;
            else if (a.kind == Node::Kind::Number)
                out += fmt::format("{}", a.number);
        }
    }
    return out;
}

int dimOf(Node const& call) {
    if (auto const* d = call.find("dim"))
        if (!d->args.empty() && d->args[0].kind == Node::Kind::Number)
            return static_cast<int>(d->args[0].number);
    return 0;
}

double sizeValue(Node const& n, double relativeTo, double fallback) {
    std::string text;
    double number = 0;
    std::string unit;
    if (n.kind == Node::Kind::Constant) {
        text = n.value;
        char* end = nullptr;
        number = std::strtod(text.c_str(), &end);
        unit = end ? std::string(end) : "";
    } else if (n.kind == Node::Kind::Number) {
        number = n.number;
        unit = n.value;
    } else {
        return fallback;
    }
    if (unit == "%")
        return number / 100.0 * relativeTo;
    if (unit == "pt")
        return number * 4.0 / 3.0;
    if (unit == "in")
        return number * 96;
    if (unit == "cm")
        return number * 96 / 2.54;
    if (unit.empty() && number > 0 && number <= 1 && relativeTo > 0)
        return number * relativeTo;
    return number;
}

double numberOption(Node const* call, char const* option, double fallback) {
    if (call)
        if (auto const* o = call->find(option); o && !o->args.empty())
            return o->args[0].kind == Node::Kind::Constant
                       ? std::strtod(o->args[0].value.c_str(), nullptr)
                       : o->args[0].number;
    return fallback;
}

Spec readSpec(gpl::Program const& program, std::vector<std::string>& warnings) {
    Spec spec;
    int graphs = 0;
    for (auto const& st : program.statements) {
        Node const& b = st.body;
        std::string key = b.key();
        if (st.keyword == "GRAPH" && key == "begin") {
            if (++graphs == 2)
                warnings.push_back(fmt::format(
                    "line {}: several graphs on one page are not supported yet; only the first "
                    "is drawn",
                    st.line));
            if (graphs == 1) {
                // Percentages of the page, or lengths in pixels and other units.
                auto frac = [](Node const& n, double extent, double fallback) {
                    bool relative = n.kind == Node::Kind::Number && n.value == "%";
                    double v = sizeValue(n, relative ? 1 : extent, fallback * extent);
                    return relative ? v : v / extent;
                };
                if (auto const* o = b.find("origin"); o && o->args.size() >= 2) {
                    spec.graphX = std::clamp(frac(o->args[0], spec.width, 0), 0.0, 0.9);
                    spec.graphY = std::clamp(frac(o->args[1], spec.height, 0), 0.0, 0.9);
                    spec.graphPlaced = true;
                }
                if (auto const* sc = b.find("scale"); sc && sc->args.size() >= 2) {
                    spec.graphW = std::clamp(frac(sc->args[0], spec.width, 1), 0.1, 1.0);
                    spec.graphH = std::clamp(frac(sc->args[1], spec.height, 1), 0.1, 1.0);
                    spec.graphPlaced = true;
                }
            }
            continue;
        }
        if (graphs > 1)
            continue;  // the statements of a second graph
        if (st.keyword == "PAGE" && key == "begin") {
            if (auto const* s = b.find("scale"); s && s->args.size() >= 2) {
                spec.width = std::clamp(sizeValue(s->args[0], 640, 640), 100.0, 10000.0);
                spec.height = std::clamp(sizeValue(s->args[1], 480, 480), 80.0, 10000.0);
            }
        } else if (st.keyword == "SCALE") {
            for (auto const& a : b.args)
                if (a.kind == Node::Kind::Call && a.key() == "aesthetic") {
                    if (auto const* m = b.find("map"))
                        for (auto const& pair : m->args)
                            if (pair.kind == Node::Kind::Tuple && pair.args.size() == 2) {
                                auto const& c = pair.args[1];
                                std::string col = c.kind == Node::Kind::Constant
                                                      ? "#" + c.value
                                                      : gpl::lower(c.name);
                                std::string k = pair.args[0].kind == Node::Kind::String
                                                    ? pair.args[0].value
                                                    : numberKey(pair.args[0].number);
                                spec.colorScale.map[k] = col;
                            }
                    auto colorText = [](Node const* c) -> std::string {
                        if (!c || c->args.empty())
                            return {};
                        auto const& a = c->args[0];
                        return a.kind == Node::Kind::Constant ? "#" + a.value : gpl::lower(a.name);
                    };
                    if (auto t = colorText(b.find("aestheticminimum")); !t.empty())
                        spec.gradientLow = t;
                    if (auto t = colorText(b.find("aestheticmaximum")); !t.empty())
                        spec.gradientHigh = t;
                    goto nextStatement;
                }
            {
                int dim = dimOf(b);
                if (dim <= 0)
                    continue;
                ScaleSpec s;
                s.type = key;
                if (auto const* m = b.find("min"); m && !m->args.empty()) {
                    s.hasMin = true;
                    s.min = m->args[0].number;
                }
                if (auto const* m = b.find("max"); m && !m->args.empty()) {
                    s.hasMax = true;
                    s.max = m->args[0].number;
                }
                if (auto const* inc = b.find("include")) {
                    for (auto const& a : inc->args) {
                        if (a.kind == Node::Kind::Number)
                            s.includeNumbers.push_back(a.number);
                        else if (a.kind == Node::Kind::String)
                            s.includeValues.push_back(a.value);
                    }
                }
                if (auto const* sv = b.find("sort.values"))
                    for (auto const& a : sv->args)
                        s.sortValues.push_back(a.kind == Node::Kind::String ? a.value
                                                                            : numberKey(a.number));
                s.reverse = b.find("reverse") != nullptr;
                if (auto const* base = b.find("base"); base && !base->args.empty())
                    s.base = base->args[0].number > 1 ? base->args[0].number : 10;
                spec.scales[dim] = s;
            }
        nextStatement:;
        } else if (st.keyword == "COORD") {
            if (key == "polar.theta") {
                spec.polar = true;
                spec.startAngle = numberOption(&b, "startangle", 0);
            } else if (key != "rect") {
                warnings.push_back(fmt::format(
                    "line {}: the coordinate '{}' is not supported yet; nothing is drawn", st.line,
                    b.name));
                spec.elementsRefused = true;
            }
            if (key == "rect") {
                if (b.find("polar.theta") || b.find("polar")) {
                    warnings.push_back(fmt::format(
                        "line {}: polar coordinates inside panels are not supported yet; nothing "
                        "is drawn",
                        st.line));
                    spec.elementsRefused = true;
                }
                spec.transpose = b.find("transpose") != nullptr;
                if (auto const* c = b.find("cluster"); c && !c->args.empty())
                    spec.clusterDim = static_cast<int>(c->args[0].number);
            }
        } else if (st.keyword == "GUIDE") {
            if (key == "axis") {
                int dim = dimOf(b);
                AxisGuide& g = spec.axes[dim];
                g.hidden = b.find("null") != nullptr;
                if (auto const* t = b.find("ticks"); t && t->find("null"))
                    g.ticksHidden = true;
                if (b.find("gridlines"))
                    g.gridlines = g.gridlinesSet = true;
                if (auto const* d = b.find("delta"); d && !d->args.empty() && d->args[0].number > 0)
                    g.delta = d->args[0].number;
                if (auto const* s = b.find("start"); s && !s->args.empty()) {
                    g.hasStart = true;
                    g.start = s->args[0].number;
                }
                g.opposite = b.find("opposite") != nullptr;
                if (b.find("label")) {
                    g.label = labelOf(b);
                    g.labelSet = true;
                }
            } else if (key == "legend") {
                spec.legendHidden = b.find("null") != nullptr;
                if (b.find("label")) {
                    spec.legendLabel = labelOf(b);
                    spec.legendLabelSet = true;
                }
            } else if (key == "text.title") {
                spec.title = labelOf(b);
            } else if (key == "text.subtitle") {
                spec.subtitle = labelOf(b);
            } else if (key == "text.subsubtitle") {
                spec.subsubtitle = labelOf(b);
            } else if (key == "text.footnote") {
                spec.footnote = labelOf(b);
            } else if (key == "form.line") {
                RefLine r;
                if (auto const* p = b.find("position"); p && p->args.size() == 2) {
                    bool firstStar = p->args[0].kind == Node::Kind::Star;
                    r.dim = firstStar ? 2 : 1;
                    r.value = (firstStar ? p->args[1] : p->args[0]).number;
                }
                if (auto const* c = b.find("color"); c && !c->args.empty()) {
                    auto const& k = c->args[0];
                    r.colorHex = k.kind == Node::Kind::Constant ? "#" + k.value : k.key();
                }
                r.label = labelOf(b);
                spec.refLines.push_back(r);
            }
        } else if (st.keyword == "ELEMENT") {
            ElementSpec e;
            e.line = st.line;
            std::string type = key;
            auto dot = type.find('.');
            e.type = type.substr(0, dot);
            if (dot != std::string::npos)
                e.modifier = type.substr(dot + 1);
            static const std::set<std::string> kElements{"interval", "point", "line",    "area",
                                                         "path",     "edge",  "polygon", "schema"};
            if (!kElements.count(e.type)) {
                warnings.push_back(fmt::format(
                    "line {}: element '{}' is not supported yet; it is left out", st.line, b.name));
                continue;
            }
            if (!e.modifier.empty() && e.modifier != "stack" && e.modifier != "dodge")
                warnings.push_back(
                    fmt::format("line {}: '{}' is drawn without its modifier", st.line, b.name));
            e.position = b.find("position");
            e.color = b.find("color.interior");
            if (!e.color)
                e.color = b.find("color");
            e.exterior = b.find("color.exterior");
            e.shape = b.find("shape.interior");
            if (!e.shape)
                e.shape = b.find("shape");
            e.size = b.find("size");
            e.transparency = b.find("transparency.interior");
            if (!e.transparency)
                e.transparency = b.find("transparency");
            e.label = b.find("label");
            e.split = b.find("split");
            if (b.find("missing.interpolate"))
                e.missing = "interpolate";
            if (b.find("missing.wings"))
                e.missing = "wings";
            e.closed = b.find("closed") != nullptr;
            if (!e.position) {
                warnings.push_back(
                    fmt::format("line {}: element '{}' has no position", st.line, b.name));
                continue;
            }
            spec.elements.push_back(e);
        }
    }
    return spec;
}

// ---- data

struct Column {
    ChartVariableRecord const* var = nullptr;
    bool categorical = false;
    std::vector<double> numbers;    // kSysmis for missing
    std::vector<std::string> keys;  // category keys ("" for missing)
    std::vector<bool> missing;
};

class DataView {
public:
    DataView(ChartModel const& model, VarDataProcessor const* data) : model_(model), data_(data) {}

    std::size_t rows(std::string const& gplSource) const {
        if (!data_)
            return 0;
        return data_->GetRowCount(vdpSource(gplSource));
    }

    // The column of a chart variable; null with `error` when the rows lack it.
    std::optional<Column> column(std::string const& name, std::string& error) const {
        ChartVariableRecord const* var = nullptr;
        for (auto const& v : model_.variables)
            if (v.name == name) {
                var = &v;
                break;
            }
        if (!var) {
            error = fmt::format("variable '{}' is not declared", name);
            return std::nullopt;
        }
        Column c;
        c.var = var;
        c.categorical = var->categorical;
        std::string source = vdpSource(var->source);
        if (!data_ || !data_->HasSource(source)) {
            error = fmt::format("no rows were supplied for source '{}'", var->source);
            return std::nullopt;
        }
        int index = data_->FindVariable(source, var->column);
        if (index < 0) {
            error = fmt::format("the rows of source '{}' have no column '{}' (variable '{}')",
                                source, var->column, name);
            return std::nullopt;
        }
        unsigned n = data_->GetRowCount(source);
        // Keys (category texts) only where they are needed: a million-row scale column has none.
        bool wantKeys = var->categorical || !var->notIn.empty();
        c.numbers.resize(n, kSysmis);
        c.keys.resize(n);
        c.missing.resize(n, true);
        std::set<std::string> notIn(var->notIn.begin(), var->notIn.end());
        for (unsigned r = 0; r < n; ++r) {
            auto kind = data_->GetCellKind(source, index, r);
            if (kind == VarDataProcessor::CellKind::Number) {
                double v = data_->GetNumber(source, index, r);
                if (!std::isfinite(v))
                    continue;
                c.numbers[r] = v;
                if (wantKeys)
                    c.keys[r] = numberKey(v);
                c.missing[r] = false;
            } else if (kind == VarDataProcessor::CellKind::Text) {
                c.keys[r] = data_->GetText(source, index, r);
                c.categorical = true;  // a text column is always categorical
                c.missing[r] = false;
            }
            if (!c.missing[r] && wantKeys && notIn.count(c.keys[r]))
                c.missing[r] = true;
        }
        if (c.categorical && !wantKeys)  // texts turned up: every value is a category
            for (unsigned r = 0; r < n; ++r)
                if (!c.missing[r] && c.keys[r].empty() && c.numbers[r] != kSysmis)
                    c.keys[r] = numberKey(c.numbers[r]);
        return c;
    }

private:
    std::string vdpSource(std::string const& gplSource) const {
        for (auto const& s : model_.sources)
            if (s.name == gplSource) {
                std::string id = s.id.empty() ? s.name : s.id;
                if (data_ && !data_->HasSource(id) && data_->HasSource(s.name))
                    return s.name;
                return id;
            }
        return gplSource;
    }
    ChartModel const& model_;
    VarDataProcessor const* data_;
};

// ---- algebra: factors of the position, by dimension

struct Factor {
    std::vector<std::string> names;  // one name, or several for a blend; empty for unity
    bool unity = false;
};

enum class StatKind { Summary, Percent, Bin, Box, Density, Region, Smooth };

struct StatisticDef {
    char const* name;
    StatKind kind;
};

// The statistics an element's position can ask for. A name that is not here is refused with
// the element, so that a chart is never drawn with a statistic it did not ask for.
constexpr StatisticDef kStatistics[] = {
    {"summary.count", StatKind::Summary},
    {"summary.sum", StatKind::Summary},
    {"summary.mean", StatKind::Summary},
    {"summary.median", StatKind::Summary},
    {"summary.min", StatKind::Summary},
    {"summary.max", StatKind::Summary},
    {"summary.mode", StatKind::Summary},
    {"summary.range", StatKind::Summary},
    {"summary.sd", StatKind::Summary},
    {"summary.variance", StatKind::Summary},
    {"summary.percent", StatKind::Percent},
    {"summary.percent.count", StatKind::Percent},
    {"bin.rect", StatKind::Bin},
    {"bin.quantile.letter", StatKind::Box},
    {"density.normal", StatKind::Density},
    {"region.confi.mean", StatKind::Region},
    {"region.confi.count", StatKind::Region},
    {"region.confi.percent.count", StatKind::Region},
    {"region.spread.sd", StatKind::Region},
    {"region.spread.se", StatKind::Region},
    {"region.spread.range", StatKind::Region},
    {"smooth.linear", StatKind::Smooth},
};

StatisticDef const* findStatistic(std::string const& key) {
    for (auto const& d : kStatistics)
        if (key == d.name)
            return &d;
    return nullptr;
}

struct Position {
    std::string statistic;  // empty, or the outer statistic: summary.count, region.confi.mean...
    StatKind kind = StatKind::Summary;
    Node const* statCall = nullptr;  // for its options (base, alpha, multiple)
    bool binned = false;             // bin.rect inside (or as) the statistic
    BinOptions bin;
    std::vector<Factor> factors;
    std::vector<Factor> nests;  // the right sides of '/', in order: panels
    std::string error;
};

void flattenCross(Node const& n, std::vector<Node const*>& out) {
    if (n.kind == Node::Kind::Cross) {
        flattenCross(n.args[0], out);
        flattenCross(n.args[1], out);
    } else {
        out.push_back(&n);
    }
}

void blendNames(Node const& n, std::vector<std::string>& out, std::string& error) {
    if (n.kind == Node::Kind::Blend) {
        blendNames(n.args[0], out, error);
        blendNames(n.args[1], out, error);
    } else if (n.kind == Node::Kind::Name) {
        out.push_back(n.name);
    } else {
        error = fmt::format("line {}: only variables can be blended with '+'", n.line);
    }
}

Position readPosition(Node const& position) {
    Position p;
    if (position.args.empty()) {
        p.error = "position() is empty";
        return p;
    }
    Node const* algebra = &position.args[0];
    // Statistics wrap algebra, and may wrap one another: summary.count(bin.rect(x)).
    while (algebra->kind == Node::Kind::Call) {
        std::string k = algebra->key();
        auto const* def = findStatistic(k);
        if (!def) {
            p.error = fmt::format("line {}: the statistic '{}' is not supported yet", algebra->line,
                                  algebra->name);
            return p;
        }
        if (def->kind == StatKind::Bin) {
            p.binned = true;
            p.bin.count = static_cast<int>(numberOption(algebra, "bincount", 0));
            p.bin.width = numberOption(algebra, "binwidth", 0);
            if (algebra->find("binstart")) {
                p.bin.hasStart = true;
                p.bin.start = numberOption(algebra, "binstart", 0);
            }
            if (p.bin.count < 0 || p.bin.width < 0) {
                p.error =
                    fmt::format("line {}: binCount and binWidth must be positive", algebra->line);
                return p;
            }
        }
        if (p.statistic.empty() && def->kind != StatKind::Bin) {
            p.statistic = k;
            p.kind = def->kind;
            p.statCall = algebra;
        } else if (def->kind != StatKind::Bin) {
            p.error = fmt::format("line {}: '{}' cannot be taken of another statistic",
                                  algebra->line, algebra->name);
            return p;
        }
        if (algebra->args.empty() || (algebra->args[0].kind != Node::Kind::Call &&
                                      algebra->args[0].kind != Node::Kind::Name &&
                                      algebra->args[0].kind != Node::Kind::Number &&
                                      algebra->args[0].kind != Node::Kind::Cross &&
                                      algebra->args[0].kind != Node::Kind::Nest &&
                                      algebra->args[0].kind != Node::Kind::Blend)) {
            p.error = fmt::format("line {}: '{}' needs variables, as in {}(x*y)", algebra->line,
                                  algebra->name, algebra->name);
            return p;
        }
        if (algebra->args[0].kind == Node::Kind::Call && !findStatistic(algebra->args[0].key())) {
            p.error = fmt::format("line {}: '{}' needs variables, as in {}(x*y)", algebra->line,
                                  algebra->name, algebra->name);
            return p;
        }
        algebra = &algebra->args[0];
    }
    std::vector<Node const*> parts;
    flattenCross(*algebra, parts);
    auto toFactor = [&](Node const& part, Factor& f) {
        if (part.kind == Node::Kind::Number && part.number == 1)
            f.unity = true;
        else
            blendNames(part, f.names, p.error);
    };
    for (auto const* part : parts) {
        Factor f;
        Node const* inner = part;
        // a/b: a within each value of b; b makes the panels.
        std::vector<Node const*> nestedIn;
        while (inner->kind == Node::Kind::Nest) {
            nestedIn.insert(nestedIn.begin(), &inner->args[1]);
            inner = &inner->args[0];
        }
        toFactor(*inner, f);
        for (auto const* n : nestedIn) {
            Factor nf;
            toFactor(*n, nf);
            if (nf.names.size() != 1 && p.error.empty())
                p.error = fmt::format("line {}: only one variable can follow '/'", n->line);
            p.nests.push_back(nf);
        }
        if (!p.error.empty())
            return p;
        p.factors.push_back(f);
    }
    return p;
}

// One drawn datum: categories and value per dimension, aesthetics.
struct Mark {
    std::string x;  // dim 1 category key (categorical dim 1)
    double xNum = 0;
    double y = 0, y0 = 0;
    std::string cluster, panelCol, panelRow;
    std::string colorKey, shapeKey, series;
    std::string labelText;
    double row = 0;  // order in the data
    // A bin along dimension 1: its edges (x0, x1); a cell of a two-way bin also has y0..y and
    // the weighted count of its cases in `cell`.
    bool binned = false;
    double x0 = 0, x1 = 0, cell = 0;
    bool ranged = false;  // an interval from y0 to y rather than from the base
    std::shared_ptr<BoxStats> box;
    std::vector<std::string> outlierLabels;  // parallel to box->outliers
};

// ---- scales

struct CatScale {
    std::vector<std::string> keys;
    std::map<std::string, std::string> labels;
    int index(std::string const& key) const {
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (keys[i] == key)
                return static_cast<int>(i);
        return -1;
    }
    std::string label(std::string const& key) const {
        auto it = labels.find(key);
        return it == labels.end() ? key : it->second;
    }
};

bool allNumbers(std::vector<std::string> const& keys) {
    for (auto const& k : keys) {
        char* end = nullptr;
        std::strtod(k.c_str(), &end);
        if (k.empty() || *end != '\0')
            return false;
    }
    return true;
}

CatScale trainCategories(std::vector<std::string> const& seen, ChartVariableRecord const* var,
                         ScaleSpec const* scale, bool numeric) {
    CatScale s;
    numeric = numeric && allNumbers(seen);
    std::vector<std::string> values = seen;
    if (scale)
        for (auto const& v : scale->includeValues) values.push_back(v);
    // Value order: numbers by value, texts as they sort.
    std::sort(values.begin(), values.end(), [&](std::string const& a, std::string const& b) {
        if (numeric)
            return std::strtod(a.c_str(), nullptr) < std::strtod(b.c_str(), nullptr);
        return a < b;
    });
    values.erase(std::unique(values.begin(), values.end()), values.end());
    if (scale && !scale->sortValues.empty()) {
        std::vector<std::string> ordered;
        for (auto const& v : scale->sortValues)
            if (std::find(values.begin(), values.end(), v) != values.end())
                ordered.push_back(v);
        for (auto const& v : values)
            if (std::find(ordered.begin(), ordered.end(), v) == ordered.end())
                ordered.push_back(v);
        values = ordered;
    }
    if (scale && scale->reverse)
        std::reverse(values.begin(), values.end());
    s.keys = values;
    if (var)
        for (auto const& r : var->relabels) s.labels[r.value] = r.label;
    return s;
}

struct LinScale {
    double lo = 0, hi = 1;
    bool log = false;
    double base = 10;
    bool reverse = false;
    std::vector<double> ticks;
    double step = 0;
    double map(double v, double a, double b) const {  // to pixel range a..b
        double t;
        if (log) {
            double l = std::log(std::max(v, 1e-300)), l0 = std::log(lo), l1 = std::log(hi);
            t = (l - l0) / (l1 - l0);
        } else {
            t = (v - lo) / (hi - lo);
        }
        if (reverse)
            t = 1 - t;
        return a + t * (b - a);
    }
};

LinScale trainLinear(double lo, double hi, ScaleSpec const* scale, AxisGuide const* guide,
                     bool nice) {
    LinScale s;
    if (scale)
        for (double v : scale->includeNumbers) {
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
    if (!(lo <= hi))
        lo = 0, hi = 1;
    if (scale && scale->type == "log") {
        s.log = true;
        s.base = scale->base;
        if (lo <= 0)
            lo = hi > 0 ? hi / 1000 : 1;
        if (hi <= 0)
            hi = 10;
        double e0 = std::floor(std::log(lo) / std::log(s.base) + 1e-9);
        double e1 = std::ceil(std::log(hi) / std::log(s.base) - 1e-9);
        if (e1 <= e0)
            e1 = e0 + 1;
        s.lo = std::pow(s.base, e0);
        s.hi = std::pow(s.base, e1);
        if (scale->hasMin && scale->min > 0)
            s.lo = scale->min;
        if (scale->hasMax && scale->max > s.lo)
            s.hi = scale->max;
        for (double e = e0; e <= e1 + 1e-9; ++e) {
            double t = std::pow(s.base, e);
            if (t >= s.lo * (1 - 1e-9) && t <= s.hi * (1 + 1e-9))
                s.ticks.push_back(t);
        }
        s.step = 0;
        s.reverse = scale->reverse;
        return s;
    }
    if (scale && scale->hasMin)
        lo = scale->min;
    if (scale && scale->hasMax)
        hi = scale->max;
    if (hi == lo) {
        double pad = lo == 0 ? 1 : std::fabs(lo) * 0.1;
        lo -= pad;
        hi += pad;
    }
    s.ticks = niceTicks(lo, hi);
    s.step = s.ticks.size() > 1 ? s.ticks[1] - s.ticks[0] : (hi - lo);
    // A domain that ends off the round values (a box plot, a padded scatter) can leave only
    // two ticks inside it; a finer round step keeps the axis readable.
    for (int k = 0; k < 3 && !nice && s.step > 0; ++k) {
        double inside = std::floor(hi / s.step + 1e-9) - std::ceil(lo / s.step - 1e-9) + 1;
        if (inside >= 4)
            break;
        double mag = std::pow(10, std::floor(std::log10(s.step) + 1e-9));
        double m = s.step / mag;
        s.step = roundTick((m > 4.9 ? 2.5 : m > 2.4 ? 2 : m > 1.9 ? 1 : 0.5) * mag);
    }
    if (guide && guide->delta > 0 && (hi - lo) / guide->delta <= 200)
        s.step = guide->delta;
    if (nice) {
        if (!(scale && scale->hasMin))
            lo = std::floor(lo / s.step + 1e-9) * s.step;
        if (!(scale && scale->hasMax))
            hi = std::ceil(hi / s.step - 1e-9) * s.step;
    }
    s.lo = lo;
    s.hi = hi;
    double first = guide && guide->hasStart ? guide->start : std::ceil(lo / s.step - 1e-9) * s.step;
    s.ticks.clear();
    for (int k = 0; s.ticks.size() < 200; ++k) {
        double t = roundTick(first + k * s.step);
        if (t > hi + s.step * 1e-9)
            break;
        if (t >= lo - s.step * 1e-9)
            s.ticks.push_back(std::fabs(t) < s.step * 1e-9 ? 0 : t);
    }
    s.reverse = scale && scale->reverse;
    return s;
}

// ---- layout helpers

struct Rect {
    double x = 0, y = 0, w = 0, h = 0;
};

Primitive text(std::string role, std::string s, double x, double y, double size, int anchor,
               Color color = {0.2, 0.2, 0.2, 1}) {
    Primitive p;
    p.kind = Primitive::Kind::Text;
    p.role = std::move(role);
    // Texts come from the rows as bytes; bad UTF-8 would break the SVG and Pango alike.
    ChartString clean;
    clean.assignUTF8(s);
    p.text = clean.toUTF8();
    p.x = x;
    p.y = y;
    p.fontSize = size;
    p.anchor = anchor;
    p.fill = color;
    return p;
}

Primitive line(std::string role, double x1, double y1, double x2, double y2, Color c,
               double width) {
    Primitive p;
    p.kind = Primitive::Kind::Polyline;
    p.role = std::move(role);
    p.points = {{x1, y1}, {x2, y2}};
    p.stroke = c;
    p.strokeWidth = width;
    return p;
}

std::string fitText(std::string const& s, double maxWidth, double size, TextMeasurer const& m) {
    if (m.measure(s, size, false).width <= maxWidth)
        return s;
    std::string out = s;
    while (!out.empty() && m.measure(out + "…", size, false).width > maxWidth) {
        out.pop_back();
        while (!out.empty() && (static_cast<unsigned char>(out.back()) & 0xC0) == 0x80)
            out.pop_back();
    }
    return out + "…";
}

struct Series {
    std::string key;
    std::string label;
    Color color;
    std::string shape = "circle";
};

const Color kAxisColor{0.35, 0.35, 0.35, 1};
const Color kErrorBarColor{0.15, 0.15, 0.15, 1};
const Color kGridColor{0.88, 0.88, 0.88, 1};
const Color kTextColor{0.2, 0.2, 0.2, 1};
constexpr double kTickFont = 11, kTitleFont = 12;

}  // namespace

std::string Color::hex() const {
    auto c = [](double v) { return static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255)); };
    return fmt::format("#{:02X}{:02X}{:02X}", c(r), c(g), c(b));
}

std::vector<Primitive const*> Scene::withRole(std::string const& role) const {
    std::vector<Primitive const*> out;
    for (auto const& p : items)
        if (p.role == role)
            out.push_back(&p);
    return out;
}

TextSize FixedTextMeasurer::measure(std::string const& text, double fontSize, bool) const {
    std::size_t chars = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80)
            ++chars;
    return {0.6 * fontSize * static_cast<double>(chars), 1.2 * fontSize};
}

namespace {
// k * step carries binary noise (0.6000000000000001); ticks are decimal numbers.
double roundTick(double v) {
    if (v == 0)
        return 0;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.12g", v);
    return std::strtod(buffer, nullptr);
}
}  // namespace

std::vector<double> niceTicks(double lo, double hi, int target) {
    if (!(hi > lo) || !std::isfinite(lo) || !std::isfinite(hi))
        return {lo};
    double raw = (hi - lo) / std::max(target - 1, 1);
    double mag = std::pow(10, std::floor(std::log10(raw)));
    double step = mag * 10;
    for (double m : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (raw <= m * mag * (1 + 1e-9)) {
            step = m * mag;
            break;
        }
    std::vector<double> out;
    double k0 = std::floor(lo / step + 1e-9), k1 = std::ceil(hi / step - 1e-9);
    for (double k = k0; k <= k1 && out.size() <= 100; ++k) out.push_back(roundTick(k * step));
    return out;
}

std::string formatNumber(double value, NumberFormat const& format, double step) {
    if (value == kSysmis || !std::isfinite(value))
        return "";
    int decimals = format.decimals;
    if (!format.set || decimals < 0) {
        decimals = 0;
        if (step > 0) {
            double s = step;
            while (decimals < 12 && std::fabs(s - std::round(s)) > s * 1e-6 + 1e-12) {
                s *= 10;
                ++decimals;
            }
        } else {
            // Plain values: up to 4 significant decimals, trailing zeros dropped.
            std::string t = fmt::format("{:.4f}", value);
            while (t.find('.') != std::string::npos && (t.back() == '0' || t.back() == '.'))
                t.pop_back();
            auto dot = t.find('.');
            decimals = dot == std::string::npos ? 0 : static_cast<int>(t.size() - dot - 1);
        }
    }
    std::string body;
    if (decimals > 6 && std::fabs(value) > 0) {
        body = fmt::format("{:.{}e}", value, std::max(0, decimals - 6));  // tiny steps
        auto e = body.find('e');
        std::string mant = body.substr(0, e);
        int exp = std::stoi(body.substr(e + 1));
        body = mant + "e" + std::to_string(exp);
    } else {
        body = fmt::format("{:.{}f}", std::fabs(value), decimals);
        if (format.grouping) {
            auto dot = body.find('.');
            std::string whole = body.substr(0, dot);
            std::string rest = dot == std::string::npos ? "" : body.substr(dot);
            std::string grouped;
            for (std::size_t i = 0; i < whole.size(); ++i) {
                if (i > 0 && (whole.size() - i) % 3 == 0)
                    grouped += ',';
                grouped += whole[i];
            }
            body = grouped + rest;
        }
        bool zero = body.find_first_not_of("0.,") == std::string::npos;
        if (value < 0 && !zero)
            body = "-" + body;
    }
    return format.prefix + body + format.suffix;
}

Scene buildScene(ChartModel const& model, VarDataProcessor const* data,
                 TextMeasurer const& measurer) {
    if (maps::drawsMap(model))
        return maps::buildMapScene(model, data, measurer);
    Scene scene;
    Spec spec = readSpec(model.program, scene.warnings);
    scene.width = spec.width;
    scene.height = spec.height;
    DataView view(model, data);

    // Evaluate each element into marks.
    struct Evaluated {
        ElementSpec const* element;
        std::vector<Mark> marks;
        bool xCategorical = true;
        bool hasColor = false;
        bool cells = false;  // two-way bins, coloured by their counts
    };
    std::vector<Evaluated> evaluated;
    std::deque<ElementSpec> fitElements;  // the fit lines of inline templates
    ChartVariableRecord const* xVar = nullptr;
    ChartVariableRecord const* yVar = nullptr;
    ChartVariableRecord const* colorVar = nullptr;
    ChartVariableRecord const* clusterVar = nullptr;
    ChartVariableRecord const* panelVar = nullptr;
    std::vector<std::string> yNames;
    std::string yStatistic;
    bool xCategorical = true, anyNumericX = false;
    std::map<std::string, std::string> seriesLabels;
    std::vector<std::string> seenX, seenCluster, seenPanel, seenPanelRow, seenColor, seenShape;
    bool xNumericKeys = true, colorNumericKeys = true;

    ChartVariableRecord const* panelRowVar = nullptr;
    double cellMax = 0;  // the largest count of a two-way bin: the top of the colour gradient
    bool anyCells = false;
    // The weight variable of a source: the one the command added, or userSource's weight().
    auto weightName = [&](std::string const& source) {
        for (auto const& v : model.variables)
            if (v.weight && v.source == source)
                return v.name;
        for (auto const& st : model.program.statements)
            if (st.keyword == "SOURCE" && st.target == source)
                if (auto const* w = st.body.find("weight");
                    w && !w->args.empty() && w->args[0].kind == Node::Kind::Name)
                    return w->args[0].name;
        return std::string();
    };
    // Bin edges over every row of a column, so that all panels and groups share them.
    auto edgesOf = [](Column const& c, BinOptions const& options) {
        double lo = std::numeric_limits<double>::infinity(), hi = -lo;
        std::size_t cases = 0;
        for (std::size_t r = 0; r < c.numbers.size(); ++r)
            if (!c.missing[r] && c.numbers[r] != kSysmis) {
                lo = std::min(lo, c.numbers[r]);
                hi = std::max(hi, c.numbers[r]);
                ++cases;
            }
        return cases ? binEdges(lo, hi, cases, options) : std::vector<double>{};
    };
    // Fit lines asked for by the document's inline templates.
    for (auto const& t : model.inlineTemplates) {
        if (t.find("addFitLine") == std::string::npos)
            continue;
        if (t.find("type=\"linear\"") == std::string::npos) {
            scene.warnings.push_back(
                "only linear fit lines are supported yet; a fit line of "
                "another type is left out");
            continue;
        }
        if (t.find("target=\"pair\"") != std::string::npos)
            spec.totalFit = true;
        if (t.find("target=\"subgroup\"") != std::string::npos)
            spec.subgroupFit = true;
    }

    for (auto const& element : spec.elements) {
        if (spec.elementsRefused)
            break;
        Position pos = readPosition(*element.position);
        if (!pos.error.empty()) {
            scene.warnings.push_back(pos.error);
            continue;
        }
        auto warn = [&](std::string text) {
            scene.warnings.push_back(fmt::format("line {}: {}", element.line, text));
        };
        std::string err;
        auto load = [&](std::string const& name) -> std::optional<Column> {
            auto c = view.column(name, err);
            if (!c)
                scene.warnings.push_back(fmt::format("line {}: {}", element.line, err));
            return c;
        };
        if (spec.polar && element.type != "interval") {
            warn(fmt::format("only interval is drawn in polar.theta coordinates; '{}' is left out",
                             element.type));
            continue;
        }
        if (element.type == "schema" && pos.statistic.empty() && !pos.binned) {
            pos.statistic = "bin.quantile.letter";  // a box plot needs its letter values
            pos.kind = StatKind::Box;
        }
        if (element.type == "schema" && pos.kind != StatKind::Box) {
            warn("schema draws box plots of bin.quantile.letter only");
            continue;
        }
        std::string const& stat = pos.statistic;
        StatKind kind = pos.kind;
        bool summary = !stat.empty() || pos.binned;
        std::vector<Factor> factors = pos.factors;
        // In a pie the angle is the first dimension and carries the values; alone, a
        // continuous variable there (a precomputed count) is summed, not counted.
        if (spec.polar && factors.size() >= 2)
            std::swap(factors[0], factors[1]);
        if (spec.polar && factors.size() == 1 && factors[0].names.size() == 1 &&
            stat != "summary.count" && stat != "summary.percent.count") {
            bool continuous = false;
            for (auto const& v : model.variables)
                if (v.name == factors[0].names[0])
                    continuous = !v.categorical;
            if (continuous)
                factors.insert(factors.begin(), Factor{{}, true});
        }
        bool percent = kind == StatKind::Percent || stat == "region.confi.percent.count";
        bool countOnly = stat == "summary.count" || stat == "summary.percent.count" ||
                         stat == "region.confi.count" || stat == "region.confi.percent.count" ||
                         (stat == "summary.percent" && factors.size() == 1) ||
                         (pos.binned && stat.empty());
        bool density = kind == StatKind::Density;
        bool twoWay = pos.binned && factors.size() >= 2 && !factors[1].unity &&
                      (stat.empty() || stat == "summary.count");
        if (twoWay)
            countOnly = true;
        if (density && factors.size() != 1) {
            warn("density.normal takes one variable, as in density.normal(x)");
            continue;
        }
        // With a count of one factor (or a density) the statistic is the second dimension.
        if ((countOnly || density) && factors.size() == 1)
            factors.push_back(Factor{{}, true});
        if (factors.size() < 2) {
            warn("position needs two dimensions, as in position(x*y)");
            continue;
        }
        std::size_t clusterIndex = spec.clusterDim >= 3 ? std::size_t(spec.clusterDim - 1) : 99;
        if (!pos.nests.empty() && clusterIndex == 2 && factors.size() == 2)
            factors.push_back(Factor{{}, true});  // the cluster's place stays empty
        for (auto const& f : pos.nests) factors.push_back(f);
        if (kind == StatKind::Region && stat != "region.spread.range" && !countOnly &&
            factors[1].names.size() > 1) {
            warn(fmt::format("'{}' takes one variable on the second dimension", stat));
            continue;
        }
        // Load columns.
        std::optional<Column> xc, cc, pc, prc, colc, shapec, labc, splitc, wc;
        std::vector<std::pair<std::string, Column>> ycols;
        bool ok = true;
        if (!factors[0].unity) {
            if (factors[0].names.size() != 1) {
                warn("blends on the first dimension are not supported yet");
                continue;
            }
            xc = load(factors[0].names[0]);
            ok &= xc.has_value();
        }
        if (!factors[1].unity && !(countOnly && !twoWay))
            for (auto const& n : factors[1].names) {
                auto c = load(n);
                if (c)
                    ycols.emplace_back(n, std::move(*c));
                ok &= c.has_value();
            }
        if (!countOnly && !density && factors[1].unity) {
            warn("the second dimension of position needs a variable");
            continue;
        }
        auto loadFactor = [&](std::size_t i, std::optional<Column>& into) {
            if (i < factors.size() && !factors[i].unity && factors[i].names.size() == 1) {
                into = load(factors[i].names[0]);
                ok &= into.has_value();
            }
        };
        if (clusterIndex < factors.size())
            loadFactor(clusterIndex, cc);
        std::size_t panelIndex = clusterIndex == 2 ? 3 : 2;
        loadFactor(panelIndex, pc);
        loadFactor(panelIndex + 1, prc);
        if (factors.size() > panelIndex + 2)
            warn("a position of more than four dimensions is drawn with the first four");
        auto aesthetic = [&](Node const* call, std::optional<Column>& into) {
            if (call && !call->args.empty() && call->args[0].kind == Node::Kind::Name &&
                call->args[0].name.find('.') == std::string::npos) {
                into = load(call->args[0].name);
                ok &= into.has_value();
            }
        };
        aesthetic(element.color, colc);
        aesthetic(element.shape, shapec);
        aesthetic(element.label, labc);
        aesthetic(element.split, splitc);
        if (!ok)
            continue;
        if (summary) {
            std::string source = xc               ? xc->var->source
                                 : !ycols.empty() ? ycols[0].second.var->source
                                 : colc           ? colc->var->source
                                                  : std::string();
            if (std::string w = weightName(source); !w.empty()) {
                wc = load(w);
                if (!wc)
                    continue;
            }
        }
        std::vector<double> xEdges, yEdges;
        if (pos.binned) {
            if (!xc || xc->categorical || (twoWay && ycols[0].second.categorical)) {
                warn("bin.rect needs continuous variables");
                continue;
            }
            xEdges = edgesOf(*xc, pos.bin);
            if (twoWay)
                yEdges = edgesOf(ycols[0].second, pos.bin);
        }
        if ((density || kind == StatKind::Smooth) && (!xc || xc->categorical)) {
            warn(fmt::format("'{}' needs a continuous variable on the first dimension", stat));
            continue;
        }

        Evaluated ev;
        ev.element = &element;
        ev.cells = twoWay;
        if (xc) {
            xCategorical = xCategorical && xc->categorical;
            if (!xc->categorical)
                anyNumericX = true;
            xVar = xVar ? xVar : xc->var;
        }
        if (!ycols.empty() && !yVar && !twoWay)
            yVar = ycols[0].second.var;
        if (twoWay && !yVar)
            yVar = ycols[0].second.var;
        if (summary && !yStatistic.size() && !twoWay)
            yStatistic = stat.empty() ? "summary.count" : stat;
        if (colc) {
            colorVar = colorVar ? colorVar : colc->var;
            ev.hasColor = true;
        }
        if (cc)
            clusterVar = clusterVar ? clusterVar : cc->var;
        if (pc)
            panelVar = panelVar ? panelVar : pc->var;
        if (prc)
            panelRowVar = panelRowVar ? panelRowVar : prc->var;
        bool mergeSeries = stat == "region.spread.range" || twoWay;
        if (!mergeSeries)
            for (auto const& [n, c] : ycols) {
                yNames.push_back(n);
                seriesLabels[n] = c.var->label.empty() ? n : c.var->label;
            }

        std::size_t n = xc ? xc->keys.size() : 0;
        for (auto const& [name, c] : ycols) n = std::max(n, c.keys.size());
        if (cc)
            n = std::max(n, cc->keys.size());
        if (colc)
            n = std::max(n, colc->keys.size());
        auto keyAt = [](std::optional<Column> const& c, std::size_t r, bool& missing) {
            if (!c)
                return std::string();
            if (r >= c->missing.size() || c->missing[r]) {
                missing = true;
                return std::string();
            }
            return c->categorical ? c->keys[r] : std::string();
        };
        // The text of the label aesthetic at a row: a category by its relabel, a number in its
        // format.
        auto labelAt = [&](std::size_t r) -> std::string {
            if (!labc || r >= labc->keys.size() || labc->missing[r])
                return {};
            if (!labc->categorical)
                return formatNumber(labc->numbers[r], labc->var->format);
            for (auto const& rl : labc->var->relabels)
                if (rl.value == labc->keys[r])
                    return rl.label;
            return labc->keys[r];
        };
        std::size_t seriesCount = countOnly && ycols.empty() ? 1 : ycols.size();
        if (density)
            seriesCount = 1;
        // Rows grouped for the statistic.
        struct Group {
            Mark mark;
            Sample sample;
            std::vector<double> xs;         // smooth: x of each value
            std::vector<std::size_t> rows;  // the row of each value, for outlier labels
            double count = 0;               // weighted cases
        };
        // Groups in the order they are met, found by one joined key: a million rows stay cheap.
        std::vector<Group> groups;
        std::unordered_map<std::string, std::size_t> groupIndex;
        std::string key;
        bool groupsByX = !density && kind != StatKind::Smooth;
        for (std::size_t s = 0; s < seriesCount; ++s) {
            Column const* yc = ycols.empty() || density ? nullptr : &ycols[s].second;
            std::string series = ycols.empty() || mergeSeries ? "" : ycols[s].first;
            for (std::size_t r = 0; r < n; ++r) {
                bool missing = false;
                Mark m;
                m.row = static_cast<double>(r);
                m.x = xc ? keyAt(xc, r, missing) : "1";
                if (xc && !xc->categorical && !missing)
                    m.xNum = xc->numbers[r];
                m.cluster = keyAt(cc, r, missing);
                m.panelCol = keyAt(pc, r, missing);
                m.panelRow = keyAt(prc, r, missing);
                m.colorKey = keyAt(colc, r, missing);
                m.shapeKey = keyAt(shapec, r, missing);
                std::string splitKey = keyAt(splitc, r, missing);
                if (missing)
                    continue;
                m.series = series + (splitKey.empty() ? "" : "\x1f" + splitKey);
                if (ycols.size() > 1 && m.colorKey.empty() && !mergeSeries)
                    m.colorKey = "\x1e" + series;
                bool yMissing = !yc || r >= yc->missing.size() || yc->missing[r] ||
                                yc->numbers[r] == kSysmis || (yc->categorical && !summary);
                double y = yc && !yMissing ? yc->numbers[r] : kSysmis;
                m.labelText = labelAt(r);
                if (!summary) {
                    // A missing value is never drawn; lines use it to know where to break.
                    m.y = yMissing ? kSysmis : y;
                    ev.marks.push_back(m);
                    continue;
                }
                double w = 1;
                if (wc) {
                    if (r >= wc->missing.size() || wc->missing[r] || !(wc->numbers[r] > 0))
                        continue;  // a case without a positive weight is not counted
                    w = wc->numbers[r];
                }
                std::string xKey = groupsByX ? m.x : "";
                if (pos.binned) {
                    int b = binIndex(xEdges, m.xNum);
                    if (b < 0)
                        continue;
                    m.binned = true;
                    m.x0 = xEdges[std::size_t(b)];
                    m.x1 = xEdges[std::size_t(b) + 1];
                    m.xNum = (m.x0 + m.x1) / 2;
                    xKey = std::to_string(b);
                    if (twoWay) {
                        if (yMissing)
                            continue;
                        int by = binIndex(yEdges, y);
                        if (by < 0)
                            continue;
                        m.y0 = yEdges[std::size_t(by)];
                        m.y = yEdges[std::size_t(by) + 1];
                        xKey += "," + std::to_string(by);
                    }
                } else if (groupsByX && xc && !xc->categorical) {
                    xKey = numberKey(m.xNum);
                }
                key.clear();
                for (auto const* part : {&xKey, &m.cluster, &m.panelCol, &m.panelRow, &m.colorKey,
                                         &m.shapeKey, &m.series}) {
                    key += *part;
                    key += '\x1c';
                }
                auto [it, fresh] = groupIndex.try_emplace(key, groups.size());
                if (fresh) {
                    groups.emplace_back();
                    groups.back().mark = m;
                }
                Group& g = groups[it->second];
                if (density) {
                    g.sample.add(m.xNum, w);
                    g.count += w;
                } else if (countOnly) {
                    if (!yc || twoWay || !yMissing || (yc->categorical && !yc->missing[r]))
                        g.count += w;
                } else if (!yMissing) {
                    g.sample.add(y, w);
                    g.xs.push_back(m.xNum);
                    g.rows.push_back(r);
                    g.count += w;
                }
            }
        }
        if (summary) {
            // What 100% means: all cases of the panel by default.
            Node const* call = pos.statCall;
            bool acrossPanels = false, byCoordinate = false, byAesthetic = false;
            if (call) {
                if (auto const* b = call->find("base.all"))
                    acrossPanels = b->find("acrosspanels") != nullptr;
                byCoordinate = call->find("base.coordinate") != nullptr;
                byAesthetic = call->find("base.aesthetic") != nullptr;
            }
            auto baseKey = [&](Mark const& m) {
                std::string k = acrossPanels ? "" : m.panelCol + "\x1f" + m.panelRow;
                if (byCoordinate)
                    k += "\x1f" + m.x + "\x1f" + m.cluster;
                if (byAesthetic)
                    k += "\x1f" + m.colorKey;
                return k;
            };
            auto amount = [&](Group const& g) {
                if (countOnly)
                    return g.count;
                double sum = 0;
                bool none = false;
                (void)summarizeSample("summary.sum", g.sample, sum, none);
                return sum;
            };
            std::map<std::string, double> totals;
            for (auto const& g : groups) totals[baseKey(g.mark)] += amount(g);
            double level = numberOption(call, "alpha", 0.95);
            if (level > 1)
                level /= 100;  // alpha(95) means 95%
            double multiple = numberOption(call, "multiple", 1);
            for (auto& g : groups) {
                Mark m = g.mark;
                double total = totals[baseKey(m)];
                if (twoWay) {
                    m.ranged = true;
                    m.cell = g.count;
                    cellMax = std::max(cellMax, g.count);
                    anyCells = true;
                    ev.marks.push_back(m);
                } else if (kind == StatKind::Summary || kind == StatKind::Percent ||
                           (pos.binned && stat.empty())) {
                    bool none = false;
                    if (countOnly) {
                        m.y = g.count;
                    } else if (!summarizeSample(percent ? "summary.sum" : stat, g.sample, m.y,
                                                none) ||
                               none) {
                        m.y = kSysmis;
                    }
                    if (percent && m.y != kSysmis)
                        m.y = total > 0 ? m.y / total * 100 : 0;
                    ev.marks.push_back(m);
                } else if (kind == StatKind::Region) {
                    Interval in;
                    if (stat == "region.confi.mean")
                        in = meanConfidence(g.sample, level);
                    else if (stat == "region.spread.sd" || stat == "region.spread.se")
                        in = meanSpread(g.sample, multiple, stat == "region.spread.se");
                    else if (stat == "region.spread.range" && !g.sample.empty()) {
                        auto [lo, hi] =
                            std::minmax_element(g.sample.values.begin(), g.sample.values.end());
                        in = {*lo, (*lo + *hi) / 2, *hi, true};
                    } else if (countOnly)
                        in = countConfidence(g.count, total, level, percent);
                    if (!in.valid)
                        continue;  // one case has no interval
                    m.ranged = true;
                    m.y0 = in.low;
                    m.y = in.high;
                    ev.marks.push_back(m);
                } else if (kind == StatKind::Box) {
                    BoxStats box;
                    if (!boxStats(g.sample, box))
                        continue;
                    m.box = std::make_shared<BoxStats>(box);
                    m.y = box.median;
                    for (auto const& o : box.outliers) {
                        m.outlierLabels.push_back(labelAt(g.rows[o.index]));
                    }
                    ev.marks.push_back(m);
                } else if (density) {
                    Moments mo = moments(g.sample);
                    // Over a histogram of the same variable the curve is scaled to its counts.
                    std::vector<double> edges;
                    for (auto const& other : spec.elements) {
                        if (&other == &element)
                            continue;
                        Position op = readPosition(*other.position);
                        if (op.binned && !op.factors.empty() && op.factors[0].names.size() == 1 &&
                            op.factors[0].names[0] == factors[0].names[0]) {
                            edges = edgesOf(*xc, op.bin);
                            break;
                        }
                    }
                    double lo = mo.mean - 3.5 * mo.sd, hi = mo.mean + 3.5 * mo.sd, scale = 1;
                    if (edges.size() >= 2) {
                        lo = edges.front();
                        hi = edges.back();
                        scale = g.count * (edges[1] - edges[0]);
                    }
                    for (auto const& [x, y] : normalCurve(mo, lo, hi, scale)) {
                        Mark p = m;
                        p.xNum = x;
                        p.y = y;
                        ev.marks.push_back(p);
                    }
                } else if (kind == StatKind::Smooth) {
                    LinearFit fit = linearFit(g.xs, g.sample.values, g.sample.weights);
                    if (!fit.valid)
                        continue;
                    for (double x : {fit.xMin, fit.xMax}) {
                        Mark p = m;
                        p.xNum = x;
                        p.y = fit.intercept + fit.slope * x;
                        ev.marks.push_back(p);
                    }
                }
            }
        }
        for (auto const& m : ev.marks) {
            if (xc && xc->categorical)
                seenX.push_back(m.x);
            if (cc)
                seenCluster.push_back(m.cluster);
            if (pc)
                seenPanel.push_back(m.panelCol);
            if (prc)
                seenPanelRow.push_back(m.panelRow);
            if (!m.colorKey.empty())
                seenColor.push_back(m.colorKey);
            if (!m.shapeKey.empty())
                seenShape.push_back(m.shapeKey);
        }
        if (xc) {
            for (std::size_t r = 0; r < xc->keys.size(); ++r)
                if (!xc->missing[r] && xc->numbers[r] == kSysmis)
                    xNumericKeys = false;
        }
        if (colc) {
            for (std::size_t r = 0; r < colc->keys.size(); ++r)
                if (!colc->missing[r] && colc->numbers[r] == kSysmis)
                    colorNumericKeys = false;
        } else if (ycols.size() > 1 && !mergeSeries) {
            colorNumericKeys = false;
        }
        // Fit lines of the document over the points: one for all, one per colour group.
        if (element.type == "point" && !summary && (spec.totalFit || spec.subgroupFit)) {
            if (!xc || xc->categorical) {
                warn("a fit line needs a continuous first dimension; it is left out");
            } else {
                std::map<std::string, std::vector<Mark const*>> byGroup;
                for (auto const& m : ev.marks) {
                    if (m.y == kSysmis)
                        continue;
                    if (spec.totalFit)
                        byGroup["\x1b" + m.panelCol + "\x1f" + m.panelRow].push_back(&m);
                    if (spec.subgroupFit && !m.colorKey.empty())
                        byGroup[m.colorKey + "\x1f" + m.panelCol + "\x1f" + m.panelRow].push_back(
                            &m);
                }
                Evaluated fitEv;
                fitElements.push_back(ElementSpec{});
                fitElements.back().type = "line";
                fitElements.back().line = element.line;
                fitElements.back().fitLine = true;
                fitEv.element = &fitElements.back();
                fitEv.hasColor = ev.hasColor;
                for (auto const& [k, marks] : byGroup) {
                    std::vector<double> xs, ys, ws;
                    for (auto const* m : marks) {
                        xs.push_back(m->xNum);
                        ys.push_back(m->y);
                        ws.push_back(1);
                    }
                    LinearFit fit = linearFit(xs, ys, ws);
                    if (!fit.valid)
                        continue;
                    bool total = k[0] == '\x1b';
                    for (double x : {fit.xMin, fit.xMax}) {
                        Mark p = *marks.front();
                        p.colorKey = total ? "" : marks.front()->colorKey;
                        p.series = total ? "\x1btotal" : "\x1bsubgroup";
                        p.xNum = x;
                        p.y = fit.intercept + fit.slope * x;
                        p.labelText = fmt::format("R² Linear = {:.3f}", fit.rSquared);
                        p.binned = false;
                        fitEv.marks.push_back(p);
                    }
                }
                evaluated.push_back(std::move(ev));
                evaluated.push_back(std::move(fitEv));
                continue;
            }
        }
        evaluated.push_back(std::move(ev));
    }
    if (anyNumericX)
        xCategorical = false;

    // Scales.
    ScaleSpec const* xScaleSpec = spec.scales.count(1) ? &spec.scales.at(1) : nullptr;
    ScaleSpec const* yScaleSpec = spec.scales.count(2) ? &spec.scales.at(2) : nullptr;
    CatScale xCat = trainCategories(seenX, xVar, xScaleSpec, xNumericKeys);
    CatScale clusterCat = trainCategories(
        seenCluster, clusterVar, spec.scales.count(3) ? &spec.scales.at(3) : nullptr, true);
    CatScale panelCat = trainCategories(seenPanel, panelVar, nullptr, true);
    CatScale panelRowCat = trainCategories(seenPanelRow, panelRowVar, nullptr, true);
    CatScale colorCat = trainCategories(seenColor, colorVar, nullptr, colorNumericKeys);
    CatScale shapeCat = trainCategories(seenShape, nullptr, nullptr, true);
    for (auto const& [k, l] : seriesLabels) colorCat.labels["\x1e" + k] = l;
    // Keys that came from text columns sort as text.
    if (!xNumericKeys)
        xCat = trainCategories(seenX, xVar, xScaleSpec, false);

    // Stacking and the value range.
    double yLo = std::numeric_limits<double>::infinity(), yHi = -yLo;
    double xLo = yLo, xHi = -yLo;
    bool anyBar = false;
    for (auto& ev : evaluated) {
        bool stack = ev.element->modifier == "stack";
        if (stack) {
            std::map<std::vector<std::string>, std::pair<double, double>> base;
            std::stable_sort(ev.marks.begin(), ev.marks.end(), [&](Mark const& a, Mark const& b) {
                return colorCat.index(a.colorKey) < colorCat.index(b.colorKey);
            });
            for (auto& m : ev.marks) {
                if (m.y == kSysmis)
                    continue;
                auto& b = base[{xCategorical ? m.x : numberKey(m.xNum), m.cluster, m.panelCol,
                                m.panelRow}];
                double& edge = m.y >= 0 ? b.first : b.second;
                m.y0 = edge;
                m.y = edge + m.y;
                edge = m.y;
            }
        }
        bool bar = ev.element->type == "interval" || ev.element->type == "area";
        for (auto const& m : ev.marks) {
            if (m.y == kSysmis)
                continue;
            // Bars stand on zero; intervals and cells span only their own range.
            bool fromBase = bar && !m.ranged;
            anyBar |= fromBase;
            bool withY0 = fromBase || m.ranged;
            yLo = std::min({yLo, m.y, withY0 ? m.y0 : m.y});
            yHi = std::max({yHi, m.y, withY0 ? m.y0 : m.y});
            if (m.box) {
                yLo = std::min(yLo, m.box->lowerWhisker);
                yHi = std::max(yHi, m.box->upperWhisker);
                for (auto const& o : m.box->outliers) {
                    yLo = std::min(yLo, o.value);
                    yHi = std::max(yHi, o.value);
                }
            }
            if (!xCategorical) {
                xLo = std::min({xLo, m.xNum, m.binned ? m.x0 : m.xNum});
                xHi = std::max({xHi, m.xNum, m.binned ? m.x1 : m.xNum});
            }
        }
    }
    for (auto const& r : spec.refLines) {
        if (r.dim == 2)
            yLo = std::min(yLo, r.value), yHi = std::max(yHi, r.value);
        else if (!xCategorical)
            xLo = std::min(xLo, r.value), xHi = std::max(xHi, r.value);
    }
    if (!std::isfinite(yLo))
        yLo = 0, yHi = 1;
    if (anyBar && !(yScaleSpec && yScaleSpec->type == "log")) {
        yLo = std::min(yLo, 0.0);
        yHi = std::max(yHi, 0.0);
    }
    // Bars and areas get a round domain from their base; points and lines a small margin so
    // that marks at the ends are not cut by the axes.
    auto pad = [](double& lo, double& hi, ScaleSpec const* s) {
        if (s && s->type == "log")
            return;
        double d = (hi - lo) * 0.05;
        if (!(s && s->hasMin))
            lo -= d;
        if (!(s && s->hasMax))
            hi += d;
    };
    // Bins end where their edges end; a margin would only float them off the axis.
    bool anyBinnedX = false;
    for (auto const& ev : evaluated)
        for (auto const& m : ev.marks) anyBinnedX |= m.binned;
    if (!anyBar && !anyCells)
        pad(yLo, yHi, yScaleSpec);
    LinScale yScale = trainLinear(yLo, yHi, yScaleSpec, &spec.axes[2], anyBar);
    LinScale xScale;
    if (!xCategorical) {
        if (!std::isfinite(xLo))
            xLo = 0, xHi = 1;
        if (!anyBinnedX)
            pad(xLo, xHi, xScaleSpec);
        xScale = trainLinear(xLo, xHi, xScaleSpec, &spec.axes[1], false);
    }

    // Series (colours and shapes) for the legend.
    std::vector<Series> series;
    static constexpr char const* kShapes[] = {"circle", "square", "triangle", "diamond", "cross"};
    for (std::size_t i = 0; i < colorCat.keys.size(); ++i) {
        Series s;
        s.key = colorCat.keys[i];
        s.label = colorCat.label(s.key);
        int position = static_cast<int>(i) + 1;
        if (auto it = model.colorCycle.find(position); it != model.colorCycle.end())
            s.color = {it->second.r / 255.0, it->second.g / 255.0, it->second.b / 255.0, 1};
        else
            s.color = hexColor(kPalette[i % std::size(kPalette)]);
        if (auto it = spec.colorScale.map.find(s.key); it != spec.colorScale.map.end()) {
            std::string c = it->second;
            for (auto const& nc : kNamedColors)
                if ("color." + std::string(nc.name) == c)
                    c = nc.hex;
            if (c[0] == '#')
                s.color = hexColor(c);
        }
        s.shape = kShapes[i % std::size(kShapes)];
        series.push_back(s);
    }
    // Two-way bins are coloured by their counts, from the gradient's low end to its high end;
    // the legend shows a few round counts.
    auto resolveColor = [](std::string c) {
        for (auto const& nc : kNamedColors)
            if (c == "color." + std::string(nc.name))
                c = nc.hex;
        return c[0] == '#' ? hexColor(c) : hexColor("#808080");
    };
    Color gradLow = resolveColor(spec.gradientLow), gradHigh = resolveColor(spec.gradientHigh);
    auto cellColor = [&](double count) {
        double t = cellMax > 0 ? std::clamp(count / cellMax, 0.0, 1.0) : 0;
        return Color{gradLow.r + t * (gradHigh.r - gradLow.r),
                     gradLow.g + t * (gradHigh.g - gradLow.g),
                     gradLow.b + t * (gradHigh.b - gradLow.b), 1};
    };
    if (anyCells) {
        // The smallest count first, so that the palest cells are named too.
        double cellMin = cellMax;
        for (auto const& ev : evaluated)
            for (auto const& m : ev.marks)
                if (ev.cells)
                    cellMin = std::min(cellMin, m.cell);
        auto ticks = niceTicks(0, cellMax, 5);
        if (cellMin > 0 && std::none_of(ticks.begin(), ticks.end(),
                                        [&](double t) { return std::fabs(t - cellMin) < 1e-9; }))
            ticks.insert(std::upper_bound(ticks.begin(), ticks.end(), cellMin), cellMin);
        for (double v : ticks)
            if (v > 0 && v <= cellMax * (1 + 1e-9)) {
                Series s;
                s.key = "\x1c" + numberKey(v);
                s.label = formatNumber(v, NumberFormat{});
                s.color = cellColor(v);
                series.push_back(s);
            }
    }
    auto seriesColor = [&](std::string const& key) -> Color {
        for (auto const& s : series)
            if (s.key == key)
                return s.color;
        if (auto it = model.colorCycle.find(1); it != model.colorCycle.end())
            return {it->second.r / 255.0, it->second.g / 255.0, it->second.b / 255.0, 1};
        return hexColor(kPalette[0]);
    };
    auto constantColor = [&](Node const* call, Color fallback) {
        if (!call || call->args.empty())
            return fallback;
        auto const& a = call->args[0];
        if (a.kind == Node::Kind::Constant)
            return hexColor("#" + a.value);
        if (a.kind == Node::Kind::Name && a.name.find('.') != std::string::npos) {
            std::string k = a.key();
            for (auto const& nc : kNamedColors)
                if (k == "color." + std::string(nc.name))
                    return hexColor(nc.hex);
        }
        return fallback;
    };

    // Titles and texts of axes.
    auto axisTitle = [&](int dim, ChartVariableRecord const* var,
                         std::vector<std::string> const& names) -> std::string {
        AxisGuide const& g = spec.axes[dim];
        if (g.labelSet)
            return g.label;
        if (dim == 2 && !yStatistic.empty() && !var)
            return yStatistic.find("percent") != std::string::npos ? "Percent"
                   : yStatistic == "density.normal"                ? "Density"
                                                                   : "Count";
        if (dim == 2 && names.size() > 1)
            return "";
        if (!var)
            return "";
        return var->label.empty() ? var->name : var->label;
    };
    std::string xTitle = axisTitle(1, xVar, {});
    if (clusterVar)
        xTitle = spec.axes[3].labelSet
                     ? spec.axes[3].label
                     : (clusterVar->label.empty() ? clusterVar->name : clusterVar->label);
    std::string yTitle = axisTitle(2, yVar, yNames);
    // A pie has no axes.
    bool xHidden = spec.axes[1].hidden || spec.polar, yHidden = spec.axes[2].hidden || spec.polar;

    // Layout, from the outside in.
    double margin = 14;
    double top = margin, bottom = spec.height - margin, left = margin, right = spec.width - margin;
    if (spec.graphPlaced) {
        left = std::max(margin, spec.graphX * spec.width);
        top = std::max(margin, spec.graphY * spec.height);
        right = std::min(right, (spec.graphX + spec.graphW) * spec.width);
        bottom = std::min(bottom, (spec.graphY + spec.graphH) * spec.height);
    }
    std::string subtitle = model.subtitleSet ? model.subtitle : spec.subtitle;
    auto addTitle = [&](std::string const& s, double size, bool bold, std::string role) {
        if (s.empty())
            return;
        auto t = text(role, fitText(s, right - left, size, measurer), spec.width / 2, top + size,
                      size, 0, kTextColor);
        t.bold = bold;
        scene.items.push_back(t);
        top += measurer.measure(s, size, bold).height + 4;
    };
    addTitle(spec.title, 16, true, "title");
    addTitle(subtitle, 13, false, "subtitle");
    addTitle(spec.subsubtitle, 12, false, "subsubtitle");
    if (!spec.footnote.empty()) {
        scene.items.push_back(text("footnote", fitText(spec.footnote, right - left, 10, measurer),
                                   left, bottom - 2, 10, -1, {0.4, 0.4, 0.4, 1}));
        bottom -= measurer.measure(spec.footnote, 10, false).height + 6;
    }
    if (top > margin)
        top += 6;

    // Legend on the right.
    bool showLegend = !series.empty() && !spec.legendHidden;
    if (showLegend) {
        std::string legendTitle =
            spec.legendLabelSet
                ? spec.legendLabel
                : (colorVar ? (colorVar->label.empty() ? colorVar->name : colorVar->label)
                            : (anyCells ? "Count" : ""));
        double w = measurer.measure(legendTitle, kTitleFont, true).width;
        for (auto const& s : series)
            w = std::max(w, 18 + measurer.measure(s.label, kTickFont, false).width);
        w = std::min(w, spec.width * 0.3);
        double lx = right - w, ly = top + 4;
        if (!legendTitle.empty()) {
            auto t = text("legend-title", fitText(legendTitle, w, kTitleFont, measurer), lx,
                          ly + kTitleFont, kTitleFont, -1, kTextColor);
            t.bold = true;
            scene.items.push_back(t);
            ly += kTitleFont * 1.6;
        }
        bool lines = !evaluated.empty() && evaluated.front().element->type == "line";
        for (auto const& s : series) {
            Primitive sw;
            if (lines) {
                sw = line("legend-swatch", lx, ly + 6, lx + 12, ly + 6, s.color, 2.5);
            } else {
                sw.kind = Primitive::Kind::Rect;
                sw.role = "legend-swatch";
                sw.x = lx;
                sw.y = ly;
                sw.w = 12;
                sw.h = 12;
                sw.fill = s.color;
            }
            sw.category = s.key;
            scene.items.push_back(sw);
            auto t = text("legend-label", fitText(s.label, w - 18, kTickFont, measurer), lx + 18,
                          ly + 10, kTickFont, -1, kTextColor);
            t.category = s.key;
            scene.items.push_back(t);
            ly += 18;
        }
        right -= w + 16;
    }

    // Panels along columns (and rows).
    std::vector<std::string> panelCols =
        panelCat.keys.empty() ? std::vector<std::string>{""} : panelCat.keys;
    std::vector<std::string> panelRows =
        panelRowCat.keys.empty() ? std::vector<std::string>{""} : panelRowCat.keys;
    bool panels = panelCols.size() > 1 || !panelCat.keys.empty() || !panelRowCat.keys.empty();

    // Which axis is horizontal: dimension 1 unless transposed.
    bool tr = spec.transpose;
    int hDim = tr ? 2 : 1, vDim = tr ? 1 : 2;
    bool hHidden = tr ? yHidden : xHidden, vHidden = tr ? xHidden : yHidden;
    std::string hTitle = tr ? yTitle : xTitle, vTitle = tr ? xTitle : yTitle;

    // Tick labels of each dimension.
    struct TickText {
        std::string text;
        double value;  // numeric position, or category index
        std::string key;
    };
    auto ticksOf = [&](int dim) {
        std::vector<TickText> out;
        if (dim == 1 && xCategorical && !clusterCat.keys.empty()) {
            for (std::size_t i = 0; i < clusterCat.keys.size(); ++i)
                out.push_back(
                    {clusterCat.label(clusterCat.keys[i]), double(i), clusterCat.keys[i]});
            return out;
        }
        if (dim == 1 && xCategorical) {
            for (std::size_t i = 0; i < xCat.keys.size(); ++i)
                out.push_back({xCat.label(xCat.keys[i]), double(i), xCat.keys[i]});
            if (xCat.keys.size() == 1 && xCat.keys[0] == "1" && !xVar)
                out[0].text = "";
            return out;
        }
        LinScale const& s = dim == 1 ? xScale : yScale;
        NumberFormat f;
        ChartVariableRecord const* var = dim == 1 ? xVar : yVar;
        if (var && var->format.set)
            f = var->format;
        // Without a format, thousands are grouped only where a number is long enough to need
        // it, so that years read as years.
        double biggest = 0;
        for (double t : s.ticks) biggest = std::max(biggest, std::fabs(t));
        if (!f.set)
            f.grouping = biggest >= 10000;
        if (!yStatistic.empty() && dim == 2 && (yStatistic == "summary.count"))
            f = {};
        if (dim == 2 && yStatistic.find("percent") != std::string::npos)
            f.suffix = "%";
        for (double t : s.ticks) {
            NumberFormat ff = f;
            if (ff.decimals < 0 || !ff.set)
                ff.set = false;
            // A tick shows the decimals its step has, whatever the variable's own: 25 reads "25",
            // not "25.000", and 10.5 is not rounded to "10".
            if (ff.set && !s.log && s.step > 0) {
                int stepDecimals = 0;
                for (double v = s.step; stepDecimals < 12 && std::fabs(v - std::round(v)) > v * 1e-6 + 1e-12;
                     v *= 10)
                    ++stepDecimals;
                ff.decimals = stepDecimals;
            }
            std::string label =
                s.log ? formatNumber(t, ff, t >= 1 ? 1 : t) : formatNumber(t, ff, s.step);
            out.push_back({label, t, ""});
        }
        return out;
    };
    auto hTicks = ticksOf(hDim), vTicks = ticksOf(vDim);
    bool hCategorical = (hDim == 1 && xCategorical);
    bool vCategorical = (vDim == 1 && xCategorical);

    // Room for the vertical axis: tick labels and title.
    double vLabelWidth = 0;
    for (auto const& t : vTicks)
        vLabelWidth = std::max(vLabelWidth, measurer.measure(t.text, kTickFont, false).width);
    vLabelWidth = std::min(vLabelWidth, spec.width * 0.3);
    if (!vHidden) {
        left += vLabelWidth + 8;
        if (!vTitle.empty())
            left += kTitleFont * 1.4 + 4;
    }
    // Room for the horizontal axis: tick labels (rotated when they would overlap) and title.
    double tickTextHeight = measurer.measure("0", kTickFont, false).height;
    double plotWidthGuess = (right - left) / double(panelCols.size());
    double hBand =
        hCategorical && !hTicks.empty() ? plotWidthGuess / double(hTicks.size()) : plotWidthGuess;
    double hMaxLabel = 0;
    for (auto const& t : hTicks)
        hMaxLabel = std::max(hMaxLabel, measurer.measure(t.text, kTickFont, false).width);
    bool rotate = hCategorical && hMaxLabel > hBand * 0.92;
    if (!hCategorical && hTicks.size() > 1) {
        // Continuous: thin out labels that would touch.
        double spacing = plotWidthGuess / double(hTicks.size() - 1);
        if (hMaxLabel > spacing * 0.9)
            rotate = false;
    }
    double maxRotated = std::min(hMaxLabel, spec.height * 0.3 / 0.7071);
    double hLabelHeight = rotate ? maxRotated * 0.7071 + tickTextHeight * 0.7071 : tickTextHeight;
    if (!hHidden) {
        bottom -= hLabelHeight + 8;
        if (!hTitle.empty())
            bottom -= kTitleFont * 1.4 + 4;
    } else {
        bottom -= 4;
    }
    if (!hHidden && !hCategorical && !hTicks.empty()) {
        // The last tick label is centred under the plot's right end: keep it on the page.
        double half = measurer.measure(hTicks.back().text, kTickFont, false).width / 2;
        right -= std::max(0.0, half - margin + 2);
    }
    double panelHeader = panels ? kTickFont * 1.6 : 0;
    double gapBetween = panels ? 12 : 0;
    double panelW =
        (right - left - gapBetween * double(panelCols.size() - 1)) / double(panelCols.size());
    double panelH = (bottom - top - panelHeader * double(panelRows.size()) -
                     gapBetween * double(panelRows.size() - 1)) /
                    double(panelRows.size());
    if (panelW < 20 || panelH < 20) {
        scene.warnings.push_back("the page is too small for this chart");
        panelW = std::max(panelW, 20.0);
        panelH = std::max(panelH, 20.0);
    }

    // Positions along dimension 1 for categorical data, with clusters.
    std::size_t nClusters = std::max<std::size_t>(1, clusterCat.keys.size());
    std::size_t nCats = std::max<std::size_t>(1, xCat.keys.size());
    auto band = [&](Mark const& m, double extent, double& start, double& width) {
        // Clusters: groups along the axis, with the dim-1 categories inside each.
        if (!clusterCat.keys.empty()) {
            double groupW = extent / double(nClusters);
            int g = std::max(0, clusterCat.index(m.cluster));
            double inner = groupW * 0.8;
            width = inner / double(nCats);
            start = groupW * g + groupW * 0.1 + width * std::max(0, xCat.index(m.x));
        } else {
            width = extent / double(nCats);
            start = width * std::max(0, xCat.index(m.x));
        }
    };
    auto catCenter = [&](std::size_t i, double extent) {
        if (!clusterCat.keys.empty())
            return extent / double(nClusters) * (double(i) + 0.5);
        return extent / double(nCats) * (double(i) + 0.5);
    };

    Color frameColor{0.55, 0.55, 0.55, 1};
    if (model.outerFrame == 1) {
        Primitive f;
        f.kind = Primitive::Kind::Rect;
        f.role = "outer-frame";
        f.x = 0.5;
        f.y = 0.5;
        f.w = spec.width - 1;
        f.h = spec.height - 1;
        f.stroke = frameColor;
        f.strokeWidth = 1;
        scene.items.push_back(f);
    }

    // Gridlines: the value axis by default; the document's settings and the guides override.
    bool vGrid = !vCategorical, hGrid = false;
    if (spec.axes[vDim].gridlinesSet)
        vGrid = true;
    if (spec.axes[hDim].gridlinesSet)
        hGrid = true;
    if (model.yGridlines == 1)
        vGrid = true;
    if (model.yGridlines == 2)
        vGrid = false;
    if (model.xGridlines == 1)
        hGrid = true;
    if (model.xGridlines == 2)
        hGrid = false;
    if (spec.polar)
        vGrid = hGrid = false;  // a pie has no value axis to guide

    for (std::size_t pr = 0; pr < panelRows.size(); ++pr) {
        for (std::size_t pcI = 0; pcI < panelCols.size(); ++pcI) {
            Rect plot;
            plot.x = left + double(pcI) * (panelW + gapBetween);
            plot.y = top + panelHeader + double(pr) * (panelH + panelHeader + gapBetween);
            plot.w = panelW;
            plot.h = panelH;
            std::string const& colKey = panelCols[pcI];
            std::string const& rowKey = panelRows[pr];
            if (panels) {
                std::string head = panelCat.label(colKey);
                if (!rowKey.empty())
                    head += (head.empty() ? "" : ", ") + panelRowCat.label(rowKey);
                auto t = text("panel-label", fitText(head, plot.w, kTickFont, measurer),
                              plot.x + plot.w / 2, plot.y - 5, kTickFont, 0, kTextColor);
                t.category = colKey;
                scene.items.push_back(t);
            }
            // Mapping of (dimension, value) to page coordinates.
            auto hPos = [&](double v) {
                return hCategorical ? plot.x + catCenter(std::size_t(v), plot.w)
                                    : (hDim == 1 ? xScale : yScale).map(v, plot.x, plot.x + plot.w);
            };
            auto vPos = [&](double v) {
                return vCategorical ? plot.y + catCenter(std::size_t(v), plot.h)
                                    : (vDim == 1 ? xScale : yScale).map(v, plot.y + plot.h, plot.y);
            };
            // Gridlines and the inner frame under the data.
            if (vGrid && !vCategorical)
                for (auto const& t : vTicks)
                    scene.items.push_back(line("grid-" + std::to_string(vDim), plot.x,
                                               vPos(t.value), plot.x + plot.w, vPos(t.value),
                                               kGridColor, 1));
            if (hGrid && !hCategorical)
                for (auto const& t : hTicks)
                    scene.items.push_back(line("grid-" + std::to_string(hDim), hPos(t.value),
                                               plot.y, hPos(t.value), plot.y + plot.h, kGridColor,
                                               1));
            if (model.innerFrame == 1 || panels) {
                Primitive f;
                f.kind = Primitive::Kind::Rect;
                f.role = "inner-frame";
                f.x = plot.x;
                f.y = plot.y;
                f.w = plot.w;
                f.h = plot.h;
                f.stroke = panels ? Color{0.8, 0.8, 0.8, 1} : frameColor;
                f.strokeWidth = 1;
                scene.items.push_back(f);
            }

            // The value of dimension 2 at a page position, and where dimension 1 falls.
            double valueExtent = tr ? plot.w : plot.h;
            double catExtent = tr ? plot.h : plot.w;
            double baseValue = std::clamp(0.0, yScale.lo, yScale.hi);
            if (yScale.log)
                baseValue = yScale.lo;
            auto valuePos = [&](double v) {
                return tr ? yScale.map(v, plot.x, plot.x + plot.w)
                          : yScale.map(v, plot.y + plot.h, plot.y);
            };
            (void)valueExtent;
            for (std::size_t ei = 0; ei < evaluated.size(); ++ei) {
                auto const& ev = evaluated[ei];
                auto const& el = *ev.element;
                std::vector<Mark const*> marks;
                for (auto const& m : ev.marks)
                    if (m.panelCol == colKey && m.panelRow == rowKey)
                        marks.push_back(&m);
                double alpha = 1;
                if (el.transparency && !el.transparency->args.empty()) {
                    auto const& a = el.transparency->args[0];
                    double t = a.kind == Node::Kind::Constant
                                   ? std::strtod(a.value.c_str(), nullptr)
                                   : a.number;
                    alpha = 1 - std::clamp(t, 0.0, 1.0);
                }
                Color fixed = constantColor(el.color, hexColor(kPalette[0]));
                auto colorOf = [&](Mark const& m) {
                    Color c = ev.hasColor || !m.colorKey.empty() ? seriesColor(m.colorKey) : fixed;
                    if (!ev.hasColor && m.colorKey.empty() && el.color)
                        c = fixed;
                    else if (!ev.hasColor && m.colorKey.empty())
                        c = seriesColor("");
                    c.a = alpha;
                    return c;
                };
                auto catPos = [&](Mark const& m) {  // centre along dimension 1
                    if (!xCategorical) {
                        return tr ? xScale.map(m.xNum, plot.y + plot.h, plot.y)
                                  : xScale.map(m.xNum, plot.x, plot.x + plot.w);
                    }
                    double start, width;
                    band(m, catExtent, start, width);
                    return (tr ? plot.y : plot.x) + start + width / 2;
                };
                // Where a value of a continuous dimension 1 falls along its axis.
                auto binPos = [&](double v) {
                    return tr ? xScale.map(v, plot.y + plot.h, plot.y)
                              : xScale.map(v, plot.x, plot.x + plot.w);
                };
                bool ibeam =
                    el.shape && !el.shape->args.empty() && el.shape->args[0].key() == "shape.ibeam";
                // A page point from a position along dimension 1 and a value's position.
                auto at = [&](double along, double value) {
                    return tr ? Point{value, along} : Point{along, value};
                };
                auto drawPie = [&](std::vector<Mark const*> const& ms, Rect const& area,
                                   auto const& colorFn) {
                    double total = 0;
                    for (auto const* m : ms)
                        if (m->y != kSysmis)
                            total += std::max(0.0, m->y - m->y0);
                    if (!(total > 0))
                        return;
                    double cx = area.x + area.w / 2, cy = area.y + area.h / 2;
                    double radius = std::min(area.w, area.h) / 2 * 0.92;
                    double angle = spec.startAngle;  // degrees clockwise from twelve o'clock
                    constexpr double kRad = 3.14159265358979323846 / 180;
                    for (auto const* m : ms) {
                        double v = m->y == kSysmis ? 0 : std::max(0.0, m->y - m->y0);
                        if (v <= 0)
                            continue;
                        double sweep = v / total * 360;
                        Primitive p;
                        p.kind = Primitive::Kind::Polygon;
                        p.role = "slice";
                        if (sweep < 359.999)
                            p.points.push_back({cx, cy});
                        int steps = std::max(2, int(std::ceil(sweep / 3)));
                        for (int k = 0; k <= steps; ++k) {
                            double a = (angle + sweep * k / steps) * kRad;
                            p.points.push_back(
                                {cx + radius * std::sin(a), cy - radius * std::cos(a)});
                        }
                        p.fill = colorFn(*m);
                        p.stroke = {1, 1, 1, 1};
                        p.strokeWidth = 1;
                        p.category = m->colorKey;
                        p.value = v / total * 100;
                        p.value2 = angle;
                        scene.items.push_back(p);
                        if (sweep >= 14) {  // the share, inside slices wide enough to hold it
                            double mid = (angle + sweep / 2) * kRad;
                            double lum = 0.3 * p.fill.r + 0.59 * p.fill.g + 0.11 * p.fill.b;
                            std::string t = m->labelText.empty()
                                                ? formatNumber(p.value, {true, 1, false, "", "%"})
                                                : m->labelText;
                            scene.items.push_back(
                                text("slice-label", t, cx + radius * 0.62 * std::sin(mid),
                                     cy - radius * 0.62 * std::cos(mid) + 4, 11, 0,
                                     lum > 0.55 ? kTextColor : Color{1, 1, 1, 1}));
                        }
                        angle += sweep;
                    }
                };
                auto drawBoxes = [&](std::vector<Mark const*> const& ms, Rect const& area,
                                     double extent, auto const& colorFn, auto const& vPosFn,
                                     bool coloured) {
                    double origin = tr ? area.y : area.x;
                    std::size_t nGroups = std::max<std::size_t>(1, colorCat.keys.size());
                    for (auto const* m : ms) {
                        if (!m->box)
                            continue;
                        BoxStats const& b = *m->box;
                        double start = 0, width = extent / 10;
                        if (xCategorical)
                            band(*m, extent, start, width);
                        else
                            start = catPos(*m) - origin - width / 2;
                        double centre = origin + start + width / 2;
                        double boxW = std::min(width * 0.5, 90.0);
                        if (coloured && nGroups > 1) {  // boxes of a colour side by side
                            double each = width * 0.8 / double(nGroups);
                            centre = origin + start + width * 0.1 +
                                     each * (std::max(0, colorCat.index(m->colorKey)) + 0.5);
                            boxW = each * 0.75;
                        }
                        Color edge{0.2, 0.2, 0.2, 1};
                        Color fill = colorFn(*m);
                        auto seg = [&](std::string role, double a1, double v1, double a2, double v2,
                                       double value) {
                            Point p1 = at(a1, v1), p2 = at(a2, v2);
                            auto l = line(std::move(role), p1.x, p1.y, p2.x, p2.y, edge, 1.2);
                            l.category = m->x;
                            l.group = m->colorKey;
                            l.value = value;
                            scene.items.push_back(l);
                        };
                        double lh = vPosFn(b.lowerHinge), uh = vPosFn(b.upperHinge);
                        double half = boxW / 2, capHalf = boxW / 4;
                        seg("whisker", centre, uh, centre, vPosFn(b.upperWhisker), b.upperWhisker);
                        seg("whisker", centre, lh, centre, vPosFn(b.lowerWhisker), b.lowerWhisker);
                        for (double w : {b.upperWhisker, b.lowerWhisker})
                            seg("whisker-cap", centre - capHalf, vPosFn(w), centre + capHalf,
                                vPosFn(w), w);
                        Primitive r;
                        r.kind = Primitive::Kind::Rect;
                        r.role = "box";
                        Point c1 = at(centre - half, lh), c2 = at(centre + half, uh);
                        r.x = std::min(c1.x, c2.x);
                        r.y = std::min(c1.y, c2.y);
                        r.w = std::fabs(c2.x - c1.x);
                        r.h = std::fabs(c2.y - c1.y);
                        r.fill = fill;
                        r.stroke = edge;
                        r.strokeWidth = 1.2;
                        r.category = m->x;
                        r.group = m->colorKey;
                        r.value = b.upperHinge;
                        r.value2 = b.lowerHinge;
                        scene.items.push_back(r);
                        double md = vPosFn(b.median);
                        seg("median", centre - half, md, centre + half, md, b.median);
                        scene.items.back().strokeWidth = 2.5;
                        for (std::size_t k = 0; k < b.outliers.size(); ++k) {
                            auto const& o = b.outliers[k];
                            Point p = at(centre, vPosFn(o.value));
                            if (o.extreme) {  // an asterisk
                                for (double deg : {0.0, 60.0, 120.0}) {
                                    double a = deg * 3.14159265358979323846 / 180, r4 = 4.5;
                                    auto l = line("extreme", p.x - r4 * std::sin(a),
                                                  p.y - r4 * std::cos(a), p.x + r4 * std::sin(a),
                                                  p.y + r4 * std::cos(a), edge, 1.3);
                                    l.category = m->x;
                                    l.value = o.value;
                                    scene.items.push_back(l);
                                }
                            } else {
                                Primitive c;
                                c.kind = Primitive::Kind::Circle;
                                c.role = "outlier";
                                c.x = p.x;
                                c.y = p.y;
                                c.w = 3.5;
                                c.stroke = edge;
                                c.strokeWidth = 1.2;
                                c.fill = {1, 1, 1, 1};
                                c.category = m->x;
                                c.value = o.value;
                                scene.items.push_back(c);
                            }
                            if (k < m->outlierLabels.size() && !m->outlierLabels[k].empty()) {
                                auto t = text("outlier-label", m->outlierLabels[k], p.x + 7,
                                              p.y + 3.5, 9, -1, kTextColor);
                                t.category = m->x;
                                t.value = o.value;
                                scene.items.push_back(t);
                            }
                        }
                    }
                };
                auto drawEdges = [&](std::vector<Mark const*> const& ms, auto const& cPos,
                                     auto const& vPosFn, auto const& colorFn) {
                    std::map<std::string, Mark const*> last;
                    for (auto const* m : ms) {
                        if (m->y == kSysmis)
                            continue;
                        std::string k = m->colorKey + "\x1d" + m->series;
                        if (auto it = last.find(k); it != last.end()) {
                            Point a = at(cPos(*it->second), vPosFn(it->second->y));
                            Point b = at(cPos(*m), vPosFn(m->y));
                            auto l = line("edge", a.x, a.y, b.x, b.y, colorFn(*m), 1.5);
                            l.category = m->x;
                            l.group = m->colorKey;
                            scene.items.push_back(l);
                        }
                        last[k] = m;
                    }
                };
                if (spec.polar && el.type == "interval") {
                    drawPie(marks, plot, colorOf);
                } else if (ev.cells) {
                    for (auto const* m : marks) {
                        double xa = binPos(m->x0), xb = binPos(m->x1);
                        double ya = valuePos(m->y0), yb = valuePos(m->y);
                        Primitive r;
                        r.kind = Primitive::Kind::Rect;
                        r.role = "cell";
                        r.x = tr ? std::min(ya, yb) : std::min(xa, xb);
                        r.y = tr ? std::min(xa, xb) : std::min(ya, yb);
                        r.w = tr ? std::fabs(yb - ya) : std::fabs(xb - xa);
                        r.h = tr ? std::fabs(xb - xa) : std::fabs(yb - ya);
                        r.fill = cellColor(m->cell);
                        r.category = numberKey(m->x0);
                        r.group = numberKey(m->y0);
                        r.value = m->cell;
                        scene.items.push_back(r);
                    }
                } else if (el.type == "schema") {
                    drawBoxes(marks, plot, catExtent, colorOf, valuePos, ev.hasColor);
                } else if (el.type == "edge") {
                    drawEdges(marks, catPos, valuePos, colorOf);
                } else if (el.type == "interval") {
                    bool dodge = el.modifier == "dodge" && ev.hasColor;
                    std::size_t nGroups = std::max<std::size_t>(1, colorCat.keys.size());
                    for (auto const* m : marks) {
                        if (m->y == kSysmis)
                            continue;
                        double start = 0, width = catExtent / 10;
                        double fill = 0.7;
                        if (m->binned) {
                            // A bin spans its edges, touching its neighbours.
                            double a = binPos(m->x0), b = binPos(m->x1);
                            start = std::min(a, b) - (tr ? plot.y : plot.x);
                            width = std::fabs(b - a);
                            fill = 1;
                        } else if (xCategorical) {
                            band(*m, catExtent, start, width);
                        } else {
                            start = (tr ? catPos(*m) - plot.y : catPos(*m) - plot.x) - width / 2;
                        }
                        if (el.size && !el.size->args.empty())
                            fill = std::clamp(sizeValue(el.size->args[0], 1, 0.7), 0.05, 1.0);
                        double barW = width * fill, barStart = start + (width - barW) / 2;
                        if (dodge) {
                            double each = barW / double(nGroups);
                            barStart += each * std::max(0, colorCat.index(m->colorKey));
                            barW = each;
                        }
                        double v0 = el.modifier == "stack" || m->ranged ? m->y0 : baseValue;
                        double p0 = valuePos(v0), p1 = valuePos(m->y);
                        if (m->ranged && ibeam) {
                            // An error bar: the interval with a cap at either end.
                            double c = (tr ? plot.y : plot.x) + barStart + barW / 2;
                            double cap = std::min(barW * 0.4, 24.0) / 2;
                            Color col = ev.hasColor || el.color ? colorOf(*m) : kErrorBarColor;
                            auto seg = [&](double a1, double b1, double a2, double b2) {
                                return tr ? line("errorbar", a1, b1, a2, b2, col, 1.5)
                                          : line("errorbar", b1, a1, b2, a2, col, 1.5);
                            };
                            Primitive body = seg(p0, c, p1, c);
                            body.category = m->x;
                            body.group = !m->colorKey.empty() ? m->colorKey : m->cluster;
                            body.value = m->y;
                            body.value2 = m->y0;
                            scene.items.push_back(body);
                            for (double p : {p0, p1}) {
                                Primitive capLine = seg(p, c - cap, p, c + cap);
                                capLine.role = "errorbar-cap";
                                scene.items.push_back(capLine);
                            }
                            continue;
                        }
                        Primitive r;
                        r.kind = Primitive::Kind::Rect;
                        r.role = "bar";
                        if (tr) {
                            r.x = std::min(p0, p1);
                            r.w = std::fabs(p1 - p0);
                            r.y = plot.y + barStart;
                            r.h = barW;
                        } else {
                            r.y = std::min(p0, p1);
                            r.h = std::fabs(p1 - p0);
                            r.x = plot.x + barStart;
                            r.w = barW;
                        }
                        r.fill = colorOf(*m);
                        if (el.exterior) {
                            r.stroke = constantColor(el.exterior, {0, 0, 0, 1});
                            r.strokeWidth = 1;
                        } else if (m->binned) {
                            r.stroke = {1, 1, 1, 1};  // neighbouring bins stay apart
                            r.strokeWidth = 0.75;
                        }
                        r.category = m->binned ? numberKey(m->x0) : m->x;
                        r.group = !m->colorKey.empty() ? m->colorKey : m->cluster;
                        r.value = m->y - (el.modifier == "stack" ? m->y0 : 0);
                        if (m->ranged) {
                            r.value = m->y;
                            r.value2 = m->y0;
                        }
                        scene.items.push_back(r);
                        if (!m->labelText.empty()) {
                            auto t = tr ? text("value-label", m->labelText, r.x + r.w + 4,
                                               r.y + r.h / 2 + 4, 10, -1, kTextColor)
                                        : text("value-label", m->labelText, r.x + r.w / 2, r.y - 4,
                                               10, 0, kTextColor);
                            scene.items.push_back(t);
                        }
                    }
                } else if (el.type == "point") {
                    double radius = 4;
                    if (el.size && !el.size->args.empty())
                        radius = std::clamp(sizeValue(el.size->args[0], 20, 8), 1.0, 50.0) / 2;
                    std::string fixedShape = "circle";
                    if (el.shape && !el.shape->args.empty() &&
                        el.shape->args[0].name.find('.') != std::string::npos)
                        fixedShape = el.shape->args[0].key().substr(6);
                    for (auto const* m : marks) {
                        if (m->y == kSysmis)
                            continue;
                        double c = catPos(*m), v = valuePos(m->y);
                        double px = tr ? v : c, py = tr ? c : v;
                        Primitive p;
                        std::string shape = fixedShape;
                        static constexpr char const* kShapeCycle[] = {
                            "circle", "square", "triangle", "diamond", "cross"};
                        if (!m->shapeKey.empty())
                            shape =
                                kShapeCycle[std::size_t(std::max(0, shapeCat.index(m->shapeKey))) %
                                            std::size(kShapeCycle)];
                        if (shape == "circle" || shape.empty()) {
                            p.kind = Primitive::Kind::Circle;
                            p.x = px;
                            p.y = py;
                            p.w = radius;
                        } else {
                            p.kind = Primitive::Kind::Polygon;
                            double r = radius;
                            if (shape == "square")
                                p.points = {{px - r, py - r},
                                            {px + r, py - r},
                                            {px + r, py + r},
                                            {px - r, py + r}};
                            else if (shape == "triangle")
                                p.points = {{px, py - r * 1.2},
                                            {px + r * 1.1, py + r * 0.8},
                                            {px - r * 1.1, py + r * 0.8}};
                            else if (shape == "diamond")
                                p.points = {{px, py - r * 1.3},
                                            {px + r, py},
                                            {px, py + r * 1.3},
                                            {px - r, py}};
                            else {
                                double q = r * 0.35;
                                p.points = {{px - q, py - r}, {px + q, py - r}, {px + q, py - q},
                                            {px + r, py - q}, {px + r, py + q}, {px + q, py + q},
                                            {px + q, py + r}, {px - q, py + r}, {px - q, py + q},
                                            {px - r, py + q}, {px - r, py - q}, {px - q, py - q}};
                            }
                        }
                        p.role = "point";
                        p.fill = colorOf(*m);
                        p.category = m->x;
                        p.group = m->colorKey;
                        p.value = m->y;
                        scene.items.push_back(p);
                    }
                } else {  // line, path, area
                    std::map<std::string, std::vector<Mark const*>> bySeries;
                    std::vector<std::string> order;
                    for (auto const* m : marks) {
                        std::string k = m->colorKey + "\x1d" + m->series;
                        if (!bySeries.count(k))
                            order.push_back(k);
                        bySeries[k].push_back(m);
                    }
                    for (auto const& k : order) {
                        auto pts = bySeries[k];
                        if (el.type != "path" && el.type != "polygon")
                            std::stable_sort(
                                pts.begin(), pts.end(), [&](Mark const* a, Mark const* b) {
                                    return xCategorical ? xCat.index(a->x) < xCat.index(b->x)
                                                        : a->xNum < b->xNum;
                                });
                        std::vector<std::vector<Point>> runs(1);
                        std::vector<std::vector<Point>> bases(1);
                        for (auto const* m : pts) {
                            if (m->y == kSysmis) {
                                if (el.missing != "interpolate" && !runs.back().empty()) {
                                    runs.emplace_back();
                                    bases.emplace_back();
                                }
                                continue;
                            }
                            double c = catPos(*m), v = valuePos(m->y);
                            double b = valuePos(el.modifier == "stack" ? m->y0 : baseValue);
                            runs.back().push_back(tr ? Point{v, c} : Point{c, v});
                            bases.back().push_back(tr ? Point{b, c} : Point{c, b});
                        }
                        Color col = colorOf(*pts.front());
                        if (el.fitLine && pts.front()->colorKey.empty())
                            col = kErrorBarColor;
                        for (std::size_t ri = 0; ri < runs.size(); ++ri) {
                            auto const& run = runs[ri];
                            if (run.empty())
                                continue;
                            Primitive p;
                            p.category = pts.front()->x;
                            p.group = pts.front()->colorKey;
                            if (el.type == "polygon") {
                                p.kind = Primitive::Kind::Polygon;
                                p.role = "polygon";
                                p.points = run;
                                p.fill = col;
                                p.fill.a = alpha == 1 ? 0.5 : alpha;
                                p.stroke = col;
                                p.strokeWidth = 1.5;
                            } else if (el.type == "area") {
                                p.kind = Primitive::Kind::Polygon;
                                p.role = "area";
                                p.points = run;
                                p.points.insert(p.points.end(), bases[ri].rbegin(),
                                                bases[ri].rend());
                                p.fill = col;
                                if (alpha == 1)
                                    p.fill.a = 0.85;
                            } else {
                                p.kind = el.closed ? Primitive::Kind::Polygon
                                                   : Primitive::Kind::Polyline;
                                p.role = el.type;
                                p.points = run;
                                p.stroke = col;
                                p.strokeWidth = 2;
                                if (el.shape && !el.shape->args.empty() &&
                                    el.shape->args[0].key() == "shape.dash")
                                    p.dash = {6, 4};
                                if (run.size() == 1) {  // a lone point of a broken line
                                    p.kind = Primitive::Kind::Circle;
                                    p.x = run[0].x;
                                    p.y = run[0].y;
                                    p.w = 2;
                                    p.fill = col;
                                }
                            }
                            scene.items.push_back(p);
                            if (el.fitLine && !pts.back()->labelText.empty() && run.size() > 1) {
                                // The fit's R squared at the right end of its line.
                                Point e = run.back();
                                auto t = text("fit-label", pts.back()->labelText, e.x - 2, e.y - 6,
                                              10, 1, col);
                                t.group = pts.back()->colorKey;
                                scene.items.push_back(t);
                            }
                        }
                    }
                }
            }

            // Reference lines.
            for (auto const& r : spec.refLines) {
                if (r.dim == 1 && xCategorical)
                    continue;
                Color c = hexColor(r.colorHex[0] == '#' ? r.colorHex : "#D62728");
                for (auto const& nc : kNamedColors)
                    if (r.colorHex == "color." + std::string(nc.name))
                        c = hexColor(nc.hex);
                bool horizontal = (r.dim == 2) != tr;
                double p = r.dim == 2 ? valuePos(r.value)
                                      : (tr ? xScale.map(r.value, plot.y + plot.h, plot.y)
                                            : xScale.map(r.value, plot.x, plot.x + plot.w));
                auto l = horizontal ? line("reference-line", plot.x, p, plot.x + plot.w, p, c, 1.5)
                                    : line("reference-line", p, plot.y, p, plot.y + plot.h, c, 1.5);
                l.value = r.value;
                l.dash = {5, 3};
                scene.items.push_back(l);
                if (!r.label.empty())
                    scene.items.push_back(
                        horizontal
                            ? text("reference-label", r.label, plot.x + plot.w - 2, p - 4, 10, 1, c)
                            : text("reference-label", r.label, p + 3, plot.y + 11, 10, -1, c));
            }

            // Axes: the vertical one on the first panel of a row, the horizontal one on the
            // last row.
            if (!vHidden && pcI == 0) {
                scene.items.push_back(line("axis-" + std::to_string(vDim), plot.x, plot.y, plot.x,
                                           plot.y + plot.h, kAxisColor, 1));
                for (auto const& t : vTicks) {
                    double y = vPos(t.value);
                    if (!spec.axes[vDim].ticksHidden)
                        scene.items.push_back(line("tick-" + std::to_string(vDim), plot.x - 4, y,
                                                   plot.x, y, kAxisColor, 1));
                    auto tt = text("tick-label-" + std::to_string(vDim),
                                   fitText(t.text, vLabelWidth, kTickFont, measurer), plot.x - 7,
                                   y + kTickFont * 0.35, kTickFont, 1, kTextColor);
                    tt.value = t.value;
                    tt.category = t.key;
                    scene.items.push_back(tt);
                }
            }
            if (!hHidden && pr + 1 == panelRows.size()) {
                double y0 = plot.y + plot.h;
                scene.items.push_back(line("axis-" + std::to_string(hDim), plot.x, y0,
                                           plot.x + plot.w, y0, kAxisColor, 1));
                double lastEnd = -1e9;
                for (auto const& t : hTicks) {
                    double x = hPos(t.value);
                    if (!spec.axes[hDim].ticksHidden)
                        scene.items.push_back(
                            line("tick-" + std::to_string(hDim), x, y0, x, y0 + 4, kAxisColor, 1));
                    double w = measurer.measure(t.text, kTickFont, false).width;
                    Primitive tt;
                    if (rotate) {
                        tt = text("tick-label-" + std::to_string(hDim),
                                  fitText(t.text, maxRotated, kTickFont, measurer), x + 3, y0 + 10,
                                  kTickFont, 1, kTextColor);
                        tt.angle = -45;
                    } else {
                        // Labels that would run into the previous one are left out.
                        if (!hCategorical && x - w / 2 < lastEnd + 4)
                            continue;
                        tt = text("tick-label-" + std::to_string(hDim), t.text, x,
                                  y0 + 8 + kTickFont, kTickFont, 0, kTextColor);
                        lastEnd = x + w / 2;
                    }
                    tt.value = t.value;
                    tt.category = t.key;
                    scene.items.push_back(tt);
                }
            }
        }
    }
    // Axis titles, centred on the panel area.
    double plotLeft = left, plotRight = right, plotTop = top, plotBottom = bottom;
    if (!hHidden && !hTitle.empty()) {
        auto t = text("axis-title-" + std::to_string(hDim),
                      fitText(hTitle, plotRight - plotLeft, kTitleFont, measurer),
                      (plotLeft + plotRight) / 2, bottom + hLabelHeight + 8 + kTitleFont * 1.2,
                      kTitleFont, 0, kTextColor);
        t.bold = true;
        scene.items.push_back(t);
    }
    if (!vHidden && !vTitle.empty()) {
        auto t = text("axis-title-" + std::to_string(vDim),
                      fitText(vTitle, plotBottom - plotTop, kTitleFont, measurer),
                      left - vLabelWidth - 12 - 4, (plotTop + plotBottom) / 2, kTitleFont, 0,
                      kTextColor);
        t.angle = -90;
        t.bold = true;
        scene.items.push_back(t);
    }
    if (evaluated.empty() && scene.warnings.empty())
        scene.warnings.push_back("the chart has no element to draw");
    return scene;
}

}  // namespace host::chart
