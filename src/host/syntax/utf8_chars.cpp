#include "host/syntax/utf8_chars.h"

namespace host::syntax {

Utf8Char decodeUtf8(std::string_view text, std::size_t pos) {
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char lead = byte(pos);
    if (lead < 0x80)
        return {lead, 1, true};
    int length = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, code = lead & 0x07, minimum = 0x10000;
    } else {
        return {kReplacementChar, 1, false};
    }
    if (pos + length > text.size())
        return {kReplacementChar, 1, false};
    for (int i = 1; i < length; ++i) {
        unsigned char next = byte(pos + i);
        if ((next & 0xC0) != 0x80)
            return {kReplacementChar, 1, false};
        code = (code << 6) | (next & 0x3F);
    }
    // Overlong forms, surrogates and values beyond the Unicode range are not characters.
    if (code < minimum || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
        return {kReplacementChar, 1, false};
    }
    return {code, length, true};
}

void appendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

bool isBlank(char32_t c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v' || c == 0xA0 ||
           c == 0x3000;
}

bool isNameLetter(char32_t c) {
    if (c < 0x80)
        return isAsciiLetter(c);
    if (c <= 0xBF)
        return c == 0xAA || c == 0xB5 || c == 0xBA;  // ª µ º; the rest is symbols
    if (c == 0xD7 || c == 0xF7)
        return false;  // × ÷
    if (c >= 0x2000 && c <= 0x206F)
        return false;  // general punctuation
    if (c >= 0x3000 && c <= 0x303F)
        return c == 0x3005;  // CJK punctuation, but 々
    if (c >= 0xFF01 && c <= 0xFF0F)
        return false;  // full-width punctuation
    // U+FFFD stays a letter: a name with a replaced byte should stay one token.
    if (c == 0xFEFF)
        return false;
    return true;
}

}  // namespace host::syntax
