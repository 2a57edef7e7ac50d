#include "host/chart/frame/trans_statements.h"

#include <cmath>
#include <cstdio>

#include <fmt/format.h>

#include "host/chart/frame/transforms.h"

namespace host::chart::transform {

namespace {

using gpl::Diagnostic;
using gpl::Node;

double numberArg(Node const* call, double fallback) {
    if (call && !call->args.empty() && call->args[0].kind == Node::Kind::Number)
        return call->args[0].number;
    return fallback;
}

std::string textArg(Node const* call, std::string fallback) {
    if (call && !call->args.empty() && call->args[0].kind == Node::Kind::String)
        return call->args[0].value;
    return fallback;
}

std::string nameArg(Node const* call) {
    if (call && !call->args.empty() && call->args[0].kind == Node::Kind::Name)
        return call->args[0].name;
    return {};
}

// A value as the text of a category: numbers in their shortest form.
std::string keyOf(ValueColumn const& c, std::size_t i) {
    return c.text ? c.texts[i] : fmt::format("{}", c.numbers[i]);
}

bool collapseStatement(Node const& body, ColumnLookup const& find, std::size_t rows,
                       ValueColumn& out, std::string& error) {
    std::string name = nameArg(body.find("category"));
    ValueColumn const* category = name.empty() ? nullptr : find(name);
    if (!category) {
        error = name.empty() ? "collapse needs category(variable)"
                             : fmt::format("'{}' is not a variable", name);
        return false;
    }
    std::vector<double> sums;
    std::string sumName = nameArg(body.find("sumvariable"));
    if (!sumName.empty()) {
        ValueColumn const* s = find(sumName);
        if (!s || s->text) {
            error = fmt::format("sumVariable '{}' is not a numeric variable", sumName);
            return false;
        }
        sums.resize(rows);
        for (std::size_t i = 0; i < rows; ++i) sums[i] = s->missing[i] ? NAN : s->numbers[i];
    }
    std::vector<std::string> keys(rows);
    for (std::size_t i = 0; i < rows; ++i)
        if (!category->missing[i])
            keys[i] = keyOf(*category, i);
    CollapseOptions options;
    options.minimumPercent = numberArg(body.find("minimumpercent"), options.minimumPercent);
    options.otherValue = textArg(body.find("othervalue"), options.otherValue);
    out = ValueColumn{};
    out.text = true;
    out.missing = category->missing;
    out.texts = collapse(keys, category->missing, sums.empty() ? nullptr : &sums, options);
    return true;
}

}  // namespace

void evaluateTransStatements(gpl::Program const& program, ColumnLookup const& data,
                             std::size_t rows, std::map<std::string, ValueColumn>& out,
                             std::vector<Diagnostic>& diagnostics) {
    ColumnLookup find = [&](std::string const& name) -> ValueColumn const* {
        auto it = out.find(name);
        return it != out.end() ? &it->second : data(name);
    };
    for (auto const& st : program.statements) {
        if (st.keyword != "TRANS")
            continue;
        auto const& body = st.body;
        std::string key = body.key(), error;
        ValueColumn result;
        bool ok = false;
        if (key == "eval" && body.args.size() == 1 && body.args[0].kind == Node::Kind::String) {
            auto const& text = body.args[0];
            auto expr = parseExpression(text.value, text.line, text.column);
            ok = evaluate(expr, find, rows, result, error);
            if (!ok && expr.root == nullptr)
                error = expr.error;
        } else if (key == "index") {
            result = ValueColumn::numeric(rowIndex(rows));
            ok = true;
        } else if (key == "collapse") {
            ok = collapseStatement(body, find, rows, result, error);
        } else {
            error = fmt::format("'{}' is no transformation (eval, index or collapse)", body.name);
        }
        if (ok) {
            out[st.target] = std::move(result);
            continue;
        }
        // Expression errors carry their own position; the others are placed at the statement.
        int line = st.line, column = body.column;
        if (error.rfind("line ", 0) == 0) {
            int l = 0, c = 0;
            if (std::sscanf(error.c_str(), "line %d, column %d", &l, &c) == 2) {
                line = l;
                column = c;
                error = error.substr(error.find(": ") + 2);
            }
        }
        diagnostics.push_back({Diagnostic::Level::Error, line, column,
                               fmt::format("TRANS {}: {}", st.target, error)});
    }
}

bool evaluateIter(Node const& call, std::vector<double>& out, Diagnostic& error) {
    double bounds[3] = {0, 0, 1};
    std::size_t given = 0;
    for (auto const& a : call.args)
        if (a.kind == Node::Kind::Number && given < 3)
            bounds[given++] = a.number;
    std::string text = "iter needs numbers: iter(from, to, step)";
    if (given >= 2 && given == call.args.size() &&
        iterate(bounds[0], bounds[1], bounds[2], out, text))
        return true;
    error = {Diagnostic::Level::Error, call.line, call.column, text};
    return false;
}

}  // namespace host::chart::transform
