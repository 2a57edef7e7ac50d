#pragma once
// Character classes of the command language over UTF-8 text, shared by the tokenizer, the job
// splitter and the name check.

#include <cstddef>
#include <string>
#include <string_view>

namespace host::syntax {

inline constexpr char32_t kReplacementChar = 0xFFFD;
inline constexpr std::string_view kReplacementUtf8 = "\xEF\xBF\xBD";

// One decoded character: its code point and how many bytes it took. An invalid or truncated
// sequence decodes as one byte with `valid` false.
struct Utf8Char {
    char32_t code = 0;
    int length = 1;
    bool valid = true;
};

Utf8Char decodeUtf8(std::string_view text, std::size_t pos);

// Appends the UTF-8 form of a code point.
void appendUtf8(std::string& out, char32_t code);

inline bool isAsciiLetter(char32_t c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
inline bool isDigit(char32_t c) {
    return c >= '0' && c <= '9';
}

// Blanks between tokens: ASCII white space, the no-break space and the ideographic space.
bool isBlank(char32_t c);

// A letter of a name: an ASCII letter or a character beyond ASCII that is no blank, symbol or
// punctuation of the common blocks.
bool isNameLetter(char32_t c);

// A character that may stand inside a name after its first one.
inline bool isNameChar(char32_t c) {
    return isNameLetter(c) || isDigit(c) || c == '_' || c == '.' || c == '$' || c == '#' ||
           c == '@';
}

// Typographic quotes that people paste from word processors in place of ' and ".
inline bool isTypographicQuote(char32_t c) {
    return c >= 0x2018 && c <= 0x201F;
}

}  // namespace host::syntax
