#include "host/chart/frame/expression.h"
#include "host/chart/frame/expression_node.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>

#include <fmt/format.h>

namespace host::chart::transform {

namespace {

constexpr int kMaxDepth = 200;

struct Tok {
    enum Kind { Number, Text, Name, Symbol, End } kind = End;
    std::string text;
    double number = 0;
    int line = 0, column = 0;
};

bool nameStart(unsigned char c) {
    return std::isalpha(c) || c == '_' || c == '$' || c == '#' || c == '@' || c >= 0x80;
}
bool nameChar(unsigned char c) {
    return nameStart(c) || std::isdigit(c) || c == '.';
}

std::string lowerCase(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// Splits the text into tokens; returns an error text or empty.
std::string tokenize(std::string_view s, int line, int column, std::vector<Tok>& out) {
    std::size_t i = 0;
    auto step = [&]() {
        if (s[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
        ++i;
    };
    while (true) {
        while (i < s.size() && std::isspace(static_cast<unsigned char>(s[i]))) step();
        Tok t;
        t.line = line;
        t.column = column;
        if (i >= s.size()) {
            out.push_back(t);
            return {};
        }
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (std::isdigit(c) ||
            (c == '.' && i + 1 < s.size() && std::isdigit(static_cast<unsigned char>(s[i + 1])))) {
            std::size_t start = i;
            while (i < s.size() && (std::isdigit(static_cast<unsigned char>(s[i])) || s[i] == '.'))
                step();
            if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
                std::size_t k = i + 1;
                if (k < s.size() && (s[k] == '+' || s[k] == '-'))
                    ++k;
                if (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) {
                    while (i < k) step();
                    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) step();
                }
            }
            std::string digits(s.substr(start, i - start));
            char* end = nullptr;
            t.number = std::strtod(digits.c_str(), &end);
            if (*end != '\0')
                return fmt::format("line {}, column {}: '{}' is not a number", t.line, t.column,
                                   digits);
            t.kind = Tok::Number;
        } else if (c == '"' || c == '\'') {
            char quote = static_cast<char>(c);
            step();
            for (;;) {
                if (i >= s.size())
                    return fmt::format("line {}, column {}: text not closed", t.line, t.column);
                if (s[i] == '\\' && i + 1 < s.size() && s[i + 1] == quote) {
                    step();
                } else if (s[i] == quote) {
                    step();
                    if (i < s.size() && s[i] == quote) {  // a doubled quote stands for one
                        t.text += quote;
                        step();
                        continue;
                    }
                    break;
                }
                if (s[i] == '\n')
                    t.text += ' ';  // text over a line break keeps it as a blank
                else if (s[i] != '\r')
                    t.text += s[i];
                step();
            }
            t.kind = Tok::Text;
        } else if (nameStart(c)) {
            std::size_t start = i;
            while (i < s.size() && nameChar(static_cast<unsigned char>(s[i]))) step();
            t.kind = Tok::Name;
            t.text = std::string(s.substr(start, i - start));
        } else {
            static constexpr char const* two[] = {"**", "<=", ">=", "<>", "!=", "==", "~="};
            t.kind = Tok::Symbol;
            for (char const* sym : two)
                if (s.substr(i, 2) == sym)
                    t.text = sym;
            if (t.text.empty()) {
                if (std::string_view("+-*/^()=<>,?:!~&|").find(static_cast<char>(c)) ==
                    std::string_view::npos)
                    return fmt::format("line {}, column {}: unexpected character '{}'", t.line,
                                       t.column, static_cast<char>(c));
                t.text = std::string(1, static_cast<char>(c));
            }
            for (std::size_t k = 0; k < t.text.size(); ++k) step();
        }
        out.push_back(std::move(t));
    }
}

struct FunctionDef {
    char const* name;
    int minArgs, maxArgs;
};
constexpr FunctionDef kFunctions[] = {
    {"abs", 1, 1},   {"sqrt", 1, 1},  {"ln", 1, 1},    {"log10", 1, 1}, {"exp", 1, 1},
    {"round", 1, 1}, {"floor", 1, 1}, {"ceil", 1, 1},  {"min", 1, 64},  {"max", 1, 64},
    {"if", 3, 3},    {"mod", 2, 2},   {"trunc", 1, 1},
};

class Parser {
public:
    explicit Parser(std::vector<Tok> tokens) : t_(std::move(tokens)) {}

    std::optional<ExprNode> whole(std::string& error) {
        auto e = expression(0);
        if (e && cur().kind != Tok::End)
            fail(cur(), fmt::format("expected an operator or the end, found {}", show(cur())));
        if (!error_.empty()) {
            error = error_;
            return std::nullopt;
        }
        return e;
    }
    std::vector<std::string> names;

private:
    Tok const& cur() const { return t_[p_]; }
    bool isSym(char const* s) const { return cur().kind == Tok::Symbol && cur().text == s; }
    bool isWord(char const* w) const {
        return cur().kind == Tok::Name && lowerCase(cur().text) == w;
    }
    static std::string show(Tok const& t) {
        switch (t.kind) {
            case Tok::End:
                return "the end";
            case Tok::Text:
                return "a text";
            case Tok::Number:
                return "a number";
            default:
                return "'" + t.text + "'";
        }
    }
    void fail(Tok const& at, std::string text) {
        if (error_.empty())
            error_ = fmt::format("line {}, column {}: {}", at.line, at.column, text);
    }
    static ExprNode node(Op op, Tok const& at) {
        ExprNode n;
        n.op = op;
        n.line = at.line;
        n.column = at.column;
        return n;
    }
    static ExprNode binary(Op op, Tok const& at, ExprNode a, ExprNode b) {
        ExprNode n = node(op, at);
        n.args.push_back(std::move(a));
        n.args.push_back(std::move(b));
        return n;
    }

    std::optional<ExprNode> expression(int depth) {
        if (depth > kMaxDepth) {
            fail(cur(), "expression nested too deeply");
            return std::nullopt;
        }
        auto c = logical(depth, true);
        if (!c || !isSym("?"))
            return c;
        Tok at = cur();
        ++p_;
        auto a = expression(depth + 1);
        if (!a)
            return a;
        if (!isSym(":")) {
            fail(cur(), fmt::format("expected ':' of the conditional, found {}", show(cur())));
            return std::nullopt;
        }
        ++p_;
        auto b = expression(depth + 1);
        if (!b)
            return b;
        ExprNode n = node(Op::Cond, at);
        n.args = {std::move(*c), std::move(*a), std::move(*b)};
        return n;
    }

    // or-level when `orLevel`, else and-level.
    std::optional<ExprNode> logical(int depth, bool orLevel) {
        auto left = orLevel ? logical(depth, false) : negation(depth);
        while (left && (orLevel ? (isWord("or") || isSym("|")) : (isWord("and") || isSym("&")))) {
            Tok at = cur();
            ++p_;
            auto right = orLevel ? logical(depth, false) : negation(depth);
            if (!right)
                return right;
            left = binary(orLevel ? Op::Or : Op::And, at, std::move(*left), std::move(*right));
        }
        return left;
    }

    std::optional<ExprNode> negation(int depth) {
        if (isWord("not") || isSym("!") || isSym("~")) {
            if (depth > kMaxDepth) {
                fail(cur(), "expression nested too deeply");
                return std::nullopt;
            }
            Tok at = cur();
            ++p_;
            auto a = negation(depth + 1);
            if (!a)
                return a;
            ExprNode n = node(Op::Not, at);
            n.args.push_back(std::move(*a));
            return n;
        }
        return comparison(depth);
    }

    std::optional<ExprNode> comparison(int depth) {
        auto left = additive(depth);
        if (!left || cur().kind != Tok::Symbol)
            return left;
        static constexpr std::pair<char const*, Op> ops[] = {
            {"=", Op::Eq}, {"==", Op::Eq}, {"!=", Op::Ne}, {"<>", Op::Ne}, {"~=", Op::Ne},
            {"<", Op::Lt}, {"<=", Op::Le}, {">", Op::Gt},  {">=", Op::Ge}};
        for (auto const& [sym, op] : ops)
            if (cur().text == sym) {
                Tok at = cur();
                ++p_;
                auto right = additive(depth);
                if (!right)
                    return right;
                return binary(op, at, std::move(*left), std::move(*right));
            }
        return left;
    }

    std::optional<ExprNode> additive(int depth) {
        auto left = multiplicative(depth);
        while (left && (isSym("+") || isSym("-"))) {
            Tok at = cur();
            ++p_;
            auto right = multiplicative(depth);
            if (!right)
                return right;
            left =
                binary(at.text == "+" ? Op::Add : Op::Sub, at, std::move(*left), std::move(*right));
        }
        return left;
    }

    std::optional<ExprNode> multiplicative(int depth) {
        auto left = unary(depth);
        while (left && (isSym("*") || isSym("/"))) {
            Tok at = cur();
            ++p_;
            auto right = unary(depth);
            if (!right)
                return right;
            left =
                binary(at.text == "*" ? Op::Mul : Op::Div, at, std::move(*left), std::move(*right));
        }
        return left;
    }

    // Unary minus binds looser than a power: -2**2 is -4.
    std::optional<ExprNode> unary(int depth) {
        if (isSym("-") || isSym("+")) {
            if (depth > kMaxDepth) {
                fail(cur(), "expression nested too deeply");
                return std::nullopt;
            }
            Tok at = cur();
            ++p_;
            auto a = unary(depth + 1);
            if (!a || at.text == "+")
                return a;
            ExprNode n = node(Op::Negate, at);
            n.args.push_back(std::move(*a));
            return n;
        }
        return power(depth);
    }

    std::optional<ExprNode> power(int depth) {
        auto base = primary(depth);
        if (!base || !(isSym("**") || isSym("^")))
            return base;
        Tok at = cur();
        ++p_;
        auto exponent = unary(depth + 1);  // right-associative: 2**3**2 is 2**9
        if (!exponent)
            return exponent;
        return binary(Op::Pow, at, std::move(*base), std::move(*exponent));
    }

    std::optional<ExprNode> primary(int depth) {
        Tok const t = cur();
        if (t.kind == Tok::Number || t.kind == Tok::Text) {
            ++p_;
            ExprNode n = node(t.kind == Tok::Number ? Op::Number : Op::Text, t);
            n.number = t.number;
            n.text = t.text;
            return n;
        }
        if (t.kind == Tok::Symbol && t.text == "(") {
            ++p_;
            auto e = expression(depth + 1);
            if (!e)
                return e;
            if (!isSym(")")) {
                fail(cur(), fmt::format("expected ')', found {}", show(cur())));
                return std::nullopt;
            }
            ++p_;
            return e;
        }
        if (t.kind == Tok::Name) {
            ++p_;
            if (!isSym("(")) {
                ExprNode n = node(Op::Name, t);
                n.text = t.text;
                names.push_back(t.text);
                return n;
            }
            return call(t, depth);
        }
        fail(t, fmt::format("expected a number, text, name or '(', found {}", show(t)));
        return std::nullopt;
    }

    std::optional<ExprNode> call(Tok const& name, int depth) {
        ExprNode n = node(Op::Call, name);
        n.text = lowerCase(name.text);
        FunctionDef const* def = nullptr;
        for (auto const& f : kFunctions)
            if (n.text == f.name)
                def = &f;
        if (!def) {
            fail(name, fmt::format("unknown function '{}'", name.text));
            return std::nullopt;
        }
        ++p_;  // (
        if (!isSym(")"))
            for (;;) {
                auto a = expression(depth + 1);
                if (!a)
                    return a;
                n.args.push_back(std::move(*a));
                if (isSym(","))
                    ++p_;
                else
                    break;
            }
        if (!isSym(")")) {
            fail(cur(),
                 fmt::format("expected ',' or ')' in {}(...), found {}", name.text, show(cur())));
            return std::nullopt;
        }
        ++p_;
        int count = static_cast<int>(n.args.size());
        if (count < def->minArgs || count > def->maxArgs) {
            fail(name, def->minArgs == def->maxArgs
                           ? fmt::format("{} takes {} argument{}", name.text, def->minArgs,
                                         def->minArgs == 1 ? "" : "s")
                           : fmt::format("{} takes at least {} argument", name.text, def->minArgs));
            return std::nullopt;
        }
        return n;
    }

    std::vector<Tok> t_;
    std::size_t p_ = 0;
    std::string error_;
};

}  // namespace

ValueColumn ValueColumn::numeric(std::vector<double> values) {
    ValueColumn c;
    c.missing.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) c.missing[i] = std::isnan(values[i]);
    c.numbers = std::move(values);
    return c;
}

ParsedExpression parseExpression(std::string_view text, int line, int column) {
    ParsedExpression out;
    std::vector<Tok> tokens;
    out.error = tokenize(text, line, column, tokens);
    if (!out.error.empty())
        return out;
    if (tokens.size() == 1) {
        out.error = fmt::format("line {}, column {}: the expression is empty", line, column);
        return out;
    }
    Parser parser(std::move(tokens));
    auto root = parser.whole(out.error);
    if (root) {
        out.root = std::make_shared<ExprNode const>(std::move(*root));
        out.names = std::move(parser.names);
    }
    return out;
}

}  // namespace host::chart::transform
