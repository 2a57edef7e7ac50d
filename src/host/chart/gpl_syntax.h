#pragma once
// The syntax tree of a GPL program and the parser that makes it. The parser never throws: it
// returns the program with its diagnostics, and the caller decides what to report.

#include <string>
#include <string_view>
#include <vector>

namespace host::chart::gpl {

struct Node {
    enum class Kind {
        Call,      // name(args...)
        Name,      // a variable or a bare constant such as color.red
        Constant,  // family."text", e.g. color."FF8800" (text in `value`)
        String,
        Number,  // value in `number`, optional unit in `value`
        Star,    // * standing for all values of a dimension
        Tuple,   // ("a", color.red)
        Cross,   // a*b
        Nest,    // a/b
        Blend,   // a+b
    };
    Kind kind = Kind::Name;
    std::string name;   // function, variable or constant family (Call, Name, Constant)
    std::string value;  // string text, constant text, number unit
    double number = 0;
    std::vector<Node> args;
    int line = 0;
    int column = 0;

    // Lower-case name, for case-blind matching of functions and constants.
    std::string key() const;
    // The first argument that is a call of `function` (case-blind), or null.
    Node const* find(std::string_view function) const;
};

struct Statement {
    std::string keyword;  // upper case: SOURCE, DATA, ...
    std::string target;   // the name before `=`, when there is one
    Node body;
    std::string comment;  // COMMENT text
    int line = 0;
};

struct Diagnostic {
    enum class Level { Warning, Error };
    Level level = Level::Error;
    int line = 0;
    int column = 0;
    std::string text;
};

struct Program {
    std::vector<Statement> statements;
    std::vector<Diagnostic> diagnostics;
    bool hasErrors() const;
    // Diagnostics as readable lines: "line 3, column 12: expected ')'".
    std::string describe() const;
};

Program parse(std::string_view text);

// Lower-cases ASCII letters (names are case-blind only for function and constant names).
std::string lower(std::string_view text);

}  // namespace host::chart::gpl
