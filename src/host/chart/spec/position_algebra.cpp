#include "host/chart/spec/position_algebra.h"

#include <cmath>

#include <fmt/format.h>

#include "host/chart/spec/chart_spec.h"

namespace host::chart {

using gpl::Node;

namespace {

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

// bin.rect's options; false with the error when one is unusable.
bool readBins(Node const& call, Position& p) {
    p.binned = true;
    double count = numberOption(&call, "bincount", 0);
    p.bin.width = numberOption(&call, "binwidth", 0);
    if (call.find("binstart")) {
        p.bin.hasStart = true;
        p.bin.start = numberOption(&call, "binstart", 0);
    }
    bool countGiven = call.find("bincount") != nullptr,
         widthGiven = call.find("binwidth") != nullptr;
    if ((countGiven && !(count > 0)) || (widthGiven && !(p.bin.width > 0)) ||
        !std::isfinite(p.bin.width)) {
        p.error = fmt::format("line {}: binCount and binWidth must be positive", call.line);
        return false;
    }
    if (count > kMaxBins) {
        p.warning = fmt::format(
            "line {}: binCount({:g}) asks for more bins than a chart can show; at most {:g} "
            "are drawn",
            call.line, count, kMaxBins);
        count = kMaxBins;
    }
    p.bin.count = static_cast<int>(count);
    return true;
}

}  // namespace

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
        if (def->kind == StatKind::Bin && !readBins(*algebra, p))
            return p;
        if (def->kind == StatKind::Hex && p.statistic == "summary.count") {
            // summary.count(bin.hex(x*y)): the hexagons count their cases either way.
            p.statistic = k;
            p.kind = def->kind;
            p.statCall = algebra;
        } else if (p.statistic.empty() && def->kind != StatKind::Bin) {
            p.statistic = k;
            p.kind = def->kind;
            p.statCall = algebra;
        } else if (p.kind == StatKind::Smooth && p.innerStatistic.empty() &&
                   def->kind == StatKind::Summary && k.find("cumulative") == std::string::npos) {
            p.innerStatistic = k;
            p.innerCall = algebra;
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

}  // namespace host::chart
