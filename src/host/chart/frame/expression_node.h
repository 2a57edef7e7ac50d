#pragma once
// The parsed form of an expression, shared by its parser and its evaluator.

#include <string>
#include <vector>

namespace host::chart::transform {

enum class Op {
    Number,
    Text,
    Name,
    Negate,
    Not,
    Add,
    Sub,
    Mul,
    Div,
    Pow,
    Eq,
    Ne,
    Lt,
    Le,
    Gt,
    Ge,
    And,
    Or,
    Call,
    Cond
};

struct ExprNode {
    Op op = Op::Number;
    double number = 0;
    std::string text;  // text constant, name, or function (lower case)
    std::vector<ExprNode> args;
    int line = 0, column = 0;
};

}  // namespace host::chart::transform
