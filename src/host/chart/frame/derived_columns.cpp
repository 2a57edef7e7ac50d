// The columns a chart makes itself: TRANS results, iter sequences, and csvSource rows.

#include <filesystem>
#include <map>

#include <fmt/format.h>

#include "host/chart/frame/csv_source.h"
#include "host/chart/frame/frame.h"
#include "host/chart/frame/trans_statements.h"
#include "host/chart/spec/chart_spec.h"
#include "platform/var_data_processor.h"

namespace host::chart {

namespace {

using transform::ValueColumn;

gpl::Statement const* statementOf(ChartModel const& model, std::string const& name) {
    for (auto const& st : model.program.statements)
        if ((st.keyword == "TRANS" || st.keyword == "DATA") && st.target == name)
            return &st;
    return nullptr;
}

ValueColumn toValues(Column const& c) {
    ValueColumn v;
    v.missing.assign(c.missing.begin(), c.missing.end());
    if (c.categorical && c.hasText) {
        v.text = true;
        v.texts.resize(c.size());
        for (std::size_t r = 0; r < c.size(); ++r) v.texts[r] = c.key(r);
    } else {
        v.numbers = c.numbers;
    }
    return v;
}

Column fromValues(ValueColumn const& v, ChartVariableRecord const& var) {
    Column c;
    c.var = &var;
    std::size_t n = v.size();
    c.missing.assign(v.missing.begin(), v.missing.end());
    c.numbers.assign(n, kSysmis);
    c.categorical = var.categorical || v.text;
    c.hasText = v.text;
    std::map<std::string, std::int32_t> index;
    if (c.categorical)
        c.codes.assign(n, -1);
    for (std::size_t r = 0; r < n; ++r) {
        if (c.missing[r])
            continue;
        if (!v.text)
            c.numbers[r] = v.numbers[r];
        if (!c.categorical)
            continue;
        std::string key = v.text ? v.texts[r] : numberKey(v.numbers[r]);
        auto [it, fresh] = index.try_emplace(key, static_cast<std::int32_t>(c.values.size()));
        if (fresh)
            c.values.push_back(key);
        c.codes[r] = it->second;
    }
    return c;
}

}  // namespace

struct DataView::Derived {
    bool evaluated = false;
    std::map<std::string, ValueColumn> columns;
    std::map<std::string, std::string> errors;  // by variable: why it has no column
    std::unique_ptr<VarDataProcessor> csv;
    std::map<std::string, std::string> csvErrors;  // by source
};

bool isComputedVariable(ChartModel const& model, ChartVariableRecord const& var) {
    if (!var.source.empty() || !var.declared)
        return false;
    auto const* st = statementOf(model, var.name);
    return st && (st->keyword == "TRANS" || st->body.key() == "iter");
}

DataView::Derived& DataView::derived() const {
    if (!derived_)
        derived_ = std::make_shared<Derived>();
    return *derived_;
}

VarDataProcessor const* DataView::store(std::string const& gplSource, std::string& error) const {
    SourceRecord const* record = nullptr;
    for (auto const& s : model_.sources)
        if (s.name == gplSource)
            record = &s;
    std::string source = vdpSource(gplSource);
    if (data_ && data_->HasSource(source))
        return data_;
    if (!record || record->kind != "csvSource") {
        error = fmt::format("no rows were supplied for source '{}'", gplSource);
        return nullptr;
    }
    Derived& d = derived();
    if (!d.csv)
        d.csv = std::make_unique<VarDataProcessor>();
    if (!d.csv->HasSource(source) && !d.csvErrors.count(source)) {
        // The file as named, or one of the command's CSV files of the same name.
        std::string path = record->id;
        namespace fs = std::filesystem;
        std::error_code ec;
        if (!fs::exists(path, ec))
            for (auto const& f : model_.csvFiles)
                if (fs::path(f).filename() == fs::path(path).filename())
                    path = f;
        std::vector<std::string> warnings;
        std::string why;
        if (!readCsvSource(path, source, *d.csv, why, warnings))
            d.csvErrors[source] = why;
    }
    if (auto it = d.csvErrors.find(source); it != d.csvErrors.end()) {
        error = fmt::format("csvSource '{}': {}", gplSource, it->second);
        return nullptr;
    }
    return d.csv.get();
}

std::optional<Column> DataView::derivedColumn(ChartVariableRecord const& var,
                                              std::string& error) const {
    Derived& d = derived();
    if (!d.evaluated) {
        d.evaluated = true;
        std::vector<gpl::Diagnostic> diags;
        // iter sequences first: TRANS may read them.
        for (auto const& st : model_.program.statements)
            if (st.keyword == "DATA" && st.body.key() == "iter") {
                std::vector<double> seq;
                gpl::Diagnostic bad;
                if (transform::evaluateIter(st.body, seq, bad))
                    d.columns[st.target] = ValueColumn::numeric(std::move(seq));
                else
                    d.errors[st.target] = fmt::format("line {}: {}", bad.line, bad.text);
            }
        std::map<std::string, ValueColumn> read;  // DATA columns the statements use
        std::size_t rows = 0;
        bool sized = false;
        auto lookup = [&](std::string const& name) -> ValueColumn const* {
            if (auto it = d.columns.find(name); it != d.columns.end())
                return &it->second;
            if (auto it = read.find(name); it != read.end())
                return &it->second;
            for (auto const& v : model_.variables)
                if (v.name == name && !isComputedVariable(model_, v)) {
                    std::string ignored;
                    if (auto c = column(name, ignored))
                        return &(read[name] = toValues(*c));
                }
            return nullptr;
        };
        // The statements run over the rows of the first variable they read (an iter sequence
        // or a source), or the first source's rows when they read none.
        for (auto const& st : model_.program.statements) {
            if (st.keyword != "TRANS" || sized)
                continue;
            std::vector<std::string> names;
            if (st.body.key() == "eval" && !st.body.args.empty())
                names = transform::parseExpression(st.body.args[0].value).names;
            for (auto const& a : st.body.args)
                if (!a.args.empty() && a.args[0].kind == gpl::Node::Kind::Name)
                    names.push_back(a.args[0].name);
            for (auto const& n : names)
                if (auto const* c = lookup(n); c && !sized) {
                    rows = c->size();
                    sized = true;
                }
        }
        if (!sized && !model_.sources.empty()) {
            std::string ignored;
            if (auto const* s = store(model_.sources.front().name, ignored))
                rows = s->GetRowCount(vdpSource(model_.sources.front().name));
        }
        transform::evaluateTransStatements(model_.program, lookup, rows, d.columns, diags);
        for (auto const& diag : diags)
            for (auto const& st : model_.program.statements)
                if (st.keyword == "TRANS" && diag.text.rfind("TRANS " + st.target + ":", 0) == 0)
                    d.errors[st.target] =
                        fmt::format("line {}, column {}: {}", diag.line, diag.column, diag.text);
    }
    if (auto it = d.columns.find(var.name); it != d.columns.end())
        return fromValues(it->second, var);
    auto it = d.errors.find(var.name);
    error = it != d.errors.end() ? it->second
                                 : fmt::format("variable '{}' could not be computed", var.name);
    return std::nullopt;
}

}  // namespace host::chart
