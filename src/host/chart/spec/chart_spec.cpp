#include "host/chart/spec/chart_spec.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <fmt/format.h>

#include "host/chart/geometry/elements.h"
#include "host/chart/spec/one_dimension.h"
#include "platform/chart_string.h"

namespace host::chart {

using gpl::Node;

std::string numberKey(double v) {
    ChartString s;
    s.assignDouble(v, 16);
    return s.toUTF8();
}

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

MarkSize markSize(Node const& n, double fallbackPx) {
    std::string unit;
    double number = 0;
    if (n.kind == Node::Kind::Constant) {
        char* end = nullptr;
        number = std::strtod(n.value.c_str(), &end);
        unit = end ? std::string(end) : "";
    } else if (n.kind == Node::Kind::Number) {
        number = n.number;
        unit = n.value;
    } else {
        return {fallbackPx};
    }
    if (!std::isfinite(number) || number < 0)
        return {fallbackPx};
    if (unit == "%")
        return {0, number / 100};
    return {unit.empty() || unit == "px" ? number : sizeValue(n, 0, fallbackPx)};
}

double numberOption(Node const* call, char const* option, double fallback) {
    if (call)
        if (auto const* o = call->find(option); o && !o->args.empty())
            return o->args[0].kind == Node::Kind::Constant
                       ? std::strtod(o->args[0].value.c_str(), nullptr)
                       : o->args[0].number;
    return fallback;
}

namespace {

// GRAPH: begin(origin(), scale()): where the graph sits, as fractions of the page.
void readGraph(Node const& b, Spec& spec) {
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

std::string colorText(Node const* c) {
    if (!c || c->args.empty())
        return {};
    auto const& a = c->args[0];
    return a.kind == Node::Kind::Constant ? "#" + a.value : gpl::lower(a.name);
}

// SCALE: of an aesthetic: the colours of categories, the ends of a gradient.
void readAestheticScale(Node const& b, Spec& spec) {
    if (auto const* m = b.find("map"))
        for (auto const& pair : m->args)
            if (pair.kind == Node::Kind::Tuple && pair.args.size() == 2) {
                auto const& c = pair.args[1];
                std::string col =
                    c.kind == Node::Kind::Constant ? "#" + c.value : gpl::lower(c.name);
                std::string k = pair.args[0].kind == Node::Kind::String
                                    ? pair.args[0].value
                                    : numberKey(pair.args[0].number);
                spec.colorScale.map[k] = col;
            }
    auto const* aes = b.find("aesthetic");
    if (aes && !aes->args.empty() && aes->args[0].key() == "aesthetic.size") {
        if (auto const* lo = b.find("aestheticminimum"); lo && !lo->args.empty())
            spec.sizeMin = markSize(lo->args[0], 4);
        if (auto const* hi = b.find("aestheticmaximum"); hi && !hi->args.empty())
            spec.sizeMax = markSize(hi->args[0], 24);
        // The order of the categories of a size: the first is the smallest.
        ScaleSpec& order = spec.sizeCategories;
        if (auto const* sv = b.find("sort.values"))
            for (auto const& a : sv->args)
                order.sortValues.push_back(a.kind == Node::Kind::String ? a.value
                                                                        : numberKey(a.number));
        order.reverse = b.find("reverse") != nullptr;
        return;
    }
    spec.colorScale.categories.sortData = b.find("sort.data") != nullptr;
    if (auto const* inc = b.find("include"))
        for (auto const& a : inc->args) {
            if (a.kind == Node::Kind::String)
                spec.colorScale.categories.includeValues.push_back(a.value);
            else if (a.kind == Node::Kind::Number && std::isfinite(a.number))
                spec.colorScale.categories.includeValues.push_back(numberKey(a.number));
        }
    if (auto t = colorText(b.find("aestheticminimum")); !t.empty())
        spec.gradientLow = t;
    if (auto t = colorText(b.find("aestheticmaximum")); !t.empty())
        spec.gradientHigh = t;
}

// A number argument that must be finite to mean anything on an axis.
bool finiteArgument(Node const* call, double& out, int line, std::vector<std::string>& warnings) {
    if (!call || call->args.empty())
        return false;
    out = call->args[0].number;
    if (std::isfinite(out) && std::fabs(out) < 1e300)
        return true;
    warnings.push_back(fmt::format("line {}: {}() of a scale needs a finite number; it is ignored",
                                   line, call->name));
    return false;
}

void readScale(Node const& b, int line, Spec& spec, std::vector<std::string>& warnings) {
    for (auto const& a : b.args)
        if (a.kind == Node::Kind::Call && a.key() == "aesthetic") {
            readAestheticScale(b, spec);
            return;
        }
    int dim = dimOf(b);
    if (dim <= 0)
        return;
    ScaleSpec s;
    s.type = b.key();
    s.line = line;
    s.hasMin = finiteArgument(b.find("min"), s.min, line, warnings);
    s.hasMax = finiteArgument(b.find("max"), s.max, line, warnings);
    if (s.hasMin && s.hasMax && !(s.min < s.max)) {
        warnings.push_back(fmt::format(
            "line {}: the scale's min({:g}) is not below its max({:g}); both are ignored", line,
            s.min, s.max));
        s.hasMin = s.hasMax = false;
    }
    if (auto const* inc = b.find("include")) {
        for (auto const& a : inc->args) {
            if (a.kind == Node::Kind::Number && std::isfinite(a.number))
                s.includeNumbers.push_back(a.number);
            else if (a.kind == Node::Kind::String)
                s.includeValues.push_back(a.value);
        }
    }
    if (auto const* sv = b.find("sort.values"))
        for (auto const& a : sv->args)
            s.sortValues.push_back(a.kind == Node::Kind::String ? a.value : numberKey(a.number));
    s.sortData = b.find("sort.data") != nullptr;
    if (auto const* st = b.find("sort.statistic")) {
        Node const* stat = st->args.empty() ? nullptr : &st->args[0];
        if (stat && stat->kind == Node::Kind::Call && stat->key().rfind("summary.", 0) == 0) {
            s.sortStatistic = stat->key();
            if (!stat->args.empty() && stat->args[0].kind == Node::Kind::Name)
                s.sortVariable = stat->args[0].name;
        } else {
            warnings.push_back(fmt::format(
                "line {}: sort.statistic takes a summary, as in sort.statistic(summary.mean(y)); "
                "the categories keep their order",
                line));
        }
    }
    s.reverse = b.find("reverse") != nullptr;
    if (auto const* base = b.find("base"); base && !base->args.empty()) {
        double v = base->args[0].number;
        if (v > 1 && std::isfinite(v))
            s.base = v;
        else
            warnings.push_back(fmt::format(
                "line {}: the base of a log scale must be a number above 1, not {:g}; base 10 is "
                "used",
                line, v));
    }
    if (auto const* e = b.find("exponent"); e && !e->args.empty())
        s.exponent = e->args[0].number;
    spec.scales[dim] = s;
}

void readCoord(Node const& b, int line, Spec& spec, std::vector<std::string>& warnings) {
    std::string key = b.key();
    spec.coordLine = line;
    // Coordinates wrap one another: transpose(mirror(rect(dim(1,2)))).
    if (key == "transpose" || key == "mirror") {
        (key == "transpose" ? spec.transpose : spec.mirror) = true;
        for (auto const& a : b.args)
            if (a.kind == Node::Kind::Call)
                readCoord(a, line, spec, warnings);
        return;
    }
    if (key == "polar.theta" || key == "polar") {
        (key == "polar" ? spec.polarPlane : spec.polar) = true;
        spec.startAngle = numberOption(&b, "startangle", 0);
        return;
    }
    if (key != "rect") {
        warnings.push_back(fmt::format(
            "line {}: the coordinate '{}' is not supported yet; nothing is drawn", line, b.name));
        spec.elementsRefused = true;
        return;
    }
    if (auto const* d = b.find("dim"); d && !d->args.empty()) {
        spec.dims = static_cast<int>(d->args.size());
        if (spec.dims > 3) {
            warnings.push_back(fmt::format(
                "line {}: coordinates of more than three dimensions are drawn in three", line));
            spec.dims = 3;
        }
    }
    spec.transpose |= b.find("transpose") != nullptr;
    spec.mirror |= b.find("mirror") != nullptr;
    spec.sameRatio = b.find("sameratio") != nullptr;
    if (spec.dims == 3 && (spec.transpose || b.find("cluster"))) {
        warnings.push_back(
            fmt::format("line {}: {}() in three dimensions is not supported yet; it is ignored",
                        line, spec.transpose ? "transpose" : "cluster"));
        spec.transpose = false;
        spec.wrap = b.find("wrap") != nullptr;
        return;
    }
    spec.wrap = b.find("wrap") != nullptr;
    if (auto const* c = b.find("cluster"); c && !c->args.empty())
        spec.clusterDim = static_cast<int>(c->args[0].number);
    // A coordinate inside the panels: a pie or a polar plane in each.
    for (auto const* inner : {b.find("polar.theta"), b.find("polar")})
        if (inner)
            readCoord(*inner, line, spec, warnings);
}

void readAxis(Node const& b, Spec& spec) {
    AxisGuide& g = spec.axes[dimOf(b)];
    g.hidden = b.find("null") != nullptr;
    if (auto const* t = b.find("ticks"); t && t->find("null"))
        g.ticksHidden = true;
    if (b.find("gridlines"))
        g.gridlines = g.gridlinesSet = true;
    if (auto const* d = b.find("delta");
        d && !d->args.empty() && d->args[0].number > 0 && std::isfinite(d->args[0].number))
        g.delta = d->args[0].number;
    if (auto const* s = b.find("start");
        s && !s->args.empty() && std::isfinite(s->args[0].number)) {
        g.hasStart = true;
        g.start = s->args[0].number;
    }
    g.opposite = b.find("opposite") != nullptr;
    if (auto const* a = b.find("label.angle");
        a && !a->args.empty() && std::isfinite(a->args[0].number)) {
        g.angled = true;
        g.labelAngle = std::clamp(a->args[0].number, -90.0, 90.0);
    }
    if (b.find("label")) {
        g.label = labelOf(b);
        g.labelSet = true;
    }
}

void readGuide(Node const& b, Spec& spec) {
    std::string key = b.key();
    if (key == "axis") {
        readAxis(b, spec);
    } else if (key == "legend") {
        auto const* aes = b.find("aesthetic");
        if (aes && !aes->args.empty() && aes->args[0].key() == "aesthetic.size") {
            if (b.find("label"))
                spec.sizeLegendLabel = labelOf(b);
            return;
        }
        if (aes && !aes->args.empty() && aes->args[0].key() == "aesthetic.color.exterior") {
            if (b.find("label"))
                spec.outlineLegendLabel = labelOf(b);
            return;
        }
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
        if (std::isfinite(r.value))
            spec.refLines.push_back(r);
    }
}

void readElement(Node const& b, int line, Spec& spec, std::vector<std::string>& warnings) {
    ElementSpec e;
    e.line = line;
    std::string type = b.key();
    auto dot = type.find('.');
    e.type = type.substr(0, dot);
    if (dot != std::string::npos)
        e.modifier = type.substr(dot + 1);
    if (!findElement(e.type)) {
        warnings.push_back(fmt::format("line {}: element '{}' is not supported yet; it is left out",
                                       line, b.name));
        return;
    }
    bool pointModifier =
        e.type == "point" && (e.modifier == "jitter" || e.modifier == "dodge.symmetric");
    bool difference = e.type == "area" && e.modifier == "difference";
    if (!e.modifier.empty() && e.modifier != "stack" && e.modifier != "dodge" && !pointModifier &&
        !difference)
        warnings.push_back(
            fmt::format("line {}: '{}' is drawn without its modifier", line, b.name));
    auto either = [&](char const* first, char const* second) {
        Node const* n = b.find(first);
        return n ? n : b.find(second);
    };
    e.position = b.find("position");
    // Points stack and dodge in dot plots only; elsewhere they are drawn where they fall.
    bool dots = e.position && !e.position->args.empty() && e.position->args[0].key() == "bin.dot";
    if (e.type == "point" && (e.modifier == "stack" || e.modifier == "dodge.symmetric") && !dots)
        warnings.push_back(fmt::format(
            "line {}: '{}' stacks the dots of bin.dot only; the points are drawn where they fall",
            line, b.name));
    e.color = either("color.interior", "color");
    e.shade = either("color.saturation", "color.brightness");
    e.exterior = b.find("color.exterior");
    e.shape = either("shape.interior", "shape");
    e.size = b.find("size");
    e.transparency = either("transparency.interior", "transparency");
    e.label = b.find("label");
    e.split = b.find("split");
    e.texture = b.find("texture.pattern.interior");
    if (b.find("missing.interpolate"))
        e.missing = "interpolate";
    if (b.find("missing.wings"))
        e.missing = "wings";
    e.closed = b.find("closed") != nullptr;
    if (!e.position) {
        warnings.push_back(fmt::format("line {}: element '{}' has no position", line, b.name));
        return;
    }
    // Outlines are drawn around points, bars, areas and polygons; lines, edges and boxes have
    // none of their own.
    bool outlined = e.type == "point" || e.type == "interval" || e.type == "area" ||
                    e.type == "polygon";
    if (e.exterior && !outlined && !e.exterior->args.empty() &&
        e.exterior->args[0].name.find('.') != std::string::npos)
        warnings.push_back(fmt::format(
            "line {}: '{}' has no outline to colour; color.exterior is left out", line, e.type));
    spec.elements.push_back(e);
}

}  // namespace

namespace {

void readStatement(gpl::Statement const& st, Spec& spec, std::vector<std::string>& warnings) {
    Node const& b = st.body;
    if (st.keyword == "SCALE")
        readScale(b, st.line, spec, warnings);
    else if (st.keyword == "COORD")
        readCoord(b, st.line, spec, warnings);
    else if (st.keyword == "GUIDE")
        readGuide(b, spec);
    else if (st.keyword == "ELEMENT")
        readElement(b, st.line, spec, warnings);
}

bool isGraph(gpl::Statement const& st, char const* key) {
    return st.keyword == "GRAPH" && st.body.key() == key;
}

}  // namespace

std::vector<Spec> readGraphs(gpl::Program const& program, std::vector<std::string>& warnings) {
    Spec page;
    for (auto const& st : program.statements)
        if (st.keyword == "PAGE" && st.body.key() == "begin")
            if (auto const* s = st.body.find("scale"); s && s->args.size() >= 2) {
                double const w = sizeValue(s->args[0], 640, 640);
                double const h = sizeValue(s->args[1], 480, 480);
                page.width = std::clamp(w, 100.0, 10000.0);
                page.height = std::clamp(h, 80.0, 10000.0);
                if (page.width != w || page.height != h)
                    warnings.push_back(fmt::format(
                        "line {}: a page of {:g} x {:g} px is outside 100 x 80 to 10000 x 10000 px; "
                        "it is drawn at {:g} x {:g} px",
                        st.line, w, h, page.width, page.height));
            }
    // Which graph each statement belongs to: -1 for the page outside every block.
    std::vector<int> owner;
    int blocks = 0, current = -1;
    bool pageElements = false;
    for (auto const& st : program.statements) {
        if (isGraph(st, "begin"))
            current = blocks++;
        else if (isGraph(st, "end"))
            current = -1;
        owner.push_back(current);
        pageElements |= current < 0 && st.keyword == "ELEMENT";
    }
    // One block without elements around it: what stands outside it belongs to it too.
    if (blocks == 1 && !pageElements)
        std::fill(owner.begin(), owner.end(), 0);
    std::vector<Spec> graphs(std::size_t(blocks), page);
    auto graphOf = [&](std::size_t i) -> Spec& {
        return owner[i] < 0 ? page : graphs[std::size_t(owner[i])];
    };
    for (std::size_t i = 0; i < program.statements.size(); ++i) {
        auto const& st = program.statements[i];
        if (isGraph(st, "begin"))
            readGraph(st.body, graphOf(i));
        else
            readStatement(st, graphOf(i), warnings);
    }
    for (std::size_t i = 0; i < program.statements.size(); ++i) {
        auto const& st = program.statements[i];
        Spec& spec = graphOf(i);
        if (spec.dims == 3 && st.keyword == "GUIDE" && st.body.key() == "form.line") {
            warnings.push_back(fmt::format(
                "line {}: a reference line in three dimensions is not supported yet; it is "
                "left out",
                st.line));
            spec.refLines.clear();
        }
    }
    // The page's own statements: a graph of the whole page when they draw something, or the
    // page's titles above the placed graphs.
    bool pageTexts = !page.title.empty() || !page.subtitle.empty() || !page.subsubtitle.empty() ||
                     !page.footnote.empty();
    if (blocks == 0 || !page.elements.empty() || pageTexts)
        graphs.insert(graphs.begin(), std::move(page));
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        // Among several graphs one without elements shows its titles only, not an empty plot.
        graphs[i].titlesOnly = graphs.size() > 1 && graphs[i].elements.empty();
        graphs[i].commandTexts = i == 0;
        settleOneDimension(graphs[i], warnings);
    }
    return graphs;
}

}  // namespace host::chart
