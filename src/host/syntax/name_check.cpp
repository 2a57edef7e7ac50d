// The name check of the command language.
#include "host/syntax/name_check.h"

#include <array>

#include "host/syntax/utf8_chars.h"
#include "platform/host_procedure.h"

namespace host::syntax {

bool isReservedWord(std::string_view word) {
    static constexpr std::array<std::string_view, 13> kReserved = {
        "ALL", "AND", "BY", "EQ", "GE", "GT", "LE", "LT", "NE", "NOT", "OR", "TO", "WITH"};
    for (auto reserved : kReserved) {
        if (reserved.size() != word.size())
            continue;
        bool same = true;
        for (std::size_t i = 0; i < word.size() && same; ++i) {
            char c = word[i];
            if (c >= 'a' && c <= 'z')
                c = static_cast<char>(c - 'a' + 'A');
            same = c == reserved[i];
        }
        if (same)
            return true;
    }
    return false;
}

}  // namespace host::syntax

int ValidateKWELName(char const* text) {
    using namespace host::syntax;
    if (text == nullptr || *text == '\0')
        return kNameEmpty;
    std::string_view name(text);
    if (name.size() > kMaxNameBytes)
        return kNameTooLong;

    int kind = kNamePlain;
    std::size_t pos = 0;
    switch (name[0]) {
        case '$':
            kind = kNameDollar, pos = 1;
            break;
        case '#':
            kind = kNameScratch, pos = 1;
            break;
        case '@':
            kind = kNameAt, pos = 1;
            break;
        default:
            break;
    }
    if (pos == name.size())
        return kNameBadFirst;
    Utf8Char first = decodeUtf8(name, pos);
    if (!first.valid || !isNameLetter(first.code))
        return kNameBadFirst;
    for (pos += first.length; pos < name.size();) {
        Utf8Char c = decodeUtf8(name, pos);
        if (!c.valid || !isNameChar(c.code))
            return kNameBadChar;
        pos += c.length;
    }
    if (name.back() == '.')
        return kNameEndsInPeriod;
    if (isReservedWord(name))
        return kNameReserved;
    return kind;
}
