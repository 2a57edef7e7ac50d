#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <unordered_map>

#include <fmt/format.h>

#include "host/chart/frame/frame.h"
#include "host/chart/layer/layer.h"
#include "host/chart/scales/ticks.h"
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
    std::size_t clusterIndex = 99, panelIndex = 2;
};

struct Columns {
    std::optional<Column> x, cluster, panelCol, panelRow, color, shape, label, split, weight, size;
    std::vector<std::pair<std::string, Column>> ys;
    std::vector<double> xEdges, yEdges;  // bins shared by all panels and groups
};

// The key a group of a summary is found by.
struct GroupKey {
    std::int64_t a = 0, b = 0;  // dimension 1: a category code, a bin, or a number's bits
    std::int32_t cluster, panelCol, panelRow, color, shape, series;
    bool operator==(GroupKey const&) const = default;
};
struct GroupKeyHash {
    std::size_t operator()(GroupKey const& k) const {
        std::uint64_t h = 1469598103934665603ull;
        auto mix = [&](std::uint64_t v) { h = (h ^ v) * 1099511628211ull; };
        mix(std::uint64_t(k.a));
        mix(std::uint64_t(k.b));
        for (std::int32_t v : {k.cluster, k.panelCol, k.panelRow, k.color, k.shape, k.series})
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
    bool loadColumns(Plan const& plan, Columns& cols);
    bool loadAesthetics(Plan const& plan, Columns& cols);
    bool checkColumns(Plan const& plan, Columns& cols);
    void noteVariables(Plan const& plan, Columns const& cols);
    void setTables(Plan const& plan, Columns const& cols, Layer& layer);
    void collectRows(Plan const& plan, Columns const& cols, Layer& layer);
    void addCase(Plan const& plan, Columns const& cols, Column const* yc, Row m, std::size_t r,
                 double y, bool yMissing, double w, bool groupsByX, Groups& groups, Layer& layer);
    void summarize(Plan const& plan, Columns const& cols, std::vector<Group>& groups, Layer& layer);
    std::vector<double> densityEdges(ElementSpec const& element, Plan const& plan,
                                     Columns const& cols) const;
    void fitLines(Layer const& points, ElementSpec const& element);
    std::string weightName(std::string const& source) const;
    std::int32_t labelCode(Columns const& cols, Layer& layer, std::size_t r);

    Spec& spec_;
    ChartModel const& model_;
    DataView const& view_;
    Layers& out_;
    std::vector<std::string>& warnings_;
    std::unordered_map<std::string, std::int32_t> numericLabels_;
    bool colorSeen_ = false, sizeSeen_ = false;
    // The domain of a continuous aesthetic over every layer.
    static void widen(double& lo, double& hi, double v, bool& seen) {
        lo = seen ? std::min(lo, v) : v;
        hi = seen ? std::max(hi, v) : v;
        seen = true;
    }
};

namespace {

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
    Position& pos = p.pos;
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
    p.countOnly = stat == "summary.count" || stat == "summary.percent.count" ||
                  stat == "region.confi.count" || stat == "region.confi.percent.count" ||
                  (stat == "summary.percent" && factors.size() == 1) ||
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
        warn(element, "position needs two dimensions, as in position(x*y)");
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
    p.panelIndex = p.clusterIndex == 2 ? 3 : 2;
    p.mergeSeries = stat == "region.spread.range" || p.twoWay;
    return p;
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
    aesthetic(element.shape, cols.shape);
    aesthetic(element.label, cols.label);
    aesthetic(element.split, cols.split);
    if (!ok || !plan.summary)
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
    bool pointwise = plan.pos.kind == StatKind::Smooth || plan.pos.kind == StatKind::Link;
    if ((plan.density || pointwise) && (!cols.x || cols.x->categorical)) {
        warn(element, fmt::format("'{}' needs a continuous variable on the first dimension", stat));
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
    if (cols.size && !out_.sizeVar)
        out_.sizeVar = cols.size->var;
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
    layer.cells = plan.twoWay;
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
    if (!c || !c->present(r))
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
    bool groupsByX =
        !plan.density && plan.pos.kind != StatKind::Smooth && plan.pos.kind != StatKind::Link;
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
            std::int32_t split = codeAt(cols.split, r, missing);
            if (missing)
                continue;
            m.series = seriesCode(s, split);
            if (syntheticColor)
                m.color = static_cast<std::int32_t>(s);
            else if (literal)
                m.color = 0;
            bool yMissing = !yc || !yc->present(r) || yc->numbers[r] == kSysmis ||
                            (yc->categorical && !plan.summary);
            double y = yc && !yMissing ? yc->numbers[r] : kSysmis;
            if (cols.label)
                m.label = labelCode(cols, layer, r);
            if (layer.colorScale) {
                if (!cols.color->present(r))
                    continue;
                m.cval = static_cast<float>(cols.color->numbers[r]);
                widen(out_.colorLo, out_.colorHi, m.cval, colorSeen_);
            }
            if (layer.sizeScale) {
                if (!cols.size->present(r))
                    continue;
                m.sval = static_cast<float>(cols.size->numbers[r]);
                widen(out_.sizeLo, out_.sizeHi, m.sval, sizeSeen_);
            }
            if (!plan.summary) {
                // A missing value is never drawn; lines use it to know where to break.
                m.y = yMissing ? kSysmis : y;
                layer.rows.push_back(m);
                continue;
            }
            double w = 1;
            if (cols.weight) {
                if (!cols.weight->present(r) || !(cols.weight->numbers[r] > 0))
                    continue;  // a case without a positive weight is not counted
                w = cols.weight->numbers[r];
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
    GroupKey key{0, 0, m.cluster, m.panelCol, m.panelRow, m.color, m.shape, m.series};
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
        if (plan.countOnly)
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
        stat,
        plan.countOnly,
        plan.percent,
        0,
        level,
        numberOption(call, "multiple", 1),
        plan.density ? densityEdges(*plan.element, plan, cols) : std::vector<double>{},
        [&](std::uint32_t r) { return labelCode(cols, layer, r); }};
    context.call = call;
    context.modifier = plan.element->modifier;
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
}

// A density over a histogram of the same variable takes the histogram's edges.
std::vector<double> LayerBuilder::densityEdges(ElementSpec const& element, Plan const& plan,
                                               Columns const& cols) const {
    for (auto const& other : spec_.elements) {
        if (&other == &element)
            continue;
        Position op = readPosition(*other.position);
        if (op.binned && !op.factors.empty() && op.factors[0].names.size() == 1 &&
            op.factors[0].names[0] == plan.factors[0].names[0])
            return edgesOf(*cols.x, op.bin);
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
    noteVariables(*p, cols);
    Layer layer;
    layer.element = &element;
    setTables(*p, cols, layer);
    numericLabels_.clear();
    collectRows(*p, cols, layer);
    bool fits = element.type == "point" && !p->summary && (spec_.totalFit || spec_.subgroupFit);
    if (fits && (!cols.x || cols.x->categorical)) {
        warn(element, "a fit line needs a continuous first dimension; it is left out");
        fits = false;
    }
    out_.layers.push_back(std::move(layer));
    if (fits)
        fitLines(out_.layers.back(), element);
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
    out.sizeMin = spec.sizeMin;
    out.sizeMax = spec.sizeMax;
    readFitTemplates(spec, model, warnings);
    DataView view(model, data);
    LayerBuilder builder(spec, model, view, out, warnings);
    if (!spec.elementsRefused) {
        out.layers.reserve(spec.elements.size() * 2);
        for (auto const& element : spec.elements) builder.add(element);
    }
    if (builder.anyNumericX)
        out.xCategorical = false;
    return out;
}

}  // namespace host::chart
