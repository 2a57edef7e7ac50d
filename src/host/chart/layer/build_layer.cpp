#include "host/chart/layer/layer_builder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>

#include <fmt/format.h>

#include "host/chart/layer/category_order.h"
#include "host/chart/scales/ticks.h"
#include "host/chart/spec/data_labels.h"
#include "host/chart/stats/fit_statistics.h"
#include "platform/chart_string.h"

namespace host::chart {

namespace layer_build {

std::int64_t bitsOf(double v) {
    std::int64_t out;
    std::memcpy(&out, &v, sizeof out);
    return out;
}

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

bool literalLabel(ElementSpec const& e) {
    return e.label && !e.label->args.empty() && e.label->args[0].kind == Node::Kind::String;
}

bool countColor(ElementSpec const& e) {
    return e.color && !e.color->args.empty() && e.color->args[0].kind == Node::Kind::Call &&
           e.color->args[0].name == "summary.count";
}

bool literalColor(ElementSpec const& e) {
    return e.color && !e.color->args.empty() && e.color->args[0].kind == Node::Kind::String;
}

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
    auto load = [&](std::string const& name, std::size_t most) -> std::optional<Column> {
        auto c = view_.column(name, err, most);
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
        cols.x = load(factors[0].names[0], kMaxSmallKeys);
    }
    if (!factors[1].unity && !(plan.countOnly && !plan.twoWay))
        for (auto const& n : factors[1].names)
            if (auto c = load(n, SIZE_MAX))
                cols.ys.emplace_back(n, std::move(*c));
    if (!plan.countOnly && !plan.density && factors[1].unity) {
        warn(element, "the second dimension of position needs a variable");
        return false;
    }
    auto loadFactor = [&](std::size_t i, std::optional<Column>& into,
                          std::size_t most = kMaxSmallKeys) {
        if (i < factors.size() && !factors[i].unity && factors[i].names.size() == 1)
            into = load(factors[i].names[0], most);
    };
    if (plan.clusterIndex < factors.size())
        loadFactor(plan.clusterIndex, cols.cluster);
    if (plan.depthIndex < factors.size()) {
        loadFactor(plan.depthIndex, cols.depth, SIZE_MAX);
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
    auto aesthetic = [&](Node const* call, std::optional<Column>& into,
                         std::size_t most = kMaxSmallKeys) {
        if (call && !call->args.empty() && call->args[0].kind == Node::Kind::Name &&
            call->args[0].name.find('.') == std::string::npos) {
            into = view_.column(call->args[0].name, err, most);
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
    aesthetic(element.transparency, cols.transparency, SIZE_MAX);
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
    aesthetic(element.label, cols.label, SIZE_MAX);
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
            // Reading stopped past the limit: how many there are in all is not known.
            std::string count =
                (*c)->tooManyCategories
                    ? fmt::format("more than the {} categories", kMaxSmallKeys)
                    : fmt::format("{} categories, more than the {}",
                                  formatNumber(double((*c)->values.size()), NumberFormat{}),
                                  kMaxSmallKeys);
            warn(element,
                 fmt::format("'{}' has {} that a chart can tell apart on an axis, by "
                             "colour, cluster, panel, shape, size or outline; nothing "
                             "is drawn",
                             (*c)->var ? (*c)->var->name : std::string("a variable"), count));
            return false;
        }
    if (cols.split && std::max<std::size_t>(1, cols.ys.size()) * cols.split->values.size() >
                          std::size_t(kMaxSmallKeys)) {
        warn(element, fmt::format("more than {} series (variables by split values); nothing is "
                                  "drawn",
                                  kMaxSmallKeys));
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
                        !literalColor(el) && !countColor(el) && !p.summary && !p.density &&
                        !p.twoWay && p.outerStatistic.empty() && p.pos.statistic.empty() &&
                        !p.pos.binned && p.pos.nests.empty();
    bool twoValues = cols.x && !cols.x->categorical && cols.ys.size() == 1 &&
                     !cols.ys[0].second.categorical && cols.ys[0].second.size() == cols.x->size() &&
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
    // As the rows of such a layer would be: one series, named by the variable.
    layer.series.keys.push_back(cols.ys[0].first);
    plain.proto.series = 0;
    plain.on = true;
}

}  // namespace layer_build

namespace {

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
    layer_build::LayerBuilder builder(spec, model, view, out, warnings);
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
