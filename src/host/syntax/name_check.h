#pragma once
// Result codes of ValidateKWELName. A name is at most 64 bytes of UTF-8; it starts with a
// letter (ASCII or beyond), optionally behind one of the prefixes $ # @, and goes on with
// letters, digits and `_ . $ # @`; it does not end in a period and is no reserved word
// (ALL AND BY EQ GE GT LE LT NE NOT OR TO WITH, any case).

#include <cstddef>
#include <string_view>

namespace host::syntax {

inline constexpr std::size_t kMaxNameBytes = 64;

enum NameCheck : int {
    kNamePlain = 0,
    kNameDollar = 1,   // $name: a system variable or a multiple-response set
    kNameScratch = 2,  // #name: a scratch variable
    kNameAt = 100,     // @name
    kNameEmpty = -1,
    kNameTooLong = -2,
    kNameBadFirst = -3,  // no letter first (behind the prefix, if any)
    kNameBadChar = -4,   // a character a name cannot hold, or bytes that aren't UTF-8
    kNameEndsInPeriod = -5,
    kNameReserved = -6,
};

bool isReservedWord(std::string_view word);

}  // namespace host::syntax
