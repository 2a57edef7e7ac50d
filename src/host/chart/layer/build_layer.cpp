#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <unordered_map>

#include <fmt/format.h>

#include "host/chart/frame/frame.h"
#include "host/chart/layer/category_order.h"
#include "host/chart/layer/layer.h"
#include "host/chart/scales/ticks.h"
#include "host/chart/spec/data_labels.h"
#include "host/chart/spec/position_algebra.h"
#include "host/chart/stats/fit_statistics.h"
#include "host/chart/stats/registry.h"
#include "platform/chart_string.h"

namespace host::chart {

using gpl::Node;

namespace {

// What an element asks for, with its dimensions put in their places.
struct Plan {
    ElementSpec const* element = nullptr;
    Position pos;
    std::vector<Factor> factors;
    bool summary = false, percent = false, countOnly = false, density = false, twoWay = false;
    bool mergeSeries = false;  // the variables of dimension 2 are the ends of one interval
    // A smoother over the rows of the summary the position names inside it.
    std::string outerStatistic;
    gpl::Node const* outerCall = nullptr;
    std::size_t clusterIndex = 99, panelIndex = 2;
    std::size_t depthIndex = 99;  // dimension 3 of three-dimensional coordinates
};

struct Columns {
    std::optional<Column> x, cluster, panelCol, panelRow, color, shape, label, split, weight, size,
        exterior, transparency;
    std::optional<Column> depth;
    std::vector<std::pair<std::string, Column>> ys;
    std::vector<double> xEdges, yEdges;  // bins shared by all panels and groups
};

// The key a group of a summary is found by.
struct GroupKey {
    std::int64_t a = 0, b = 0;  // dimension 1: a category code, a bin, or a number's bits
    std::int32_t cluster, panelCol, panelRow, color, shape, series, size, exterior;
    bool operator==(GroupKey const&) const = default;
};
struct GroupKeyHash {
    std::size_t operator()(GroupKey const& k) const {
        std::uint64_t h = 1469598103934665603ull;
        auto mix = [&](std::uint64_t v) { h = (h ^ v) * 1099511628211ull; };
        mix(std::uint64_t(k.a));
        mix(std::uint64_t(k.b));
        for (std::int32_t v :
             {k.cluster, k.panelCol, k.panelRow, k.color, k.shape, k.series, k.size, k.exterior})
            mix(std::uint32_t(v));
        return h;
    }
};

// The groups of a summary, found by their key as the cases come.
struct Groups {
    std::vector<Group> list;
    std::unordered_map<GroupKey, std::size_t, GroupKeyHash> index;
};

std::int64_t bitsOf(double v) {
    std::int64_t out;
    std::memcpy(&out, &v, sizeof out);
    return out;
}

// Bin edges over every row of a column, so that all panels and groups share them.
std::vector<double> edgesOf(Column const& c, BinOptions const& options) {
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    std::size_t cases = 0;
    for (std::size_t r = 0; r < c.numbers.size(); ++r)
        if (!c.missing[r] && c.numbers[r] != kSysmis) {
            lo = std::min(lo, c.numbers[r]);
            hi = std::max(hi, c.numbers[r]);
            ++cases;
        }
    return cases ? binEdges(lo, hi, cases, options) : std::vector<double>{};
}

double smallestGap(std::vector<Row> const& rows) {
    std::vector<double> xs;
    xs.reserve(rows.size());
    for (auto const& m : rows)
        if (!m.binned && m.y != kSysmis && std::isfinite(m.xNum))
            xs.push_back(m.xNum);
    std::sort(xs.begin(), xs.end());
    double gap = 0;
    for (std::size_t i = 1; i < xs.size(); ++i)
        if (double d = xs[i] - xs[i - 1]; d > 0 && (gap == 0 || d < gap))
            gap = d;
    return gap;
}

void useTable(KeyTable& t, std::optional<Column> const& c) {
    if (!c || !c->categorical)
        return;
    t.keys = c->values;
    t.var = c->var;
    t.texts = c->hasText;
}

class LayerBuilder {
public:
    LayerBuilder(Spec& spec, ChartModel const& model, DataView const& view, Layers& out,
                 std::vector<std::string>& warnings)
        : spec_(spec), model_(model), view_(view), out_(out), warnings_(warnings) {}

    void add(ElementSpec const& element);
    bool anyNumericX = false;

private:
    void warn(ElementSpec const& e, std::string const& text) {
        warnings_.push_back(fmt::format("line {}: {}", e.line, text));
    }
    std::optional<Plan> plan(ElementSpec const& element);
    bool planDepth(Plan& p);
    bool loadColumns(Plan const& plan, Columns& cols);
    bool loadAesthetics(Plan const& plan, Columns& cols);
    bool checkColumns(Plan const& plan, Columns& cols);
    void noteVariables(Plan const& plan, Columns const& cols);
    void setTables(Plan const& plan, Columns const& cols, Layer& layer);
    void collectRows(Plan const& plan, Columns const& cols, Layer& layer);
    bool plainPoints(Plan const& plan, Columns const& cols) const;
    static void takePlainPoints(Columns& cols, Layer& layer);
    void addCase(Plan const& plan, Columns const& cols, Column const* yc, Row m, std::size_t r,
                 double y, bool yMissing, double w, bool groupsByX, Groups& groups, Layer& layer);
    void summarize(Plan const& plan, Columns const& cols, std::vector<Group>& groups, Layer& layer);
    void hexSize(Plan const& plan, Columns const& cols, StatContext& context) const;
    void smoothRows(Plan const& plan, Layer& layer);
    std::vector<double> densityEdges(ElementSpec const& element, Plan const& plan,
                                     Columns const& cols, bool& percent) const;
    void fitLines(Layer const& points, ElementSpec const& element);
    void countCells(Layer& layer);
    std::string weightName(std::string const& source) const;
    std::int32_t labelCode(Columns const& cols, Layer& layer, std::size_t r);

    Spec& spec_;
    ChartModel const& model_;
    DataView const& view_;
    Layers& out_;
    std::vector<std::string>& warnings_;
    std::unordered_map<std::string, std::int32_t> numericLabels_;
    bool colorSeen_ = false, sizeSeen_ = false, alphaSeen_ = false;
    // The domain of a continuous aesthetic over every layer.
    static void widen(double& lo, double& hi, double v, bool& seen) {
        lo = seen ? std::min(lo, v) : v;
        hi = seen ? std::max(hi, v) : v;
        seen = true;
    }
};

namespace {

// label("Outlier"): one text for every mark.
bool literalLabel(ElementSpec const& e) {
    return e.label && !e.label->args.empty() && e.label->args[0].kind == Node::Kind::String;
}

// color(summary.count()): each mark coloured by the number of cases it stands for.
bool countColor(ElementSpec const& e) {
    return e.color && !e.color->args.empty() && e.color->args[0].kind == Node::Kind::Call &&
           e.color->args[0].name == "summary.count";
}

// color("Observed"): a text rather than a variable or a colour constant.
bool literalColor(ElementSpec const& e) {
    return e.color && !e.color->args.empty() && e.color->args[0].kind == Node::Kind::String;
}

}  // namespace

std::optional<Plan> LayerBuilder::plan(ElementSpec const& element) {
    Plan p;
    p.element = &element;
    p.pos = readPosition(*element.position);
    if (!p.pos.error.empty()) {
        warnings_.push_back(p.pos.error);
        return std::nullopt;
    }
    if (!p.pos.warning.empty())
        warnings_.push_back(p.pos.warning);
    if (spec_.polar && element.type != "interval") {
        warn(element,
             fmt::format("only interval is drawn in polar.theta coordinates; '{}' is left out",
                         element.type));
        return std::nullopt;
    }
    if (spec_.polarPlane && element.type == "schema") {
        warn(element, "box plots are not drawn in a polar plane; 'schema' is left out");
        return std::nullopt;
    }
    Position& pos = p.pos;
    if (!pos.innerStatistic.empty()) {
        // The summary first, as the statistic of the layer; the smoother over its rows.
        p.outerStatistic = pos.statistic;
        p.outerCall = pos.statCall;
        pos.statistic = pos.innerStatistic;
        pos.kind = StatKind::Summary;
        pos.statCall = pos.innerCall;
    }
    if (element.type == "schema" && pos.statistic.empty() && !pos.binned) {
        pos.statistic = "bin.quantile.letter";  // a box plot needs its letter values
        pos.kind = StatKind::Box;
    }
    if (element.type == "schema" && pos.kind != StatKind::Box) {
        warn(element, "schema draws box plots of bin.quantile.letter only");
        return std::nullopt;
    }
    std::string const& stat = pos.statistic;
    p.summary = !stat.empty() || pos.binned;
    p.factors = pos.factors;
    auto& factors = p.factors;
    if (element.alongValues && factors.size() == 1)
        factors.insert(factors.begin(), Factor{{}, true});
    // In a pie the angle is the first dimension and carries the values; alone, a continuous
    // variable there (a precomputed count) is summed, not counted.
    if (spec_.polar && factors.size() >= 2)
        std::swap(factors[0], factors[1]);
    if (spec_.polar && factors.size() == 1 && factors[0].names.size() == 1 &&
        stat != "summary.count" && stat != "summary.percent.count") {
        bool continuous = false;
        for (auto const& v : model_.variables)
            if (v.name == factors[0].names[0])
                continuous = !v.categorical;
        if (continuous)
            factors.insert(factors.begin(), Factor{{}, true});
    }
    p.percent = pos.kind == StatKind::Percent || stat == "region.confi.percent.count";
    p.countOnly =
        stat == "summary.count" || stat == "summary.percent.count" ||
        stat == "summary.count.cumulative" || stat == "summary.percent.cumulative" ||
        stat == "region.confi.count" || stat == "region.confi.percent.count" ||
        (stat == "summary.percent" && (factors.size() == 1 || factors[1].unity)) ||  // of the cases
        (pos.binned && stat.empty());
    p.density = pos.kind == StatKind::Density;
    p.twoWay = pos.binned && factors.size() >= 2 && !factors[1].unity &&
               (stat.empty() || stat == "summary.count");
    if (p.twoWay)
        p.countOnly = true;
    if (p.density && factors.size() != 1) {
        warn(element, fmt::format("{0} takes one variable, as in {0}(x)", stat));
        return std::nullopt;
    }
    // With a count of one factor (or a density) the statistic is the second dimension.
    if ((p.countOnly || p.density) && factors.size() == 1)
        factors.push_back(Factor{{}, true});
    if (factors.size() < 2) {
        warn(element,
             "position needs two dimensions, as in position(x*y), or coordinates of one, as in "
             "COORD: rect(dim(1))");
        return std::nullopt;
    }
    p.clusterIndex = spec_.clusterDim >= 3 ? std::size_t(spec_.clusterDim - 1) : 99;
    if (!pos.nests.empty() && p.clusterIndex == 2 && factors.size() == 2)
        factors.push_back(Factor{{}, true});  // the cluster's place stays empty
    for (auto const& f : pos.nests) factors.push_back(f);
    if (pos.kind == StatKind::Region && stat != "region.spread.range" && !p.countOnly &&
        factors[1].names.size() > 1) {
        warn(element, fmt::format("'{}' takes one variable on the second dimension", stat));
        return std::nullopt;
    }
    if (element.type == "area" && element.modifier == "difference" && factors[1].names.size() != 2)
        warn(element,
             "area.difference takes two variables blended on the second dimension, as "
             "in x*(a+b); an area is drawn");
    p.panelIndex = p.clusterIndex == 2 ? 3 : 2;
    if (spec_.dims == 3 && !planDepth(p))
        return std::nullopt;
    p.mergeSeries = stat == "region.spread.range" || p.twoWay;
    return p;
}

// Three dimensions: the third factor recedes into the page, the fourth and fifth make panels.
// Points of continuous variables and bars (of summaries or of values) on two categorical
// dimensions are drawn there; other elements and statistics not yet.
bool LayerBuilder::planDepth(Plan& p) {
    ElementSpec const& element = *p.element;
    if (element.type != "point" && element.type != "interval") {
        warn(element, fmt::format("'{}' in three-dimensional coordinates is not supported yet; "
                                  "it is left out",
                                  element.type));
        return false;
    }
    if (!element.modifier.empty() && element.type == "interval") {
        warn(element, fmt::format("'{}.{}' in three-dimensional coordinates is not supported "
                                  "yet; it is left out",
                                  element.type, element.modifier));
        return false;
    }
    bool summaryOfValues = p.pos.kind == StatKind::Summary && !p.pos.binned;
    if (p.summary && !(element.type == "interval" && summaryOfValues)) {
        warn(element, fmt::format("'{}' in three-dimensional coordinates is not supported yet; "
                                  "the element is left out",
                                  p.pos.statistic.empty() ? "bin.rect" : p.pos.statistic));
        return false;
    }
    if (p.factors.size() < 3 || p.factors[2].unity || p.factors[2].names.size() != 1) {
        warn(element,
             "three-dimensional coordinates need a variable on each dimension, as in "
             "position(x*y*z)");
        return false;
    }
    p.clusterIndex = 99;
    p.depthIndex = 2;
    p.panelIndex = 3;
    return true;
}

bool LayerBuilder::loadColumns(Plan const& plan, Columns& cols) {
    ElementSpec const& element = *plan.element;
    auto const& factors = plan.factors;
    bool ok = true;
    std::string err;
    auto load = [&](std::string const& name) -> std::optional<Column> {
        auto c = view_.column(name, err);
        if (!c)
            warn(element, err);
        ok &= c.has_value();
        return c;
    };
    if (!factors[0].unity) {
        if (factors[0].names.size() != 1) {
            warn(element, "blends on the first dimension are not supported yet");
            return false;
        }
        cols.x = load(factors[0].names[0]);
    }
    if (!factors[1].unity && !(plan.countOnly && !plan.twoWay))
        for (auto const& n : factors[1].names)
            if (auto c = load(n))
                cols.ys.emplace_back(n, std::move(*c));
    if (!plan.countOnly && !plan.density && factors[1].unity) {
        warn(element, "the second dimension of position needs a variable");
        return false;
    }
    auto loadFactor = [&](std::size_t i, std::optional<Column>& into) {
        if (i < factors.size() && !factors[i].unity && factors[i].names.size() == 1)
            into = load(factors[i].names[0]);
    };
    if (plan.clusterIndex < factors.size())
        loadFactor(plan.clusterIndex, cols.cluster);
    if (plan.depthIndex < factors.size()) {
        loadFactor(plan.depthIndex, cols.depth);
        // Bars stand in the cells of two categorical dimensions; points take continuous ones.
        bool bars = element.type == "interval";
        bool xFits = !cols.x || cols.x->categorical == bars;
        bool zFits = !cols.depth || cols.depth->categorical == bars;
        if (cols.depth && !out_.layers.empty() && out_.zCategorical != cols.depth->categorical)
            zFits = false;  // the third axis is of categories or of values, not both
        if (!xFits || !zFits) {
            warn(element, fmt::format("in three-dimensional coordinates {} on {} first and third "
                                      "dimensions only; it is left out",
                                      bars ? "bars stand" : "points lie",
                                      bars ? "categorical" : "continuous"));
            return false;
        }
        if (cols.depth)
            out_.zCategorical = cols.depth->categorical;
    }
    loadFactor(plan.panelIndex, cols.panelCol);
    loadFactor(plan.panelIndex + 1, cols.panelRow);
    if (factors.size() > plan.panelIndex + 2)
        warn(element, "a position of more than four dimensions is drawn with the first four");
    return loadAesthetics(plan, cols) && ok;
}

bool LayerBuilder::loadAesthetics(Plan const& plan, Columns& cols) {
    ElementSpec const& element = *plan.element;
    bool ok = true;
    std::string err;
    auto aesthetic = [&](Node const* call, std::optional<Column>& into) {
        if (call && !call->args.empty() && call->args[0].kind == Node::Kind::Name &&
            call->args[0].name.find('.') == std::string::npos) {
            into = view_.column(call->args[0].name, err);
            if (!into)
                warn(element, err);
            ok &= into.has_value();
        }
    };
    aesthetic(element.color, cols.color);
    if (!cols.color)
        aesthetic(element.shade, cols.color);
    aesthetic(element.size, cols.size);
    aesthetic(element.exterior, cols.exterior);
    aesthetic(element.transparency, cols.transparency);
    aesthetic(element.shape, cols.shape);
    if (element.texture) {
        // A texture's categories take the place of shapes, which a filled shape does not have.
        auto const& a = element.texture->args;
        if (a.empty() || a[0].kind != Node::Kind::Name || a[0].name.find('.') != std::string::npos)
            warn(element,
                 "texture.pattern.interior of a constant is not supported yet; the "
                 "element is drawn without it");
        else if ((element.type != "interval" && element.type != "area" &&
                  element.type != "polygon") ||
                 cols.shape)
            warn(element,
                 "texture.pattern.interior is drawn on interval, area and polygon only; the "
                 "element is drawn without it");
        else
            aesthetic(element.texture, cols.shape);
    }
    aesthetic(element.label, cols.label);
    bool labelled = element.type == "point" || element.type == "interval";
    if (!element.label && !spec_.dataLabels.variable.empty() && labelled) {
        cols.label = view_.column(spec_.dataLabels.variable, err);
        if (!cols.label)
            warn(element, err);  // the chart is drawn without the labels
    }
    aesthetic(element.split, cols.split);
    if (!ok || !(plan.summary || countColor(element)))
        return ok;
    std::string source = cols.x             ? cols.x->var->source
                         : !cols.ys.empty() ? cols.ys[0].second.var->source
                         : cols.color       ? cols.color->var->source
                                            : std::string();
    if (std::string w = weightName(source); !w.empty()) {
        cols.weight = view_.column(w, err);
        if (!cols.weight) {
            warn(element, err);
            return false;
        }
    }
    return true;
}

// What the statistic needs of the columns: continuous variables where it bins or smooths,
// values where it summarises them.
bool LayerBuilder::checkColumns(Plan const& plan, Columns& cols) {
    ElementSpec const& element = *plan.element;
    std::string const& stat = plan.pos.statistic;
    if (plan.pos.binned) {
        if (!cols.x || cols.x->categorical || (plan.twoWay && cols.ys[0].second.categorical)) {
            warn(element, "bin.rect needs continuous variables");
            return false;
        }
        cols.xEdges = edgesOf(*cols.x, plan.pos.bin);
        if (plan.twoWay)
            cols.yEdges = edgesOf(cols.ys[0].second, plan.pos.bin);
    }
    // Category codes are held in 16 bits a row; no page tells that many apart anyway.
    for (auto const* c : {&cols.x, &cols.color, &cols.cluster, &cols.panelCol, &cols.panelRow,
                          &cols.shape, &cols.split, &cols.size, &cols.exterior})
        if (*c && (*c)->categorical && (*c)->values.size() > std::size_t(kMaxSmallKeys)) {
            warn(element, fmt::format("'{}' has {} categories, more than the {} that a chart can "
                                      "tell apart on an axis, by colour, cluster, panel, shape, "
                                      "size or outline; nothing is drawn",
                                      (*c)->var ? (*c)->var->name : std::string("a variable"),
                                      formatNumber(double((*c)->values.size()), NumberFormat{}),
                                      kMaxSmallKeys));
            return false;
        }
    if (cols.split && std::max<std::size_t>(1, cols.ys.size()) * cols.split->values.size() >
                          std::size_t(kMaxSmallKeys)) {
        warn(element, fmt::format("more than {} series (variables by split values); nothing is "
                                  "drawn", kMaxSmallKeys));
        return false;
    }
    if (plan.element->alongValues && !plan.summary && !cols.ys.empty() &&
        cols.ys[0].second.categorical) {
        warn(element, fmt::format("'{}' is categorical: values of one categorical dimension "
                                  "are not supported yet (summary.count({}) counts them)",
                                  cols.ys[0].first, cols.ys[0].first));
        return false;
    }
    bool pointwise = plan.pos.kind == StatKind::Smooth || plan.pos.kind == StatKind::Link ||
                     plan.pos.kind == StatKind::Hex || !plan.outerStatistic.empty();
    if (plan.pos.kind == StatKind::Hex && (cols.ys.empty() || cols.ys[0].second.categorical)) {
        warn(element, "bin.hex needs continuous variables on both dimensions, as in bin.hex(x*y)");
        return false;
    }
    if ((plan.density || pointwise) && (!cols.x || cols.x->categorical)) {
        warn(element, fmt::format("'{}' needs a continuous variable on the first dimension",
                                  plan.outerStatistic.empty() ? stat : plan.outerStatistic));
        return false;
    }
    if (plan.summary && !plan.countOnly && !plan.density)
        for (auto const& [name, c] : cols.ys) {
            bool anyNumber = std::any_of(c.numbers.begin(), c.numbers.end(),
                                         [](double v) { return v != kSysmis; });
            if (c.categorical && !anyNumber && c.size() > 0) {
                warn(element, fmt::format("'{}' needs a continuous variable, and '{}' is "
                                          "categorical (its values are texts); nothing is drawn",
                                          stat.empty() ? "summary" : stat, name));
                return false;
            }
        }
    return true;
}

std::string LayerBuilder::weightName(std::string const& source) const {
    // The weight variable of a source: the one the command added, or userSource's weight().
    for (auto const& v : model_.variables)
        if (v.weight && v.source == source)
            return v.name;
    for (auto const& st : model_.program.statements)
        if (st.keyword == "SOURCE" && st.target == source)
            if (auto const* w = st.body.find("weight");
                w && !w->args.empty() && w->args[0].kind == Node::Kind::Name)
                return w->args[0].name;
    return std::string();
}

void LayerBuilder::noteVariables(Plan const& plan, Columns const& cols) {
    if (cols.x) {
        out_.xCategorical = out_.xCategorical && cols.x->categorical;
        anyNumericX |= !cols.x->categorical;
        out_.xVar = out_.xVar ? out_.xVar : cols.x->var;
    }
    if (!cols.ys.empty() && !out_.yVar)
        out_.yVar = cols.ys[0].second.var;
    if (plan.summary && out_.yStatistic.empty() && !plan.twoWay)
        out_.yStatistic = plan.pos.statistic.empty() ? "summary.count" : plan.pos.statistic;
    if (cols.color && !out_.colorVar)
        out_.colorVar = cols.color->var;
    if (cols.shape && cols.shape->categorical && !out_.shapeVar)
        out_.shapeVar = cols.shape->var;
    if (cols.size && !out_.sizeVar)
        out_.sizeVar = cols.size->var;
    if (cols.exterior && cols.exterior->categorical && !out_.exteriorVar)
        out_.exteriorVar = cols.exterior->var;
    if (cols.transparency && !out_.alphaVar)
        out_.alphaVar = cols.transparency->var;
    if (cols.shape && plan.element->texture && !out_.textureVar)
        out_.textureVar = cols.shape->var;
    if (cols.depth && !out_.zVar)
        out_.zVar = cols.depth->var;
    if (cols.cluster && !out_.clusterVar)
        out_.clusterVar = cols.cluster->var;
    if (cols.panelCol && !out_.panelVar)
        out_.panelVar = cols.panelCol->var;
    if (cols.panelRow && !out_.panelRowVar)
        out_.panelRowVar = cols.panelRow->var;
    if (!plan.mergeSeries)
        for (auto const& [n, c] : cols.ys) {
            if (std::find(out_.yNames.begin(), out_.yNames.end(), n) == out_.yNames.end())
                out_.yNames.push_back(n);  // one variable in several elements is one name
            out_.seriesLabels[n] = c.var->label.empty() ? n : c.var->label;
        }
}

void LayerBuilder::setTables(Plan const& plan, Columns const& cols, Layer& layer) {
    if (cols.x)
        useTable(layer.x, cols.x);
    else
        layer.x.keys = {"1"};  // no variable on dimension 1: one place
    useTable(layer.cluster, cols.cluster);
    useTable(layer.panelCol, cols.panelCol);
    useTable(layer.panelRow, cols.panelRow);
    useTable(layer.shape, cols.shape);
    useTable(layer.depth, cols.depth);
    if (!plan.summary && cols.ys.size() == 1 && cols.ys[0].second.categorical) {
        useTable(layer.y, cols.ys[0].second);
        layer.yCategorical = true;
        out_.yCategorical = true;
    }
    if (cols.color && cols.color->categorical) {
        useTable(layer.color, cols.color);
    } else if (literalColor(*plan.element)) {
        // A text in the colour names a category of its own, shared by every case.
        layer.color.keys = {plan.element->color->args[0].value};
        layer.color.texts = true;
    } else if (cols.ys.size() > 1 && !plan.mergeSeries) {
        // Several variables on dimension 2 are told apart by colour.
        for (auto const& [name, c] : cols.ys) layer.color.keys.push_back("\x1e" + name);
        layer.color.texts = true;
    }
    layer.hasColor = cols.color.has_value() || literalColor(*plan.element);
    if (cols.color && !cols.color->categorical && !plan.summary)
        layer.colorScale = plan.element->shade && !plan.element->color
                               ? (plan.element->shade->key() == "color.brightness" ? 'b' : 's')
                               : 'g';
    layer.sizeScale = cols.size && !cols.size->categorical && !plan.summary;
    ElementSpec const& el = *plan.element;
    if (cols.size && el.type != "point")
        warn(el, fmt::format("a size of a variable is drawn for points only; the {}s keep "
                             "one size ('{}' is left out)",
                             el.type, cols.size->var->name));
    else if (cols.size && cols.size->categorical)
        useTable(layer.size, cols.size);
    else if (cols.size && plan.summary)
        warn(el, fmt::format("a continuous size is drawn for points of cases, not of a "
                             "statistic; the points keep one size ('{}' is left out)",
                             cols.size->var->name));
    bool outlined = el.type == "point" || (el.type == "interval" && !spec_.polar);
    if (cols.exterior && !outlined)
        warn(el, fmt::format("an outline colour of a variable is drawn for points and bars "
                             "only; the {}s keep one outline ('{}' is left out)",
                             el.type, cols.exterior->var->name));
    else if (cols.exterior && cols.exterior->categorical)
        useTable(layer.exterior, cols.exterior);
    else if (cols.exterior)
        warn(el, fmt::format("an outline colour of a continuous variable is not drawn; the "
                             "outlines keep one colour ('{}' is left out)",
                             cols.exterior->var->name));
    layer.cells = plan.twoWay;
    bool labelled = el.type == "point" || el.type == "interval" || el.type == "schema";
    if ((cols.label || literalLabel(el)) && !labelled)
        warn(el, fmt::format("labels are drawn on points, bars, pie slices and the outliers of "
                             "box plots; the {}'s label is left out",
                             el.type));
    if (literalLabel(el))
        layer.labels.push_back(el.label->args[0].value);
    layer.alphaScale = cols.transparency && !cols.transparency->categorical && !plan.summary;
    if (cols.transparency && !layer.alphaScale)
        warn(*plan.element,
             "transparency is drawn by the values of a continuous variable only, "
             "not by categories or in a summary; the marks are opaque");
    layer.cells = plan.twoWay;
    layer.hexes = plan.pos.kind == StatKind::Hex;
    layer.textured = cols.shape && plan.element->texture;
    if (plan.pos.statistic == "summary.count.cumulative")
        layer.cumulative = 'c';
    else if (plan.pos.statistic == "summary.percent.cumulative")
        layer.cumulative = 'p';
    if (cols.label && cols.label->categorical) {
        for (auto const& v : cols.label->values) {
            std::string text = v;
            for (auto const& rl : cols.label->var->relabels)
                if (rl.value == v)
                    text = rl.label;
            layer.labels.push_back(text);
        }
    }
}

// The text of the label aesthetic at a row: a category by its relabel, a number in its format.
std::int32_t LayerBuilder::labelCode(Columns const& cols, Layer& layer, std::size_t r) {
    auto const& c = cols.label;
    if (!c)
        return literalLabel(*layer.element) ? 0 : -1;
    if (!c->present(r))
        return -1;
    if (c->categorical)
        return c->codes[r];
    std::string text = formatNumber(c->numbers[r], c->var->format);
    auto [it, fresh] =
        numericLabels_.try_emplace(text, static_cast<std::int32_t>(layer.labels.size()));
    if (fresh)
        layer.labels.push_back(text);
    return it->second;
}

void LayerBuilder::collectRows(Plan const& plan, Columns const& cols, Layer& layer) {
    auto const& x = cols.x;
    std::size_t n = x ? x->size() : 0;
    for (auto const& [name, c] : cols.ys) n = std::max(n, c.size());
    if (cols.cluster)
        n = std::max(n, cols.cluster->size());
    if (cols.color)
        n = std::max(n, cols.color->size());
    if (cols.depth)
        n = std::max(n, cols.depth->size());
    // The code of a row in a categorical column; a row that a column lacks is missing.
    auto codeAt = [](std::optional<Column> const& c, std::size_t r, bool& missing) {
        if (!c)
            return std::int32_t(-1);
        if (!c->present(r)) {
            missing = true;
            return std::int32_t(-1);
        }
        return c->categorical ? c->codes[r] : std::int32_t(-1);
    };
    std::size_t seriesCount = plan.countOnly && cols.ys.empty() ? 1 : cols.ys.size();
    if (plan.density)
        seriesCount = 1;
    bool syntheticColor = cols.ys.size() > 1 && !plan.mergeSeries &&
                          !(cols.color && cols.color->categorical) && !literalColor(*plan.element);
    bool literal = !cols.color && literalColor(*plan.element);
    // Series: a variable of dimension 2 and a value of split().
    std::map<std::pair<std::size_t, std::int32_t>, std::int32_t> seriesCodes;
    auto seriesCode = [&](std::size_t s, std::int32_t split) {
        if (plan.mergeSeries || cols.ys.empty())
            s = 0;  // the variables are the ends of one interval: one series
        auto [it, fresh] =
            seriesCodes.try_emplace({s, split}, std::int32_t(layer.series.keys.size()));
        if (fresh) {
            std::string name = cols.ys.empty() || plan.mergeSeries ? "" : cols.ys[s].first;
            if (split >= 0)
                name += "\x1f" + cols.split->values[std::size_t(split)];
            layer.series.keys.push_back(name);
        }
        return it->second;
    };
    Groups groups;
    bool groupsByX = !plan.density && plan.pos.kind != StatKind::Smooth &&
                     plan.pos.kind != StatKind::Link && plan.pos.kind != StatKind::Hex;
    if (!plan.summary)
        layer.rows.reserve(n * seriesCount);
    for (std::size_t s = 0; s < seriesCount; ++s) {
        Column const* yc = cols.ys.empty() || plan.density ? nullptr : &cols.ys[s].second;
        for (std::size_t r = 0; r < n; ++r) {
            bool missing = false;
            Row m;
            m.x = x ? codeAt(x, r, missing) : 0;
            if (x && !x->categorical && !missing)
                m.xNum = x->numbers[r];
            m.cluster = codeAt(cols.cluster, r, missing);
            m.panelCol = codeAt(cols.panelCol, r, missing);
            m.panelRow = codeAt(cols.panelRow, r, missing);
            m.color = codeAt(cols.color, r, missing);
            m.shape = codeAt(cols.shape, r, missing);
            if (!layer.size.keys.empty())
                m.size = codeAt(cols.size, r, missing);
            if (!layer.exterior.keys.empty())
                m.exterior = codeAt(cols.exterior, r, missing);
            std::int32_t split = codeAt(cols.split, r, missing);
            if (cols.depth) {
                if (!cols.depth->present(r) ||
                    (!cols.depth->categorical && cols.depth->numbers[r] == kSysmis))
                    continue;  // a point without its depth has no place
                m.z = static_cast<float>(cols.depth->categorical ? cols.depth->codes[r]
                                                                 : cols.depth->numbers[r]);
            }
            if (missing)
                continue;
            m.series = seriesCode(s, split);
            if (syntheticColor)
                m.color = static_cast<std::int32_t>(s);
            else if (literal)
                m.color = 0;
            // Categories of dimension 2 are carried by their codes until the scales place them.
            bool yMissing = !yc || !yc->present(r) ||
                            (layer.yCategorical
                                 ? yc->codes[r] < 0
                                 : yc->numbers[r] == kSysmis || (yc->categorical && !plan.summary));
            double y = yMissing             ? kSysmis
                       : layer.yCategorical ? double(yc->codes[r])
                                            : yc->numbers[r];
            m.label = labelCode(cols, layer, r);
            if (layer.colorScale) {
                if (!cols.color->present(r))
                    continue;
                m.cval = static_cast<float>(cols.color->numbers[r]);
                widen(out_.colorLo, out_.colorHi, m.cval, colorSeen_);
            }
            if (layer.alphaScale) {
                if (!cols.transparency->present(r))
                    continue;
                m.tval = static_cast<float>(cols.transparency->numbers[r]);
                widen(out_.alphaLo, out_.alphaHi, m.tval, alphaSeen_);
            }
            if (layer.sizeScale) {
                if (!cols.size->present(r))
                    continue;
                m.sval = static_cast<float>(cols.size->numbers[r]);
                widen(out_.sizeLo, out_.sizeHi, m.sval, sizeSeen_);
            }
            double w = 1;
            if (cols.weight) {
                if (!cols.weight->present(r) || !(cols.weight->numbers[r] > 0))
                    continue;  // a case without a positive weight is not counted
                w = cols.weight->numbers[r];
            }
            if (!plan.summary) {
                // A missing value is never drawn; lines use it to know where to break.
                m.y = yMissing ? kSysmis : y;
                if (cols.weight)
                    m.cval = static_cast<float>(w);  // counted by countCells
                else if (countColor(*plan.element))
                    m.cval = 1;
                layer.rows.push_back(m);
                continue;
            }
            addCase(plan, cols, yc, m, r, y, yMissing, w, groupsByX, groups, layer);
        }
    }
    if (plan.summary)
        summarize(plan, cols, groups.list, layer);
}

// A case into its group, found by its key; cases outside the bins are left out.
void LayerBuilder::addCase(Plan const& plan, Columns const& cols, Column const* yc, Row m,
                           std::size_t r, double y, bool yMissing, double w, bool groupsByX,
                           Groups& groups, Layer& layer) {
    GroupKey key{0,       0,        m.cluster, m.panelCol, m.panelRow,
                 m.color, m.shape, m.series,  m.size,     m.exterior};
    if (cols.depth)
        key.b = static_cast<std::int64_t>(m.z);  // a category of the third dimension
    if (groupsByX)
        key.a = cols.x && !cols.x->categorical ? bitsOf(m.xNum) : m.x;
    Bin bin;
    if (plan.pos.binned) {
        int b = binIndex(cols.xEdges, m.xNum);
        if (b < 0)
            return;
        m.binned = true;
        bin.x0 = cols.xEdges[std::size_t(b)];
        bin.x1 = cols.xEdges[std::size_t(b) + 1];
        m.xNum = (bin.x0 + bin.x1) / 2;
        key.a = b;
        if (plan.twoWay) {
            if (yMissing)
                return;
            int by = binIndex(cols.yEdges, y);
            if (by < 0)
                return;
            m.y0 = cols.yEdges[std::size_t(by)];
            m.y = cols.yEdges[std::size_t(by) + 1];
            key.b = by;
        }
    }
    auto [it, fresh] = groups.index.try_emplace(key, groups.list.size());
    if (fresh) {
        if (m.binned) {
            m.extra = static_cast<std::int32_t>(layer.bins.size());
            layer.bins.push_back(bin);
        }
        groups.list.emplace_back();
        groups.list.back().row = m;
    }
    Group& g = groups.list[it->second];
    if (plan.density) {
        g.sample.add(m.xNum, w);
        g.count += w;
    } else if (plan.countOnly) {
        if (!yc || plan.twoWay || !yMissing || (yc->categorical && yc->present(r)))
            g.count += w;
    } else if (!yMissing) {
        g.sample.add(y, w);
        g.xs.push_back(m.xNum);
        g.rows.push_back(static_cast<std::uint32_t>(r));
        g.count += w;
    }
}

void LayerBuilder::summarize(Plan const& plan, Columns const& cols, std::vector<Group>& groups,
                             Layer& layer) {
    // What 100% means: all cases of the panel by default.
    Node const* call = plan.pos.statCall;
    bool acrossPanels = false, byCoordinate = false, byAesthetic = false;
    if (call) {
        if (auto const* b = call->find("base.all"))
            acrossPanels = b->find("acrosspanels") != nullptr;
        byCoordinate = call->find("base.coordinate") != nullptr;
        byAesthetic = call->find("base.aesthetic") != nullptr;
    }
    auto baseKey = [&](Row const& m) {
        std::array<std::int64_t, 5> k{-1, -1, -1, -1, -1};
        if (!acrossPanels)
            k[0] = m.panelCol, k[1] = m.panelRow;
        if (byCoordinate)
            k[2] = m.binned ? m.extra : m.x, k[3] = m.cluster;
        if (byAesthetic)
            k[4] = m.color;
        return k;
    };
    auto amount = [&](Group const& g) {
        if (plan.countOnly || plan.density)
            return g.count;
        double sum = 0;
        bool none = false;
        (void)summarizeSample("summary.sum", g.sample, sum, none);
        return sum;
    };
    std::map<std::array<std::int64_t, 5>, double> totals;
    for (auto const& g : groups) totals[baseKey(g.row)] += amount(g);
    std::string const& stat = plan.pos.statistic;
    double level = numberOption(call, "alpha", 0.95);
    if (level > 1)
        level /= 100;  // alpha(95) means 95%
    StatContext context{
        stat, plan.countOnly, plan.percent,
        0,    level,          numberOption(call, "multiple", 1),
        {},   false,          [&](std::uint32_t r) { return labelCode(cols, layer, r); }};
    if (plan.density)
        context.densityEdges = densityEdges(*plan.element, plan, cols, context.densityPercent);
    context.call = call;
    context.modifier = plan.element->modifier;
    if (plan.pos.kind == StatKind::Hex)
        hexSize(plan, cols, context);
    StatisticDef const* def = findStatistic(stat.empty() ? "summary.count" : stat);
    for (auto& g : groups) {
        context.total = totals[baseKey(g.row)];
        if (plan.twoWay) {
            twoWayCell(context, g, layer);
            out_.cellMax = std::max(out_.cellMax, g.count);
            out_.anyCells = true;
        } else if (def && def->compute) {
            def->compute(context, g, layer);
        }
    }
    if (layer.hexes)
        for (auto const& b : layer.bins) {
            out_.cellMax = std::max(out_.cellMax, b.cell);
            out_.anyCells = true;
        }
}

// A smoother over a summary's rows: their places and values are its points, per panel,
// colour and series.
void LayerBuilder::smoothRows(Plan const& plan, Layer& layer) {
    std::vector<Row> summaries = std::move(layer.rows);
    layer.rows.clear();
    std::map<std::array<std::int32_t, 6>, Group> groups;
    std::sort(summaries.begin(), summaries.end(),
              [](Row const& a, Row const& b) { return a.xNum < b.xNum; });
    for (auto const& m : summaries) {
        if (m.y == kSysmis)
            continue;
        auto [it, fresh] =
            groups.try_emplace({m.cluster, m.panelCol, m.panelRow, m.color, m.shape, m.series});
        Group& g = it->second;
        if (fresh)
            g.row = m;
        g.xs.push_back(m.xNum);
        g.sample.add(m.y, 1);
        g.count += 1;
    }
    StatContext context{plan.outerStatistic};
    context.call = plan.outerCall;
    context.modifier = plan.element->modifier;
    StatisticDef const* def = findStatistic(plan.outerStatistic);
    for (auto const& [key, g] : groups)
        if (def && def->compute)
            def->compute(context, g, layer);
}

// Hexagons of one size for every panel and group: binCount(n) across the range of dimension
// 1 (20 by default), as high as makes them regular on a plot of the graph's proportions.
void LayerBuilder::hexSize(Plan const& plan, Columns const& cols, StatContext& context) const {
    auto range = [](Column const& c) {
        double lo = std::numeric_limits<double>::infinity(), hi = -lo;
        for (std::size_t r = 0; r < c.numbers.size(); ++r)
            if (c.present(r) && c.numbers[r] != kSysmis) {
                lo = std::min(lo, c.numbers[r]);
                hi = std::max(hi, c.numbers[r]);
            }
        return hi > lo ? hi - lo : 1.0;
    };
    double count = std::clamp(numberOption(plan.pos.statCall, "bincount", 20), 1.0, 500.0);
    double xRange = cols.x ? range(*cols.x) : 1,
           yRange = cols.ys.empty() ? 1 : range(cols.ys[0].second);
    context.hexWidth = xRange / count;
    // A regular hexagon on the page: its corner height is its width over the square root of 3.
    // The plot is guessed as the graph's place (its share of the page when placed among others)
    // less about what its axes, titles and legend take.
    double w = spec_.width * (spec_.graphPlaced ? spec_.graphW : 1);
    double h = spec_.height * (spec_.graphPlaced ? spec_.graphH : 1);
    double pxPerX = std::max(0.4 * w, w - 150) / xRange;
    double pxPerY = std::max(0.4 * h, h - 90) / yRange;
    context.hexHeight = context.hexWidth * pxPerX / std::sqrt(3.0) / pxPerY;
}

// A density over a histogram of the same variable takes the histogram's edges, and its units.
std::vector<double> LayerBuilder::densityEdges(ElementSpec const& element, Plan const& plan,
                                               Columns const& cols, bool& percent) const {
    for (auto const& other : spec_.elements) {
        if (&other == &element)
            continue;
        Position op = readPosition(*other.position);
        if (op.binned && !op.factors.empty() && op.factors[0].names.size() == 1 &&
            op.factors[0].names[0] == plan.factors[0].names[0]) {
            percent = op.kind == StatKind::Percent;
            return edgesOf(*cols.x, op.bin);
        }
    }
    return {};
}

// Fit lines of the document over the points: one for all, one per colour group.
void LayerBuilder::fitLines(Layer const& points, ElementSpec const& element) {
    struct FitKey {
        bool total;
        std::int32_t color, panelCol, panelRow;
        auto operator<=>(FitKey const&) const = default;
    };
    std::map<FitKey, std::vector<Row const*>> byGroup;
    for (auto const& m : points.rows) {
        if (m.y == kSysmis)
            continue;
        if (spec_.totalFit)
            byGroup[{true, -1, m.panelCol, m.panelRow}].push_back(&m);
        if (spec_.subgroupFit && m.color >= 0)
            byGroup[{false, m.color, m.panelCol, m.panelRow}].push_back(&m);
    }
    out_.fitElements.push_back(ElementSpec{});
    ElementSpec& fit = out_.fitElements.back();
    fit.type = "line";
    fit.line = element.line;
    fit.fitLine = true;
    Layer layer;
    layer.element = &fit;
    layer.hasColor = points.hasColor;
    layer.x = points.x;
    layer.color = points.color;
    layer.panelCol = points.panelCol;
    layer.panelRow = points.panelRow;
    layer.series.keys = {"\x1btotal", "\x1bsubgroup"};
    for (auto const& [k, rows] : byGroup) {
        std::vector<double> xs, ys, ws;
        for (auto const* m : rows) {
            xs.push_back(m->xNum);
            ys.push_back(m->y);
            ws.push_back(1);
        }
        std::vector<std::pair<double, double>> curve;
        double r2 = 0;
        if (!templateFit(spec_.fitType, xs, ys, curve, r2))
            continue;
        std::string type = spec_.fitType;
        type[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(type[0])));
        layer.labels.push_back(fmt::format("R² {} = {:.3f}", type, r2));
        for (auto const& [x, y] : curve) {
            Row p = *rows.front();
            p.color = k.total ? -1 : rows.front()->color;
            p.series = k.total ? 0 : 1;
            p.xNum = x;
            p.y = y;
            p.label = static_cast<std::int32_t>(layer.labels.size() - 1);
            p.binned = false;
            layer.rows.push_back(p);
        }
    }
    out_.layers.push_back(std::move(layer));
}

void LayerBuilder::add(ElementSpec const& element) {
    auto p = plan(element);
    if (!p)
        return;
    Columns cols;
    if (!loadColumns(*p, cols) || !checkColumns(*p, cols))
        return;
    // Bars and areas stand on values: categories give them nothing to stand on.
    bool onValues = element.type == "interval" || element.type == "area";
    if (onValues && !p->summary && cols.ys.size() == 1 && cols.ys[0].second.categorical) {
        warn(element, fmt::format("'{}' needs values on the second dimension, and '{}' is "
                                  "categorical; nothing is drawn",
                                  element.type, cols.ys[0].first));
        return;
    }
    noteVariables(*p, cols);
    Layer layer;
    layer.element = &element;
    setTables(*p, cols, layer);
    numericLabels_.clear();
    if (plainPoints(*p, cols))
        takePlainPoints(cols, layer);
    else
        collectRows(*p, cols, layer);
    if (!p->outerStatistic.empty())
        smoothRows(*p, layer);
    if (layer.yCategorical && countColor(element))
        countCells(layer);
    // Only bars take their width from the spacing of the values: a scatter of a million
    // points is not sorted for it.
    if (cols.x && !cols.x->categorical && element.type == "interval")
        layer.xGap = smallestGap(layer.rows);
    bool fits = element.type == "point" && !p->summary && (spec_.totalFit || spec_.subgroupFit);
    if (fits && (!cols.x || cols.x->categorical)) {
        warn(element, "a fit line needs a continuous first dimension; it is left out");
        fits = false;
    }
    out_.layers.push_back(std::move(layer));
    if (fits)
        fitLines(out_.layers.back(), element);
}

// Is the layer a plain scatter of many cases, drawn from two columns (layer.h)?
bool LayerBuilder::plainPoints(Plan const& p, Columns const& cols) const {
    ElementSpec const& el = *p.element;
    bool plainChart = spec_.elements.size() == 1 && spec_.dims != 3 && !spec_.totalFit &&
                      !spec_.subgroupFit && !spec_.dataLabels.on;
    bool plainElement = el.type == "point" && el.modifier.empty() && !literalLabel(el) &&
                        !countColor(el) && !p.summary && !p.density && !p.twoWay &&
                        p.outerStatistic.empty() && p.pos.statistic.empty() && !p.pos.binned &&
                        p.pos.nests.empty();
    bool twoValues = cols.x && !cols.x->categorical && cols.ys.size() == 1 &&
                     !cols.ys[0].second.categorical &&
                     cols.ys[0].second.size() == cols.x->size() &&
                     cols.x->size() >= kPlainPointsMin;
    bool nothingElse = !cols.cluster && !cols.panelCol && !cols.panelRow && !cols.color &&
                       !cols.shape && !cols.label && !cols.split && !cols.weight && !cols.size &&
                       !cols.exterior && !cols.transparency && !cols.depth;
    return plainChart && plainElement && twoValues && nothingElse;
}

// The two columns become the layer's: no copy, and a case missing either value is not drawn.
void LayerBuilder::takePlainPoints(Columns& cols, Layer& layer) {
    Column& x = *cols.x;
    Column& y = cols.ys[0].second;
    PlainPoints& plain = layer.plain;
    plain.x = std::move(x.numbers);
    plain.y = std::move(y.numbers);
    for (std::size_t r = 0; r < plain.y.size(); ++r)
        if (!x.present(r) || !y.present(r))
            plain.y[r] = kSysmis;
    // As the rows of such a layer would be: one series named by the variable, a text colour
    // of the element as its one category.
    layer.series.keys.push_back(cols.ys[0].first);
    plain.proto.series = 0;
    plain.proto.color = literalColor(*layer.element) ? 0 : -1;
    plain.on = true;
}

// A heat map of two categorical variables: one cell per pair of categories (and panel), coloured
// by the weighted number of its cases.
void LayerBuilder::countCells(Layer& layer) {
    std::map<std::array<std::int32_t, 4>, std::size_t> index;
    std::vector<Row> cells;
    for (auto const& m : layer.rows) {
        if (m.y == kSysmis)
            continue;
        auto [it, fresh] =
            index.try_emplace({m.x, std::int32_t(m.y), m.panelCol, m.panelRow}, cells.size());
        if (fresh) {
            cells.push_back(m);
            cells.back().cval = 0;
        }
        cells[it->second].cval += m.cval;  // each case's weight
    }
    layer.rows = std::move(cells);
    layer.colorScale = 'g';
    for (auto const& m : layer.rows) widen(out_.colorLo, out_.colorHi, m.cval, colorSeen_);
    out_.colorCounts = true;
}

// Fit lines asked for by the document's inline templates.
void readFitTemplates(Spec& spec, ChartModel const& model, std::vector<std::string>& warnings) {
    for (auto const& t : model.inlineTemplates) {
        if (t.find("addFitLine") == std::string::npos)
            continue;
        std::string type;
        for (char const* known : {"linear", "quadratic", "cubic", "loess"})
            if (t.find(fmt::format("type=\"{}\"", known)) != std::string::npos)
                type = known;
        if (type.empty()) {
            warnings.push_back(
                "fit lines are linear, quadratic, cubic or loess; a fit line of another type is "
                "left out");
            continue;
        }
        spec.fitType = type;
        if (t.find("target=\"pair\"") != std::string::npos)
            spec.totalFit = true;
        if (t.find("target=\"subgroup\"") != std::string::npos)
            spec.subgroupFit = true;
    }
}

}  // namespace

std::string const& KeyTable::key(std::int32_t code) const {
    static std::string const none;
    return code < 0 || std::size_t(code) >= keys.size() ? none : keys[std::size_t(code)];
}

Layers buildLayers(Spec& spec, ChartModel const& model, VarDataProcessor const* data,
                   std::vector<std::string>& warnings) {
    Layers out;
    readFitTemplates(spec, model, warnings);
    readDataLabelTemplates(spec, model, warnings);
    if (spec.dataLabels.on)
        for (auto const& e : spec.elements)
            if (e.type != "interval" && e.type != "point" && !e.label)
                warnings.push_back(fmt::format(
                    "line {}: data labels are drawn on bars, pie slices and points; the {}'s "
                    "marks are not labelled",
                    e.line, e.type));
    DataView view(model, data);
    LayerBuilder builder(spec, model, view, out, warnings);
    if (!spec.elementsRefused) {
        out.layers.reserve(spec.elements.size() * 2);
        for (auto const& element : spec.elements) builder.add(element);
    }
    if (builder.anyNumericX)
        out.xCategorical = false;
    orderByStatistic(spec, view, out, warnings);
    // Values have no place on an axis of categories: such elements are left out.
    if (out.yCategorical)
        for (auto& l : out.layers)
            if (!l.yCategorical && (!l.rows.empty() || l.plain.on)) {
                warnings.push_back(fmt::format(
                    "line {}: the second dimension holds categories, and this element gives it "
                    "values; it is not drawn",
                    l.element->line));
                l.rows.clear();
                l.plain = {};
            }
    return out;
}

}  // namespace host::chart
