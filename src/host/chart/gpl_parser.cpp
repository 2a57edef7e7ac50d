#include "host/chart/gpl_syntax.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <optional>

#include <fmt/format.h>

#include "host/syntax/utf8_chars.h"

namespace host::chart::gpl {

namespace {

// Every text the parser reports, in one place.
enum class Msg {
    ExpectedKeyword,
    UnknownKeyword,
    ExpectedName,
    ExpectedEquals,
    ExpectedExpression,
    ExpectedCloseOrComma,
    ExpectedEnd,
    UnclosedString,
    StringClosedAtParen,
    MissingClose,
    SurplusClose,
    SurplusCloseInside,
    JoinedName,
    TooDeep,
    TooLong,
    EmptyStatement,
    EmptyProgram,
    BadCharacter,
};

struct MsgDef {
    Msg id;
    Diagnostic::Level level;
    char const* text;
};

constexpr MsgDef kMessages[] = {
    {Msg::ExpectedKeyword, Diagnostic::Level::Error,
     "expected a statement keyword (SOURCE, DATA, ELEMENT, ...) but found '{}'"},
    {Msg::UnknownKeyword, Diagnostic::Level::Error, "unknown statement '{}'"},
    {Msg::ExpectedName, Diagnostic::Level::Error, "expected a name before '=' in {}, found {}"},
    {Msg::ExpectedEquals, Diagnostic::Level::Error, "expected '=' after '{}'"},
    {Msg::ExpectedExpression, Diagnostic::Level::Error,
     "expected a function, name, string or number, found {}"},
    {Msg::ExpectedCloseOrComma, Diagnostic::Level::Error,
     "expected ',' or ')' in the arguments of {}, found {}"},
    {Msg::ExpectedEnd, Diagnostic::Level::Error, "expected the end of the statement, found {}"},
    {Msg::UnclosedString, Diagnostic::Level::Error, "string not closed"},
    {Msg::StringClosedAtParen, Diagnostic::Level::Warning,
     "string not closed at the end of the line; closed at the next ')'"},
    {Msg::MissingClose, Diagnostic::Level::Warning, "missing ')' for {} added at the end"},
    {Msg::SurplusClose, Diagnostic::Level::Warning, "surplus ')' ignored"},
    {Msg::SurplusCloseInside, Diagnostic::Level::Warning,
     "surplus ')' ignored: what follows it is read as further arguments of '{}'"},
    {Msg::JoinedName, Diagnostic::Level::Warning,
     "the name '{}' goes on at the next line as '{}'; read as one name '{}'"},
    {Msg::TooDeep, Diagnostic::Level::Error, "parentheses nested too deeply (more than {})"},
    {Msg::TooLong, Diagnostic::Level::Error,
     "the expression is too deep: more than {} operators and calls inside one another"},
    {Msg::EmptyStatement, Diagnostic::Level::Error, "{} statement has no body"},
    {Msg::EmptyProgram, Diagnostic::Level::Error, "the GPL text is empty"},
    {Msg::BadCharacter, Diagnostic::Level::Error, "unexpected character '{}'"},
};

constexpr int kMaxDepth = 256;
// A chain a*b*c... is a tree as deep as it is long, and what reads the tree walks it recursively.
constexpr int kMaxHeight = 1024;

constexpr char const* kKeywords[] = {"COMMENT", "PAGE",  "GRAPH", "SOURCE", "DATA",
                                     "TRANS",   "SCALE", "COORD", "GUIDE",  "ELEMENT"};

// A message quotes the program, which may be any bytes: control characters and bytes that are
// no UTF-8 are shown as \xNN, so that a terminal or a report shows what is there.
std::string printable(std::string const& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        auto const c = host::syntax::decodeUtf8(text, i);
        if (!c.valid || c.code < 0x20 || c.code == 0x7F)
            out += fmt::format("\\x{:02X}", static_cast<unsigned char>(text[i]));
        else
            out.append(text, i, static_cast<std::size_t>(c.length));
        i += static_cast<std::size_t>(c.length);
    }
    return out;
}

// A name quoted in a message: a name of thousands of characters (joined over many lines, say)
// would make every message as long as the program.
std::string clipped(std::string const& name) {
    constexpr std::size_t kShown = 60;
    if (name.size() <= kShown)
        return name;
    std::size_t cut = kShown;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
    return name.substr(0, cut) + "...";
}

template <typename... Args>
void report(std::vector<Diagnostic>& out, Msg id, int line, int column, Args const&... args) {
    for (auto const& m : kMessages)
        if (m.id == id) {
            out.push_back(
                {m.level, line, column, printable(fmt::format(fmt::runtime(m.text), args...))});
            return;
        }
}

bool isNameStart(unsigned char c) {
    return std::isalpha(c) || c == '_' || c == '$' || c == '#' || c == '@' || c >= 0x80;
}
bool isNameChar(unsigned char c) {
    return isNameStart(c) || std::isdigit(c) || c == '.';
}

enum class Tok {
    Name,
    String,
    Number,
    LParen,
    RParen,
    Comma,
    Equals,
    Star,
    Slash,
    Plus,
    Minus,
    End,
    Bad
};

struct Token {
    Tok kind = Tok::End;
    std::string text;  // name, string contents, number unit, or the bad character
    double number = 0;
    int line = 0;
    int column = 0;
};

std::string describeToken(Token const& t) {
    switch (t.kind) {
        case Tok::Name:
            return "'" + t.text + "'";
        case Tok::String:
            return "a string";
        case Tok::Number:
            return "a number";
        case Tok::End:
            return "the end of the statement";
        case Tok::LParen:
            return "'('";
        case Tok::RParen:
            return "')'";
        case Tok::Comma:
            return "','";
        case Tok::Equals:
            return "'='";
        case Tok::Star:
            return "'*'";
        case Tok::Slash:
            return "'/'";
        case Tok::Plus:
            return "'+'";
        case Tok::Minus:
            return "'-'";
        case Tok::Bad:
            return "'" + t.text + "'";
    }
    return "?";
}

// Tokens of one statement body, which starts at (line, column) of the program.
class Lexer {
public:
    Lexer(std::string_view text, int line, int column, std::vector<Diagnostic>& diags)
        : s_(text), line_(line), col_(column), diags_(diags) {}

    std::vector<Token> run() {
        std::vector<Token> out;
        for (;;) {
            Token t = next();
            out.push_back(t);
            if (t.kind == Tok::End)
                break;
        }
        return out;
    }

private:
    char peek(std::size_t k = 0) const { return i_ + k < s_.size() ? s_[i_ + k] : '\0'; }
    void advance() {
        if (s_[i_] == '\n') {
            ++line_;
            col_ = 1;
        } else {
            ++col_;
        }
        ++i_;
    }

    Token next() {
        while (i_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[i_]))) advance();
        Token t;
        t.line = line_;
        t.column = col_;
        if (i_ >= s_.size())
            return t;
        unsigned char c = static_cast<unsigned char>(s_[i_]);
        if (c == '"')
            return string(t);
        if (std::isdigit(c) || (c == '.' && std::isdigit(static_cast<unsigned char>(peek(1)))))
            return numberToken(t);
        if (isNameStart(c)) {
            std::size_t start = i_;
            while (i_ < s_.size() && isNameChar(static_cast<unsigned char>(s_[i_]))) advance();
            t.kind = Tok::Name;
            t.text = std::string(s_.substr(start, i_ - start));
            return t;
        }
        advance();
        switch (c) {
            case '(':
                t.kind = Tok::LParen;
                break;
            case ')':
                t.kind = Tok::RParen;
                break;
            case ',':
                t.kind = Tok::Comma;
                break;
            case '=':
                t.kind = Tok::Equals;
                break;
            case '*':
                t.kind = Tok::Star;
                break;
            case '/':
                t.kind = Tok::Slash;
                break;
            case '+':
                t.kind = Tok::Plus;
                break;
            case '-':
                t.kind = Tok::Minus;
                break;
            default:
                t.kind = Tok::Bad;
                t.text = std::string(1, static_cast<char>(c));
        }
        return t;
    }

    Token numberToken(Token t) {
        std::size_t start = i_;
        while (std::isdigit(static_cast<unsigned char>(peek()))) advance();
        if (peek() == '.') {
            advance();
            while (std::isdigit(static_cast<unsigned char>(peek()))) advance();
        }
        if ((peek() == 'e' || peek() == 'E') &&
            (std::isdigit(static_cast<unsigned char>(peek(1))) ||
             ((peek(1) == '-' || peek(1) == '+') &&
              std::isdigit(static_cast<unsigned char>(peek(2)))))) {
            advance();
            advance();
            while (std::isdigit(static_cast<unsigned char>(peek()))) advance();
        }
        t.kind = Tok::Number;
        t.number = std::strtod(std::string(s_.substr(start, i_ - start)).c_str(), nullptr);
        if (peek() == '%') {
            advance();
            t.text = "%";
        } else {
            for (char const* unit : {"px", "pt", "in", "cm"}) {
                if (s_.substr(i_, 2) == unit && !isNameChar(static_cast<unsigned char>(peek(2)))) {
                    advance();
                    advance();
                    t.text = unit;
                    break;
                }
            }
        }
        return t;
    }

    Token string(Token t) {
        advance();  // opening quote
        std::size_t open = i_;
        int openLine = line_, openCol = col_;
        std::string text;
        for (;;) {
            if (i_ >= s_.size()) {
                // Left open: published jobs rely on the string ending at the next ')'.
                std::size_t paren = s_.find(')', open);
                if (paren == std::string_view::npos) {
                    report(diags_, Msg::UnclosedString, t.line, t.column);
                    t.kind = Tok::Bad;
                    t.text = "\"";
                    return t;
                }
                report(diags_, Msg::StringClosedAtParen, t.line, t.column);
                i_ = open;
                line_ = openLine;
                col_ = openCol;
                text.clear();
                while (i_ < paren) {
                    text += s_[i_] == '\n' || s_[i_] == '\r' ? ' ' : s_[i_];
                    advance();
                }
                while (!text.empty() && text.back() == ' ') text.pop_back();
                break;
            }
            char c = s_[i_];
            if (c == '\\' && peek(1) == '"') {
                text += '"';
                advance();
                advance();
            } else if (c == '"' && peek(1) == '"') {
                text += '"';
                advance();
                advance();
            } else if (c == '"') {
                advance();
                break;
            } else if (c == '\r') {
                advance();
            } else if (c == '\n') {
                // A string over a line break: the break and the indentation around it are one
                // blank.
                while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
                    text.pop_back();
                text += ' ';
                advance();
                while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t')) advance();
            } else {
                text += c;
                advance();
            }
        }
        t.kind = Tok::String;
        t.text = std::move(text);
        return t;
    }

    std::string_view s_;
    std::size_t i_ = 0;
    int line_, col_;
    std::vector<Diagnostic>& diags_;
};

class Parser {
public:
    Parser(std::vector<Token> tokens, std::vector<Diagnostic>& diags)
        : t_(std::move(tokens)), diags_(diags) {}

    bool statement(Statement& st) {
        bool assigns = st.keyword == "SOURCE" || st.keyword == "DATA" || st.keyword == "TRANS";
        if (cur().kind == Tok::End) {
            report(diags_, Msg::EmptyStatement, st.line, 1, st.keyword);
            return false;
        }
        if (assigns) {
            if (cur().kind != Tok::Name) {
                report(diags_, Msg::ExpectedName, cur().line, cur().column, st.keyword,
                       describeToken(cur()));
                return false;
            }
            st.target = joinedName().text;
            if (cur().kind != Tok::Equals) {
                report(diags_, Msg::ExpectedEquals, cur().line, cur().column, st.target);
                return false;
            }
            ++p_;
        }
        auto body = expression(0);
        if (!body)
            return false;
        st.body = std::move(*body);
        // `interval(position(a*b))), color(c))`: a `)` too many closed the call early, and
        // the arguments that follow still belong to it.
        if (cur().kind == Tok::Comma && st.body.kind == Node::Kind::Call && p_ > 0 &&
            t_[p_ - 1].kind == Tok::RParen) {
            Token const& surplus = t_[p_ - 1];
            report(diags_, Msg::SurplusCloseInside, surplus.line, surplus.column, st.body.name);
            ++p_;
            Token open = surplus;
            if (!arguments(st.body.args, 1, "'" + st.body.name + "'", open))
                return false;
        }
        while (cur().kind == Tok::RParen) {
            report(diags_, Msg::SurplusClose, cur().line, cur().column);
            ++p_;
        }
        if (cur().kind != Tok::End) {
            report(diags_, Msg::ExpectedEnd, cur().line, cur().column, describeToken(cur()));
            return false;
        }
        return true;
    }

private:
    Token const& cur() const { return t_[p_]; }

    // Takes the name at the cursor. A name that ends its line and is followed on the next line
    // by another bare name is one name broken by the editor (`Monthlyhouseholdexpen` /
    // `    ditureperperson`): two names side by side are never valid GPL otherwise.
    Token joinedName() {
        Token name = cur();
        ++p_;
        int lastLine = name.line;
        while (cur().kind == Tok::Name && cur().line == lastLine + 1) {
            Token const& rest = cur();
            // Past the shown length the joined name starts as the first part does.
            std::string const whole =
                clipped(name.text.size() <= 60 ? name.text + rest.text : name.text);
            report(diags_, Msg::JoinedName, rest.line, rest.column, clipped(name.text),
                   clipped(rest.text), whole);
            name.text += rest.text;
            lastLine = rest.line;
            ++p_;
        }
        return name;
    }
    Token const& ahead(std::size_t k) const { return p_ + k < t_.size() ? t_[p_ + k] : t_.back(); }

    static Node make(Node::Kind kind, Token const& at) {
        Node n;
        n.kind = kind;
        n.line = at.line;
        n.column = at.column;
        return n;
    }

    // blend := cross ('+' cross)*; cross := nest ('*' nest)*; nest := primary ('/' primary)*
    std::optional<Node> expression(int depth) { return binary(depth, 0); }

    std::optional<Node> binary(int depth, int level) {
        static constexpr Tok ops[] = {Tok::Plus, Tok::Star, Tok::Slash};
        static constexpr Node::Kind kinds[] = {Node::Kind::Blend, Node::Kind::Cross,
                                               Node::Kind::Nest};
        auto operand = [&]() { return level == 2 ? primary(depth) : binary(depth, level + 1); };
        auto left = operand();
        if (!left)
            return left;
        int height = height_;
        while (cur().kind == ops[level]) {
            Token op = cur();
            ++p_;
            auto right = operand();
            if (!right)
                return right;
            height = std::max(height, height_) + 1;
            if (height > kMaxHeight) {
                report(diags_, Msg::TooLong, op.line, op.column, kMaxHeight);
                return std::nullopt;
            }
            Node n = make(kinds[level], op);
            n.line = left->line;
            n.column = left->column;
            n.args.push_back(std::move(*left));
            n.args.push_back(std::move(*right));
            left = std::move(n);
        }
        height_ = height;
        return left;
    }

    std::optional<Node> primary(int depth) {
        if (depth > kMaxDepth) {
            report(diags_, Msg::TooDeep, cur().line, cur().column, kMaxDepth);
            return std::nullopt;
        }
        Token const& t = cur();
        height_ = 1;
        switch (t.kind) {
            case Tok::String: {
                Node n = make(Node::Kind::String, t);
                n.value = t.text;
                ++p_;
                return n;
            }
            case Tok::Number: {
                Node n = make(Node::Kind::Number, t);
                n.number = t.number;
                n.value = t.text;
                ++p_;
                return n;
            }
            case Tok::Minus:
                if (ahead(1).kind == Tok::Number) {
                    Node n = make(Node::Kind::Number, t);
                    n.number = -ahead(1).number;
                    n.value = ahead(1).text;
                    p_ += 2;
                    return n;
                }
                break;
            case Tok::Star:
                // `*` alone: all values of a dimension, as in position(*, 50).
                if (ahead(1).kind == Tok::Comma || ahead(1).kind == Tok::RParen) {
                    ++p_;
                    return make(Node::Kind::Star, t);
                }
                break;
            case Tok::LParen: {
                Token open = t;
                ++p_;
                std::vector<Node> items;
                if (!arguments(items, depth + 1, "(...)", open))
                    return std::nullopt;
                if (items.empty()) {
                    report(diags_, Msg::ExpectedExpression, cur().line, cur().column,
                           describeToken(cur()));
                    return std::nullopt;
                }
                if (items.size() == 1)
                    return std::move(items.front());
                ++height_;
                Node n = make(Node::Kind::Tuple, open);
                n.args = std::move(items);
                return n;
            }
            case Tok::Name: {
                Token name = joinedName();
                // A constant with a string: color."FF8800".
                if (name.text.size() > 1 && name.text.back() == '.' && cur().kind == Tok::String) {
                    Node n = make(Node::Kind::Constant, name);
                    n.name = name.text.substr(0, name.text.size() - 1);
                    n.value = cur().text;
                    ++p_;
                    return n;
                }
                if (cur().kind == Tok::LParen) {
                    ++p_;
                    Node n = make(Node::Kind::Call, name);
                    n.name = name.text;
                    if (!arguments(n.args, depth + 1, "'" + name.text + "'", name))
                        return std::nullopt;
                    ++height_;
                    return n;
                }
                Node n = make(Node::Kind::Name, name);
                n.name = name.text;
                return n;
            }
            case Tok::Bad:
                report(diags_, Msg::BadCharacter, t.line, t.column, t.text);
                return std::nullopt;
            default:
                break;
        }
        report(diags_, Msg::ExpectedExpression, t.line, t.column, describeToken(t));
        return std::nullopt;
    }

    // After '(' up to and including ')'; leaves in height_ the height of the highest argument.
    bool arguments(std::vector<Node>& out, int depth, std::string const& what, Token const& open) {
        int highest = 0;
        bool const ok = argumentList(out, depth, what, open, highest);
        height_ = highest;
        return ok;
    }

    bool argumentList(std::vector<Node>& out, int depth, std::string const& what,
                      Token const& open, int& highest) {
        if (cur().kind == Tok::RParen) {
            ++p_;
            return true;
        }
        for (;;) {
            if (cur().kind == Tok::End) {
                report(diags_, Msg::MissingClose, open.line, open.column, what);
                return true;
            }
            auto arg = expression(depth);
            if (!arg)
                return false;
            highest = std::max(highest, height_);
            out.push_back(std::move(*arg));
            if (cur().kind == Tok::Comma) {
                ++p_;
                continue;
            }
            if (cur().kind == Tok::RParen) {
                ++p_;
                return true;
            }
            if (cur().kind == Tok::End) {
                report(diags_, Msg::MissingClose, open.line, open.column, what);
                return true;
            }
            if (cur().kind == Tok::Bad) {
                report(diags_, Msg::BadCharacter, cur().line, cur().column, cur().text);
                return false;
            }
            report(diags_, Msg::ExpectedCloseOrComma, cur().line, cur().column, what,
                   describeToken(cur()));
            return false;
        }
    }

    std::vector<Token> t_;
    std::size_t p_ = 0;
    int height_ = 0;  // of the node the last parse step returned
    std::vector<Diagnostic>& diags_;
};

// The keyword of a line that starts a statement ("ELEMENT:"), or empty.
std::string keywordAt(std::string_view line, std::size_t& bodyStart) {
    std::size_t i = 0;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    std::size_t start = i;
    while (i < line.size() && std::isalpha(static_cast<unsigned char>(line[i]))) ++i;
    std::size_t end = i;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (end == start || i >= line.size() || line[i] != ':')
        return {};
    std::string word;
    for (std::size_t k = start; k < end; ++k)
        word += static_cast<char>(std::toupper(static_cast<unsigned char>(line[k])));
    bodyStart = i + 1;
    return word;
}

bool isKeyword(std::string const& word) {
    for (char const* k : kKeywords)
        if (word == k)
            return true;
    return false;
}

// `TRANS: y = eval(...)` holds an expression, not graph algebra: its text is kept whole (as
// a String argument at its place in the program) for the expression parser of the transform.
bool evalStatement(std::string_view body, int line, int column, Statement& st) {
    std::size_t i = 0;
    auto skip = [&]() {
        while (i < body.size() && std::isspace(static_cast<unsigned char>(body[i]))) ++i;
    };
    auto word = [&]() {
        std::size_t start = i;
        while (i < body.size() && isNameChar(static_cast<unsigned char>(body[i]))) ++i;
        return std::string(body.substr(start, i - start));
    };
    skip();
    std::string target = word();
    skip();
    if (target.empty() || i >= body.size() || body[i] != '=')
        return false;
    ++i;
    skip();
    std::size_t callAt = i;
    if (lower(word()) != "eval")
        return false;
    skip();
    if (i >= body.size() || body[i] != '(')
        return false;
    std::size_t open = ++i;
    int depth = 1;
    char quote = 0;
    for (; i < body.size() && depth > 0; ++i) {
        char c = body[i];
        if (quote)
            quote = c == quote ? 0 : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else
            depth += c == '(' ? 1 : c == ')' ? -1 : 0;
    }
    std::size_t close = depth == 0 ? i - 1 : body.size();
    auto at = [&](std::size_t offset, int& l, int& c) {
        l = line;
        c = column;
        for (std::size_t k = 0; k < offset; ++k) {
            if (body[k] == '\n') {
                ++l;
                c = 1;
            } else {
                ++c;
            }
        }
    };
    st.target = target;
    st.body = Node{};
    st.body.kind = Node::Kind::Call;
    st.body.name = std::string(body.substr(callAt, 4));
    at(callAt, st.body.line, st.body.column);
    Node text;
    text.kind = Node::Kind::String;
    text.value = std::string(body.substr(open, close - open));
    at(open, text.line, text.column);
    st.body.args.push_back(std::move(text));
    return true;
}

}  // namespace

std::string lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::string Node::key() const {
    return lower(name);
}

Node const* Node::find(std::string_view function) const {
    for (auto const& a : args)
        if (a.kind == Kind::Call && a.key() == function)
            return &a;
    return nullptr;
}

bool Program::hasErrors() const {
    for (auto const& d : diagnostics)
        if (d.level == Diagnostic::Level::Error)
            return true;
    return false;
}

std::string Program::describe() const {
    std::string out;
    for (auto const& d : diagnostics) {
        if (!out.empty())
            out += '\n';
        out += fmt::format("GPL {} at line {}, column {}: {}",
                           d.level == Diagnostic::Level::Error ? "error" : "warning", d.line,
                           d.column, d.text);
    }
    return out;
}

Program parse(std::string_view text) {
    Program program;
    auto& diags = program.diagnostics;

    // Split into statements: one starts where a keyword and a colon open a line.
    struct Piece {
        std::string keyword;
        int line;
        int column;
        std::size_t begin, end;
    };
    std::vector<Piece> pieces;
    std::size_t pos = 0;
    int lineNo = 1;
    bool anything = false;
    while (pos <= text.size()) {
        std::size_t eol = text.find('\n', pos);
        if (eol == std::string_view::npos)
            eol = text.size();
        std::string_view line = text.substr(pos, eol - pos);
        std::size_t bodyStart = 0;
        std::string word = keywordAt(line, bodyStart);
        bool blank = line.find_first_not_of(" \t\r") == std::string_view::npos;
        if (!word.empty() && isKeyword(word)) {
            if (!pieces.empty() && pieces.back().keyword == "COMMENT")
                pieces.back().end = std::min(pieces.back().end, pos);
            pieces.push_back({word, lineNo, static_cast<int>(bodyStart) + 1, pos + bodyStart, eol});
            anything = true;
        } else if (!blank) {
            anything = true;
            bool continues = !pieces.empty() && pieces.back().keyword != "COMMENT" &&
                             !pieces.back().keyword.empty();
            if (!word.empty()) {
                report(diags, Msg::UnknownKeyword, lineNo, 1, word);
                // Its continuation lines belong to it, not to the statement before.
                pieces.push_back({"", lineNo, 1, pos, eol});
            } else if (continues || (!pieces.empty() && pieces.back().keyword.empty())) {
                pieces.back().end = eol;
            } else {
                std::size_t first = line.find_first_not_of(" \t");
                std::size_t stop = line.find_first_of(" \t(", first);
                report(diags, Msg::ExpectedKeyword, lineNo, static_cast<int>(first) + 1,
                       std::string(line.substr(first, stop - first)));
            }
        }
        if (eol >= text.size())
            break;
        pos = eol + 1;
        ++lineNo;
    }
    if (!anything) {
        report(diags, Msg::EmptyProgram, 1, 1);
        return program;
    }

    for (auto const& piece : pieces) {
        if (piece.keyword.empty())
            continue;
        Statement st;
        st.keyword = piece.keyword;
        st.line = piece.line;
        std::string_view body = text.substr(piece.begin, piece.end - piece.begin);
        if (st.keyword == "COMMENT") {
            std::size_t eol = body.find('\n');
            st.comment = std::string(body.substr(0, eol));
            st.comment.erase(0, st.comment.find_first_not_of(" \t"));
            while (!st.comment.empty() &&
                   std::isspace(static_cast<unsigned char>(st.comment.back())))
                st.comment.pop_back();
            program.statements.push_back(std::move(st));
            continue;
        }
        if (st.keyword == "TRANS" && evalStatement(body, piece.line, piece.column, st)) {
            program.statements.push_back(std::move(st));
            continue;
        }
        Lexer lexer(body, piece.line, piece.column, diags);
        Parser parser(lexer.run(), diags);
        if (parser.statement(st))
            program.statements.push_back(std::move(st));
    }
    return program;
}

}  // namespace host::chart::gpl
