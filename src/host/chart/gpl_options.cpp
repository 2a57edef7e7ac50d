// The numbers a GPL program gives as options, checked where the program is read: a value no
// chart can use is an error of the chart, one the engine replaces is a warning saying so. Scale
// options (min above max, a log base) are checked where the scale is read (spec/chart_spec.cpp),
// which knows what it does instead.
#include <cmath>
#include <map>
#include <string>

#include <fmt/format.h>

#include "host/chart/chart_model.h"

namespace host::chart {

namespace {

using gpl::Diagnostic;
using gpl::Node;

// More bins than a page has pixels across show nothing more.
constexpr double kMaxBins = 10000;

std::string shown(Node const& option) {
    if (option.args.empty() || option.args[0].kind != Node::Kind::Number)
        return option.name + "(...)";
    return fmt::format("{}({})", option.name, option.args[0].number);
}

Node* numberArgument(Node& option) {
    if (option.args.empty() || option.args[0].kind != Node::Kind::Number)
        return nullptr;
    return &option.args[0];
}

void checkCall(Node& call, std::vector<Diagnostic>& out) {
    auto error = [&](Node const& at, std::string text) {
        out.push_back({Diagnostic::Level::Error, at.line, at.column, std::move(text)});
    };
    auto warn = [&](Node const& at, std::string text) {
        out.push_back({Diagnostic::Level::Warning, at.line, at.column, std::move(text)});
    };
    std::string const key = call.key();
    Node* number = numberArgument(call);
    if (!number)
        return;
    double const value = number->number;
    if (key == "bincount" || key == "binwidth") {
        if (!(value > 0)) {
            error(call, "binCount and binWidth must be positive: " + shown(call));
        } else if (key == "bincount" && value > kMaxBins) {
            warn(call, fmt::format("{} is too large: at most {} bins are drawn", shown(call),
                                   kMaxBins));
            number->number = kMaxBins;
        }
    } else if (key == "alpha") {
        if (!(value > 0) || value == 1 || !(value < 100)) {
            error(call, shown(call) +
                            ": the confidence level must be above 0 and below 1 (or a percentage "
                            "below 100)");
        } else if (value > 1 && value < 50) {
            warn(call, fmt::format("{} is read as a confidence level of {}%; alpha(0.95) is 95%",
                                   shown(call), value));
        }
    }
}

void walk(Node& node, std::vector<Diagnostic>& out) {
    if (node.kind == Node::Kind::Call)
        checkCall(node, out);
    for (auto& a : node.args) walk(a, out);
}

}  // namespace

std::vector<gpl::Diagnostic> checkOptions(gpl::Program& program) {
    std::vector<Diagnostic> out;
    std::map<std::string, int> declared;
    for (auto& st : program.statements) {
        walk(st.body, out);
        if ((st.keyword == "DATA" || st.keyword == "TRANS") && !st.target.empty()) {
            auto const [at, first] = declared.emplace(st.target, st.line);
            if (!first)
                out.push_back({Diagnostic::Level::Error, st.line, 1,
                               fmt::format("'{}' is declared again; it was declared at line {}",
                                           st.target, at->second)});
        }
    }
    return out;
}

}  // namespace host::chart
