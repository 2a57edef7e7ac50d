#include "host/chart/spec/chart_spec.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <fmt/format.h>

#include "host/chart/geometry/elements.h"
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
            spec.sizeMin = std::clamp(sizeValue(lo->args[0], 20, 4), 1.0, 100.0);
        if (auto const* hi = b.find("aestheticmaximum"); hi && !hi->args.empty())
            spec.sizeMax = std::clamp(sizeValue(hi->args[0], 20, 24), 1.0, 100.0);
        return;
    }
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
    if (key == "polar.theta") {
        spec.polar = true;
        spec.startAngle = numberOption(&b, "startangle", 0);
        return;
    }
    if (key != "rect") {
        warnings.push_back(fmt::format(
            "line {}: the coordinate '{}' is not supported yet; nothing is drawn", line, b.name));
        spec.elementsRefused = true;
        return;
    }
    if (b.find("polar.theta") || b.find("polar")) {
        warnings.push_back(fmt::format(
            "line {}: polar coordinates inside panels are not supported yet; nothing is drawn",
            line));
        spec.elementsRefused = true;
    }
    spec.transpose = b.find("transpose") != nullptr;
    spec.wrap = b.find("wrap") != nullptr;
    if (auto const* c = b.find("cluster"); c && !c->args.empty())
        spec.clusterDim = static_cast<int>(c->args[0].number);
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
    if (!e.modifier.empty() && e.modifier != "stack" && e.modifier != "dodge" && !pointModifier)
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
    if (b.find("missing.interpolate"))
        e.missing = "interpolate";
    if (b.find("missing.wings"))
        e.missing = "wings";
    e.closed = b.find("closed") != nullptr;
    if (!e.position) {
        warnings.push_back(fmt::format("line {}: element '{}' has no position", line, b.name));
        return;
    }
    spec.elements.push_back(e);
}

}  // namespace

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
            if (graphs == 1)
                readGraph(b, spec);
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
            readScale(b, st.line, spec, warnings);
        } else if (st.keyword == "COORD") {
            readCoord(b, st.line, spec, warnings);
        } else if (st.keyword == "GUIDE") {
            readGuide(b, spec);
        } else if (st.keyword == "ELEMENT") {
            readElement(b, st.line, spec, warnings);
        }
    }
    return spec;
}

}  // namespace host::chart
