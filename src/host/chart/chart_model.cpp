#include "host/chart/chart_model.h"

#include <set>
#include <string_view>

#include <fmt/format.h>

namespace host::chart {

namespace {

enum class Support { Drawn, NotYet };

struct FunctionDef {
    char const* name;
    Support support;
};

// Every GPL function the engine knows, and whether it is drawn yet.
constexpr FunctionDef kFunctions[] = {
    {"usersource", Support::Drawn},
    {"mapsource", Support::Drawn},
    {"vizmap", Support::Drawn},
    {"vizrefmap", Support::Drawn},
    {"key", Support::Drawn},
    {"showallfeatures", Support::Drawn},
    {"reference", Support::Drawn},
    {"feature", Support::Drawn},
    {"project", Support::Drawn},
    {"id", Support::Drawn},
    {"missing.listwise", Support::Drawn},
    {"missing.pairwise", Support::Drawn},
    {"weight", Support::Drawn},
    {"col", Support::Drawn},
    {"source", Support::Drawn},
    {"name", Support::Drawn},
    {"unit.category", Support::Drawn},
    {"unit.time", Support::Drawn},
    {"notin", Support::Drawn},
    {"linear", Support::Drawn},
    {"log", Support::Drawn},
    {"base", Support::Drawn},
    {"cat", Support::Drawn},
    {"dim", Support::Drawn},
    {"include", Support::Drawn},
    {"min", Support::Drawn},
    {"max", Support::Drawn},
    {"datamininum", Support::Drawn},
    {"dataminimum", Support::Drawn},
    {"datamaximum", Support::Drawn},
    {"reverse", Support::Drawn},
    {"origin", Support::Drawn},
    {"sort.values", Support::Drawn},
    {"sort.natural", Support::Drawn},
    {"sort.data", Support::Drawn},
    {"aesthetic", Support::Drawn},
    {"map", Support::Drawn},
    {"aestheticminimum", Support::Drawn},
    {"aestheticmaximum", Support::Drawn},
    {"rect", Support::Drawn},
    {"transpose", Support::Drawn},
    {"cluster", Support::Drawn},
    {"axis", Support::Drawn},
    {"label", Support::Drawn},
    {"null", Support::Drawn},
    {"ticks", Support::Drawn},
    {"gridlines", Support::Drawn},
    {"delta", Support::Drawn},
    {"start", Support::Drawn},
    {"opposite", Support::Drawn},
    {"gap", Support::Drawn},
    {"legend", Support::Drawn},
    {"text.title", Support::Drawn},
    {"text.subtitle", Support::Drawn},
    {"text.subsubtitle", Support::Drawn},
    {"text.footnote", Support::Drawn},
    {"form.line", Support::Drawn},
    {"position", Support::Drawn},
    {"color", Support::Drawn},
    {"color.interior", Support::Drawn},
    {"color.exterior", Support::Drawn},
    {"shape", Support::Drawn},
    {"shape.interior", Support::Drawn},
    {"size", Support::Drawn},
    {"transparency", Support::Drawn},
    {"transparency.interior", Support::Drawn},
    {"transparency.exterior", Support::Drawn},
    {"split", Support::Drawn},
    {"missing.wings", Support::Drawn},
    {"missing.gap", Support::Drawn},
    {"missing.interpolate", Support::Drawn},
    {"begin", Support::Drawn},
    {"end", Support::Drawn},
    {"scale", Support::Drawn},
    {"interval", Support::Drawn},
    {"interval.stack", Support::Drawn},
    {"interval.dodge", Support::Drawn},
    {"point", Support::Drawn},
    {"line", Support::Drawn},
    {"area", Support::Drawn},
    {"area.stack", Support::Drawn},
    {"path", Support::Drawn},
    {"closed", Support::Drawn},
    {"summary.count", Support::Drawn},
    {"summary.sum", Support::Drawn},
    {"summary.mean", Support::Drawn},
    {"summary.min", Support::Drawn},
    {"summary.max", Support::Drawn},
    {"summary.median", Support::Drawn},
    {"summary.percent", Support::Drawn},
    {"summary.percent.count", Support::Drawn},
    {"base.all", Support::Drawn},
    {"polar.theta", Support::Drawn},
    {"polar", Support::Drawn},
    {"startangle", Support::Drawn},
    {"edge", Support::Drawn},
    {"polygon", Support::Drawn},
    {"schema", Support::Drawn},
    {"summary.mode", Support::Drawn},
    {"summary.range", Support::Drawn},
    {"summary.sd", Support::Drawn},
    {"summary.variance", Support::Drawn},
    {"base.coordinate", Support::Drawn},
    {"base.aesthetic", Support::Drawn},
    {"acrosspanels", Support::Drawn},
    {"bin.rect", Support::Drawn},
    {"bincount", Support::Drawn},
    {"binwidth", Support::Drawn},
    {"binstart", Support::Drawn},
    {"bin.quantile.letter", Support::Drawn},
    {"density.normal", Support::Drawn},
    {"region.confi.mean", Support::Drawn},
    {"region.confi.count", Support::Drawn},
    {"region.confi.percent.count", Support::Drawn},
    {"region.spread.sd", Support::Drawn},
    {"region.spread.se", Support::Drawn},
    {"region.spread.range", Support::Drawn},
    {"smooth.linear", Support::Drawn},
    {"alpha", Support::Drawn},
    {"multiple", Support::Drawn},
    {"csvsource", Support::Drawn},
    {"file", Support::Drawn},
    {"iter", Support::Drawn},
    {"eval", Support::Drawn},
    {"index", Support::Drawn},
    {"collapse", Support::Drawn},
    {"category", Support::Drawn},
    {"minimumpercent", Support::Drawn},
    {"sumvariable", Support::Drawn},
    {"othervalue", Support::Drawn},
    {"wrap", Support::Drawn},
    {"color.saturation", Support::Drawn},
    {"color.brightness", Support::Drawn},
    {"pow", Support::Drawn},
    {"exponent", Support::Drawn},
    {"time", Support::Drawn},
    {"point.dodge.symmetric", Support::Drawn},
    {"point.jitter", Support::Drawn},
    {"point.stack", Support::Drawn},
    {"bin.dot", Support::Drawn},
    {"smooth.quadratic", Support::Drawn},
    {"smooth.cubic", Support::Drawn},
    {"smooth.loess", Support::Drawn},
    {"smooth.spline", Support::Drawn},
    {"smooth.step.right", Support::Drawn},
    {"smooth.step.left", Support::Drawn},
    {"smooth.step.center", Support::Drawn},
    {"span", Support::Drawn},
    {"fixedwindow", Support::Drawn},
    {"link.hull", Support::Drawn},
    {"link.join", Support::Drawn},
    {"link.mst", Support::Drawn},
    {"link.sequence", Support::Drawn},
    {"summary.count.cumulative", Support::Drawn},
    {"summary.percent.cumulative", Support::Drawn},
    {"bin.hex", Support::Drawn},
    {"sort.statistic", Support::Drawn},
    {"label.angle", Support::Drawn},
    {"mirror", Support::Drawn},
    {"sameratio", Support::Drawn},
    {"area.difference", Support::Drawn},
    {"texture.pattern.interior", Support::Drawn},
};

FunctionDef const* lookup(std::string const& key) {
    for (auto const& f : kFunctions)
        if (key == f.name)
            return &f;
    if (key.rfind("density.kernel.", 0) == 0) {
        static constexpr FunctionDef kernel{"density.kernel", Support::Drawn};
        static constexpr FunctionDef unknown{"density.kernel", Support::NotYet};
        for (char const* k : {"epanechnikov", "normal", "gaussian", "uniform", "triangular",
                              "biweight", "triweight", "cosine"})
            if (key.substr(15) == k)
                return &kernel;
        return &unknown;
    }
    return nullptr;
}

void walkCalls(gpl::Node const& node, std::vector<gpl::Diagnostic>& out,
               std::set<std::string>& seen) {
    if (node.kind == gpl::Node::Kind::Call) {
        auto const* def = lookup(node.key());
        std::string tag = node.key() + "@" + std::to_string(node.line);
        if (seen.insert(tag).second) {
            if (!def)
                out.push_back({gpl::Diagnostic::Level::Warning, node.line, node.column,
                               fmt::format("unknown function '{}' ignored", node.name)});
            else if (def->support == Support::NotYet)
                out.push_back({gpl::Diagnostic::Level::Warning, node.line, node.column,
                               fmt::format("function '{}' is not supported yet", node.name)});
        }
    }
    for (auto const& a : node.args) walkCalls(a, out, seen);
}

bool isConstantName(std::string const& name) {
    return name.find('.') != std::string::npos;
}

// Variables used in element positions and aesthetics.
void collectNames(gpl::Node const& node, std::vector<gpl::Node const*>& out) {
    if (node.kind == gpl::Node::Kind::Name && !isConstantName(node.name))
        out.push_back(&node);
    if (node.kind == gpl::Node::Kind::Call && node.key() == "label")
        return;  // texts only
    for (auto const& a : node.args) collectNames(a, out);
}

std::string stringArg(gpl::Node const* call) {
    if (!call)
        return {};
    std::string out;
    for (auto const& a : call->args)
        if (a.kind == gpl::Node::Kind::String)
            out += a.value;
    return out;
}

// Published jobs use a column of their one data source without a DATA statement for it. With a
// single userSource the meaning is plain: declare the name from the column of that name. Whether
// the rows have such a column is known only when they arrive; a missing one is reported then.
bool declareFromOnlySource(ChartModel& model, gpl::Node const& use) {
    SourceRecord const* only = nullptr;
    for (auto const& s : model.sources) {
        if (s.kind != "userSource" || only)
            return false;
        only = &s;
    }
    if (!only)
        return false;
    ChartVariableRecord v;
    v.name = use.name;
    v.column = use.name;
    v.source = only->name;
    model.variables.push_back(std::move(v));
    model.program.diagnostics.push_back(
        {gpl::Diagnostic::Level::Warning, use.line, use.column,
         fmt::format("variable '{}' is used but never declared; it is read from the column '{}' "
                     "of source '{}'",
                     use.name, use.name, only->name)});
    return true;
}

}  // namespace

std::vector<gpl::Diagnostic> checkFunctions(gpl::Program const& program) {
    std::vector<gpl::Diagnostic> out;
    std::set<std::string> seen;
    for (auto const& st : program.statements) walkCalls(st.body, out, seen);
    return out;
}

ChartVariableRecord* ChartModel::findVariable(std::string const& name, unsigned int instance) {
    unsigned int k = 0;
    for (auto& v : variables)
        if (v.column == name || (v.column.empty() && v.name == name)) {
            if (k == instance)
                return &v;
            ++k;
        }
    return nullptr;
}

bool ChartModel::hasSubtitleInGpl() const {
    for (auto const& st : program.statements)
        if (st.keyword == "GUIDE" && st.body.key() == "text.subtitle")
            return true;
    return false;
}

void buildFromGpl(ChartModel& model, std::string const& gpl) {
    model.gpl = gpl;
    model.program = gpl::parse(gpl);
    auto warnings = checkFunctions(model.program);
    auto options = checkOptions(model.program);
    warnings.insert(warnings.end(), options.begin(), options.end());
    model.program.diagnostics.insert(model.program.diagnostics.end(), warnings.begin(),
                                     warnings.end());
    auto& diags = model.program.diagnostics;
    auto fail = [&](int line, int column, std::string text) {
        diags.push_back({gpl::Diagnostic::Level::Error, line, column, std::move(text)});
    };
    std::set<std::string> declared;
    for (auto const& st : model.program.statements) {
        auto const& body = st.body;
        if (st.keyword == "SOURCE") {
            SourceRecord s;
            s.name = st.target;
            s.kind = body.key() == "csvsource"   ? "csvSource"
                     : body.key() == "mapsource" ? "mapSource"
                                                 : "userSource";
            s.id = stringArg(body.find(s.kind == "csvSource" ? "file" : "id"));
            s.weighted = body.find("weight") != nullptr;
            if (body.kind != gpl::Node::Kind::Call ||
                (body.key() != "usersource" && body.key() != "csvsource" &&
                 body.key() != "mapsource"))
                fail(body.line, body.column,
                     fmt::format("expected userSource(...), csvSource(...) or mapSource(...) for source '{}'",
                                 st.target));
            else
                model.sources.push_back(s);
        } else if (st.keyword == "DATA" || st.keyword == "TRANS") {
            ChartVariableRecord v;
            v.name = st.target;
            if (st.keyword == "DATA" && body.key() == "col") {
                auto const* src = body.find("source");
                std::string source = src && !src->args.empty() ? src->args[0].name : std::string();
                bool known = false;
                for (auto const& s : model.sources) known |= s.name == source;
                if (!known) {
                    fail(src ? src->line : body.line, src ? src->column : body.column,
                         source.empty()
                             ? fmt::format("col for '{}' names no source(...)", st.target)
                             : fmt::format("source '{}' does not exist", source));
                    continue;
                }
                v.source = source;
                v.column = stringArg(body.find("name"));
                if (v.column.empty())
                    v.column = st.target;
                v.categorical = body.find("unit.category") != nullptr;
                v.time = body.find("unit.time") != nullptr;
                if (auto const* n = body.find("notin"))
                    for (auto const& a : n->args)
                        v.notIn.push_back(a.kind == gpl::Node::Kind::String
                                              ? a.value
                                              : fmt::format("{}", a.number));
            }
            declared.insert(st.target);
            model.variables.push_back(std::move(v));
        }
    }
    for (auto const& st : model.program.statements) {
        if (st.keyword != "ELEMENT" && !(st.keyword == "GUIDE" && st.body.key() == "form.line"))
            continue;
        std::vector<gpl::Node const*> names;
        for (auto const& a : st.body.args) collectNames(a, names);
        for (auto const* n : names) {
            if (declared.count(n->name))
                continue;
            if (declareFromOnlySource(model, *n)) {
                declared.insert(n->name);
                continue;
            }
            fail(n->line, n->column,
                 fmt::format("variable '{}' is used but never declared", n->name));
        }
    }
    model.ok = !model.program.hasErrors();
    model.error = model.ok ? std::string() : model.program.describe();
}

}  // namespace host::chart
