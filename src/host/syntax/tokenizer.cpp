#include "host/syntax/tokenizer.h"

#include <charconv>
#include <string>

#include <fmt/format.h>

#include "host/syntax/utf8_chars.h"

namespace host::syntax {

bool TokenizeResult::hasErrors() const {
    for (auto const& d : diagnostics) {
        if (d.error)
            return true;
    }
    return false;
}

namespace {

// Past this many, further problems are only counted: a binary file must not flood the output.
constexpr std::size_t kMaxDiagnostics = 50;

using Op = TokenSequenceBase::OperatorCode;

std::string describeChar(char32_t c) {
    if (c < 0x20 || c == 0x7F)
        return fmt::format("the control character U+{:04X}", unsigned(c));
    std::string shown;
    appendUtf8(shown, c);
    return fmt::format("the character '{}' (U+{:04X})", shown, unsigned(c));
}

class Lexer {
public:
    Lexer(std::string_view text, int line, int column) : text_(text), line_(line), col_(column) {
        // The terminator: the last character that isn't blank, if it is a period.
        std::size_t end = text_.size();
        while (end > 0 && isAsciiSpace(text_[end - 1])) --end;
        terminatorPos_ = (end > 0 && text_[end - 1] == '.') ? end - 1 : std::string_view::npos;
    }

    TokenizeResult run() {
        while (pos_ < text_.size()) step();
        if (suppressed_ > 0) {
            result_.diagnostics.push_back(
                {line_, col_, true,
                 fmt::format("{} more problems in this command were not listed.", suppressed_)});
        }
        return std::move(result_);
    }

private:
    struct Mark {
        std::size_t pos;
        int line;
        int col;
    };

    static bool isAsciiSpace(char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
    }

    Mark mark() const { return {pos_, line_, col_}; }
    void reset(Mark const& m) { pos_ = m.pos, line_ = m.line, col_ = m.col; }
    bool atEnd() const { return pos_ >= text_.size(); }
    char byteAt(std::size_t offset) const {
        return pos_ + offset < text_.size() ? text_[pos_ + offset] : '\0';
    }
    Utf8Char peek() const { return decodeUtf8(text_, pos_); }

    // Steps over one character; a byte that is not UTF-8 is reported once, as a warning.
    Utf8Char take() {
        Utf8Char c = peek();
        if (!c.valid) {
            problem(false, line_, col_,
                    fmt::format("The byte 0x{:02X} is not UTF-8 text; it was read as U+FFFD.",
                                static_cast<unsigned char>(text_[pos_])));
        }
        pos_ += c.length;
        if (c.code == '\n') {
            ++line_, col_ = 1;
        } else if (c.code == '\r') {
            if (byteAt(0) != '\n')
                ++line_, col_ = 1;
        } else {
            ++col_;
        }
        return c;
    }

    void problem(bool error, int line, int col, std::string text) {
        if (result_.diagnostics.size() >= kMaxDiagnostics) {
            ++suppressed_;
            return;
        }
        result_.diagnostics.push_back({line, col, error, std::move(text)});
    }

    void add(TokenInfoObj::Kind kind, std::string text, Mark const& at, double number = 0.0,
             Op op = TokenSequenceBase::OP_NONE) {
        result_.tokens.emplace_back(kind, std::move(text), number, op, at.line, at.col);
    }

    bool lastTokenIsValue() const {
        if (result_.tokens.empty())
            return false;
        auto const& t = result_.tokens.back();
        if (!t.IsOperator())
            return true;
        return t.getOperatorCode() == TokenSequenceBase::OP_RIGHT_PAREN ||
               t.getOperatorCode() == TokenSequenceBase::OP_RIGHT_BRACKET;
    }

    bool digitAt(std::size_t offset) const {
        char c = byteAt(offset);
        return c >= '0' && c <= '9';
    }

    bool isNameStartAt(std::size_t offset) const {
        char c = byteAt(offset);
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' ||
               c == '#' || c == '@' || static_cast<unsigned char>(c) >= 0x80;
    }

    void step() {
        Utf8Char c = peek();
        if (isBlank(c.code) && c.valid) {
            take();
            return;
        }
        char32_t ch = c.code;
        if (ch == '/' && byteAt(1) == '*')
            return comment();
        if (ch == '\'' || ch == '"')
            return literal();
        if (isDigit(ch) || (ch == '.' && digitAt(1)))
            return number();
        if (ch == '-' && (digitAt(1) || (byteAt(1) == '.' && digitAt(2))) && isSignHere()) {
            return number();
        }
        if (!c.valid || isNameLetter(ch) || ch == '$' || ch == '#' || ch == '@' || ch == '_') {
            return word();
        }
        if (ch == '.' && pos_ == terminatorPos_) {
            take();
            return;
        }
        if (op())
            return;
        Mark at = mark();
        take();
        if (isTypographicQuote(ch)) {
            problem(true, at.line, at.col,
                    fmt::format("{} is a typographic quote; quote text with ' or \".",
                                describeChar(ch)));
        } else {
            problem(true, at.line, at.col,
                    fmt::format("{} has no meaning in a command here.", describeChar(ch)));
        }
    }

    // A minus in front of a digit is a sign unless it directly follows a value (`a-2`).
    bool isSignHere() const {
        if (!lastTokenIsValue())
            return true;
        return pos_ > 0 && isAsciiSpace(text_[pos_ - 1]);
    }

    void comment() {
        take(), take();
        while (!atEnd()) {
            if (byteAt(0) == '*' && byteAt(1) == '/') {
                take(), take();
                return;
            }
            if (byteAt(0) == '\n' || byteAt(0) == '\r')
                return;  // ends with its line
            take();
        }
    }

    void word() {
        Mark at = mark();
        std::string text;
        Mark afterLastNonPeriod = at;
        while (!atEnd()) {
            Utf8Char c = peek();
            if (c.valid && !isNameChar(c.code))
                break;
            std::size_t start = pos_;
            take();
            if (c.valid) {
                text.append(text_.substr(start, c.length));
            } else {
                text.append(kReplacementUtf8);
            }
            if (c.code != '.')
                afterLastNonPeriod = mark();
        }
        // A word never ends in a period: that belongs to the command or stands alone.
        if (afterLastNonPeriod.pos != pos_) {
            text.resize(text.size() - (pos_ - afterLastNonPeriod.pos));
            reset(afterLastNonPeriod);
        }
        add(TokenInfoObj::KIND_WORD, std::move(text), at);
    }

    // Reads one quoted text at the cursor into `out`; false if its line ended first.
    bool quoted(std::string& out) {
        Mark at = mark();
        char quote = byteAt(0);
        take();
        while (!atEnd()) {
            char b = byteAt(0);
            if (b == '\n' || b == '\r')
                break;
            if (b == quote) {
                take();
                if (byteAt(0) != quote)
                    return true;
                take();
                out += quote;
                continue;
            }
            // Plain ASCII runs go in one piece: a literal may be megabytes long.
            std::size_t run = pos_;
            while (run < text_.size()) {
                unsigned char r = static_cast<unsigned char>(text_[run]);
                if (r >= 0x80 || r == '\n' || r == '\r' || r == static_cast<unsigned char>(quote)) {
                    break;
                }
                ++run;
            }
            if (run > pos_) {
                out.append(text_.substr(pos_, run - pos_));
                col_ += static_cast<int>(run - pos_);
                pos_ = run;
                continue;
            }
            Utf8Char c = peek();
            std::size_t start = pos_;
            take();
            if (c.valid) {
                out.append(text_.substr(start, c.length));
            } else {
                out.append(kReplacementUtf8);
            }
        }
        problem(
            true, at.line, at.col,
            fmt::format("The quoted text that starts here has no closing {} on its line.", quote));
        return false;
    }

    void literal() {
        Mark at = mark();
        std::string text;
        bool closed = quoted(text);
        // 'a' + 'b' is one literal, also across lines.
        while (closed) {
            Mark before = mark();
            while (!atEnd() && isAsciiSpace(byteAt(0))) take();
            if (byteAt(0) != '+') {
                reset(before);
                break;
            }
            take();
            while (!atEnd() && isAsciiSpace(byteAt(0))) take();
            if (byteAt(0) != '\'' && byteAt(0) != '"') {
                reset(before);
                break;
            }
            closed = quoted(text);
        }
        add(TokenInfoObj::KIND_LITERAL, std::move(text), at);
    }

    void number() {
        Mark at = mark();
        std::size_t start = pos_;
        if (byteAt(0) == '-')
            take();
        while (digitAt(0)) take();
        if (byteAt(0) == '.' && digitAt(1)) {
            take();
            while (digitAt(0)) take();
        } else if (byteAt(0) == '.' && parenDepth_ > 0 && pos_ != terminatorPos_ &&
                   !isNameStartAt(1)) {
            // `MEANCI(x, 95.)`: inside parentheses a trailing period belongs to the number;
            // outside them it may end the command, as in `x 5.`.
            take();
        }
        if (byteAt(0) == 'e' || byteAt(0) == 'E') {
            std::size_t sign = (byteAt(1) == '+' || byteAt(1) == '-') ? 1 : 0;
            if (digitAt(1 + sign)) {
                take();
                if (sign)
                    take();
                while (digitAt(0)) take();
            }
        }
        std::string text(text_.substr(start, pos_ - start));
        // from_chars takes no leading plus sign, and an exponent sign is all we let through.
        double value = 0.0;
        auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
        (void)end;
        if (ec == std::errc::result_out_of_range) {
            // Too small reads as 0; too large cannot be used.
            auto e = text.find_first_of("eE");
            if (e != std::string::npos && text[e + 1] == '-') {
                value = 0.0;
            } else {
                problem(true, at.line, at.col,
                        fmt::format("The number {} is too large to be used.", text));
                value = 0.0;
            }
        } else if (ec != std::errc()) {
            problem(true, at.line, at.col, fmt::format("{} is not a number.", text));
        }
        add(TokenInfoObj::KIND_NUMBER, std::move(text), at, value);
    }

    bool op() {
        struct Entry {
            std::string_view text;
            Op code;
        };
        static constexpr Entry kOps[] = {
            {"**", TokenSequenceBase::OP_POWER},
            {"<=", TokenSequenceBase::OP_LESS_EQUAL},
            {">=", TokenSequenceBase::OP_GREATER_EQUAL},
            {"~=", TokenSequenceBase::OP_NOT_EQUAL},
            {"<>", TokenSequenceBase::OP_NOT_EQUAL},
            {"+", TokenSequenceBase::OP_PLUS},
            {"-", TokenSequenceBase::OP_MINUS},
            {"=", TokenSequenceBase::OP_EQUALS},
            {"<", TokenSequenceBase::OP_LESS},
            {">", TokenSequenceBase::OP_GREATER},
            {"&", TokenSequenceBase::OP_AND},
            {"|", TokenSequenceBase::OP_OR},
            {"~", TokenSequenceBase::OP_NOT},
            {"*", TokenSequenceBase::OP_ASTERISK},
            {"(", TokenSequenceBase::OP_LEFT_PAREN},
            {")", TokenSequenceBase::OP_RIGHT_PAREN},
            {"/", TokenSequenceBase::OP_SLASH},
            {",", TokenSequenceBase::OP_COMMA},
            {":", TokenSequenceBase::OP_COLON},
            {";", TokenSequenceBase::OP_SEMICOLON},
            {".", TokenSequenceBase::OP_PERIOD},
            {"[", TokenSequenceBase::OP_LEFT_BRACKET},
            {"]", TokenSequenceBase::OP_RIGHT_BRACKET},
        };
        std::string_view rest = text_.substr(pos_);
        for (auto const& e : kOps) {
            if (rest.substr(0, e.text.size()) != e.text)
                continue;
            Mark at = mark();
            for (std::size_t i = 0; i < e.text.size(); ++i) take();
            if (e.code == TokenSequenceBase::OP_LEFT_PAREN)
                ++parenDepth_;
            else if (e.code == TokenSequenceBase::OP_RIGHT_PAREN && parenDepth_ > 0)
                --parenDepth_;
            add(TokenInfoObj::KIND_OPERATOR, std::string(e.text), at, 0.0, e.code);
            return true;
        }
        return false;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    int line_;
    int col_;
    std::size_t terminatorPos_;
    std::size_t suppressed_ = 0;
    int parenDepth_ = 0;
    TokenizeResult result_;
};

}  // namespace

TokenizeResult tokenize(std::string_view text, int firstLine, int firstColumn) {
    return Lexer(text, firstLine, firstColumn).run();
}

}  // namespace host::syntax
