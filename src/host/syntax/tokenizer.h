#pragma once
// The tokenizer of the command language. It never throws: what it cannot read becomes a
// diagnostic with its line and column, and it goes on behind it.

#include <string_view>
#include <vector>

#include "platform/tokens.h"

namespace host::syntax {

using Diagnostic = TokenProblem;

struct TokenizeResult {
    std::vector<TokenInfoObj> tokens;
    std::vector<Diagnostic> diagnostics;
    bool hasErrors() const;
};

// Tokenises the text of a command or of a command body. Words hold letters (also beyond
// ASCII), digits and `_ . $ # @`, but never end in a period; quoted literals take '…' or "…"
// with the quote doubled inside and end on their line; literals joined by `+` become one; a
// minus directly in front of a digit is a sign after an operator, at the start, or behind a
// blank (`1 -2` is two numbers, `a-2` and `a - 2` a subtraction); `/* … */` is a comment.
// A period that is the last character of the text that isn't blank (outside quotes) ends the
// command and yields no token. `firstLine` and `firstColumn` give the place of text[0].
TokenizeResult tokenize(std::string_view text, int firstLine = 1, int firstColumn = 1);

}  // namespace host::syntax
