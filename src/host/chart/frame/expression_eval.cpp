// Evaluates a parsed expression a column at a time.

#include <cmath>

#include <fmt/format.h>

#include "host/chart/frame/expression.h"
#include "host/chart/frame/expression_node.h"

namespace host::chart::transform {

namespace {

class Evaluator {
public:
    Evaluator(ColumnLookup const& lookup, std::size_t rows) : lookup_(lookup), n_(rows) {}

    bool run(ExprNode const& node, ValueColumn& out) {
        switch (node.op) {
            case Op::Number:
                out = constant(node.number);
                return true;
            case Op::Text:
                out = ValueColumn{};
                out.text = true;
                out.texts.assign(n_, node.text);
                out.missing.assign(n_, 0);
                return true;
            case Op::Name:
                return name(node, out);
            case Op::Negate:
            case Op::Not:
                return unary(node, out);
            case Op::Call:
                return call(node, out);
            case Op::Cond:
                return conditional(node, out);
            default:
                return binary(node, out);
        }
    }

    std::string error;

private:
    ValueColumn constant(double v) const {
        ValueColumn c;
        c.numbers.assign(n_, v);
        c.missing.assign(n_, 0);
        return c;
    }

    bool fail(ExprNode const& at, std::string text) {
        error = fmt::format("line {}, column {}: {}", at.line, at.column, text);
        return false;
    }

    bool needNumber(ExprNode const& at, ValueColumn const& c, char const* what) {
        return !c.text || fail(at, fmt::format("{} needs a number, not a text", what));
    }

    // A result that is not a finite number (a square root of -1, a division by 0) is missing.
    static void settle(ValueColumn& c) {
        for (std::size_t i = 0; i < c.size(); ++i)
            if (!c.missing[i] && !std::isfinite(c.numbers[i]))
                c.missing[i] = 1;
    }

    bool name(ExprNode const& node, ValueColumn& out) {
        ValueColumn const* c = lookup_(node.text);
        if (!c)
            return fail(node, fmt::format("'{}' is not a variable", node.text));
        if (c->size() != n_)
            return fail(node, fmt::format("'{}' has {} values where {} are needed", node.text,
                                          c->size(), n_));
        out = *c;
        return true;
    }

    bool unary(ExprNode const& node, ValueColumn& out) {
        if (!run(node.args[0], out))
            return false;
        if (!needNumber(node, out, node.op == Op::Negate ? "'-'" : "'not'"))
            return false;
        for (std::size_t i = 0; i < n_; ++i)
            out.numbers[i] = node.op == Op::Negate ? -out.numbers[i] : out.numbers[i] == 0;
        return true;
    }

    bool binary(ExprNode const& node, ValueColumn& out) {
        ValueColumn a, b;
        if (!run(node.args[0], a) || !run(node.args[1], b))
            return false;
        Op op = node.op;
        if (a.text || b.text) {
            if (op == Op::Add)
                return join(a, b, out);
            if (op >= Op::Eq && op <= Op::Ge) {
                if (!a.text || !b.text)
                    return fail(node, "a text is compared with a number");
                return compareTexts(op, a, b, out);
            }
            return fail(node, "arithmetic needs numbers, not texts");
        }
        out = constant(0);
        for (std::size_t i = 0; i < n_; ++i) {
            double x = a.numbers[i], y = b.numbers[i];
            bool ma = a.missing[i], mb = b.missing[i];
            // Logic decides without a missing side where the other side settles it.
            if (op == Op::And && ((!ma && x == 0) || (!mb && y == 0))) {
                out.numbers[i] = 0;
                continue;
            }
            if (op == Op::Or && ((!ma && x != 0) || (!mb && y != 0))) {
                out.numbers[i] = 1;
                continue;
            }
            if (ma || mb) {
                out.missing[i] = 1;
                continue;
            }
            out.numbers[i] = arithmetic(op, x, y);
        }
        settle(out);
        return true;
    }

    static double arithmetic(Op op, double x, double y) {
        switch (op) {
            case Op::Add:
                return x + y;
            case Op::Sub:
                return x - y;
            case Op::Mul:
                return x * y;
            case Op::Div:
                return y == 0 ? NAN : x / y;
            case Op::Pow:
                return std::pow(x, y);
            case Op::Eq:
                return x == y;
            case Op::Ne:
                return x != y;
            case Op::Lt:
                return x < y;
            case Op::Le:
                return x <= y;
            case Op::Gt:
                return x > y;
            case Op::Ge:
                return x >= y;
            case Op::And:
                return x != 0 && y != 0;
            case Op::Or:
                return x != 0 || y != 0;
            default:
                return NAN;
        }
    }

    static std::string asText(ValueColumn const& c, std::size_t i) {
        return c.text ? c.texts[i] : fmt::format("{}", c.numbers[i]);
    }

    bool join(ValueColumn const& a, ValueColumn const& b, ValueColumn& out) const {
        out = ValueColumn{};
        out.text = true;
        out.texts.resize(n_);
        out.missing.assign(n_, 0);
        for (std::size_t i = 0; i < n_; ++i) {
            if (a.missing[i] || b.missing[i])
                out.missing[i] = 1;
            else
                out.texts[i] = asText(a, i) + asText(b, i);
        }
        return true;
    }

    bool compareTexts(Op op, ValueColumn const& a, ValueColumn const& b, ValueColumn& out) const {
        out = constant(0);
        for (std::size_t i = 0; i < n_; ++i) {
            if (a.missing[i] || b.missing[i]) {
                out.missing[i] = 1;
                continue;
            }
            int c = a.texts[i].compare(b.texts[i]);
            out.numbers[i] = op == Op::Eq   ? c == 0
                             : op == Op::Ne ? c != 0
                             : op == Op::Lt ? c < 0
                             : op == Op::Le ? c <= 0
                             : op == Op::Gt ? c > 0
                                            : c >= 0;
        }
        return true;
    }

    bool conditional(ExprNode const& node, ValueColumn& out) {
        ValueColumn c, a, b;
        if (!run(node.args[0], c) || !run(node.args[1], a) || !run(node.args[2], b))
            return false;
        return choose(node, c, a, b, out);
    }

    bool choose(ExprNode const& node, ValueColumn const& c, ValueColumn const& a,
                ValueColumn const& b, ValueColumn& out) {
        if (!needNumber(node, c, "the condition"))
            return false;
        if (a.text != b.text)
            return fail(node, "the two branches of a conditional give a text and a number");
        out = a;
        for (std::size_t i = 0; i < n_; ++i) {
            if (c.missing[i]) {
                out.missing[i] = 1;
            } else if (c.numbers[i] == 0) {
                out.missing[i] = b.missing[i];
                if (b.text)
                    out.texts[i] = b.texts[i];
                else
                    out.numbers[i] = b.numbers[i];
            }
        }
        return true;
    }

    bool call(ExprNode const& node, ValueColumn& out) {
        std::vector<ValueColumn> args(node.args.size());
        for (std::size_t k = 0; k < args.size(); ++k)
            if (!run(node.args[k], args[k]))
                return false;
        std::string const& f = node.text;
        if (f == "if")
            return choose(node, args[0], args[1], args[2], out);
        for (auto const& a : args)
            if (!needNumber(node, a, f.c_str()))
                return false;
        out = std::move(args[0]);
        if (f == "min" || f == "max" || f == "mod") {
            for (std::size_t k = 1; k < args.size(); ++k)
                for (std::size_t i = 0; i < n_; ++i) {
                    if (out.missing[i] || args[k].missing[i]) {
                        out.missing[i] = 1;
                        continue;
                    }
                    double& x = out.numbers[i];
                    double y = args[k].numbers[i];
                    x = f == "min"   ? std::min(x, y)
                        : f == "max" ? std::max(x, y)
                        : y == 0     ? NAN
                                     : x - y * std::floor(x / y);
                }
        } else {
            double (*fn)(double) = f == "abs"    ? [](double x) { return std::fabs(x); }
                                   : f == "sqrt" ? [](double x) { return std::sqrt(x); }
                                   : f == "ln" ? [](double x) { return x > 0 ? std::log(x) : NAN; }
                                   : f == "log10"
                                       ? [](double x) { return x > 0 ? std::log10(x) : NAN; }
                                   : f == "exp"   ? [](double x) { return std::exp(x); }
                                   : f == "round" ? [](double x) { return std::round(x); }
                                   : f == "floor" ? [](double x) { return std::floor(x); }
                                   : f == "ceil"  ? [](double x) { return std::ceil(x); }
                                                  : [](double x) { return std::trunc(x); };
            for (std::size_t i = 0; i < n_; ++i)
                if (!out.missing[i])
                    out.numbers[i] = fn(out.numbers[i]);
        }
        settle(out);
        return true;
    }

    ColumnLookup const& lookup_;
    std::size_t n_;
};

}  // namespace

bool evaluate(ParsedExpression const& expr, ColumnLookup const& lookup, std::size_t rows,
              ValueColumn& out, std::string& error) {
    if (!expr.root) {
        error = expr.error.empty() ? "the expression was not parsed" : expr.error;
        return false;
    }
    Evaluator ev(lookup, rows);
    if (!ev.run(*expr.root, out)) {
        error = ev.error;
        return false;
    }
    return true;
}

}  // namespace host::chart::transform
