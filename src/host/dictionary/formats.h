#pragma once
// Print formats as text: the names of the format types ("F", "DOLLAR", "A", ...) and the
// written form of a format ("F8.2", "A10").

#include <string>
#include <string_view>

#include "platform/dictionary.h"

namespace host::dictionary {

// The type code of a format name (ASCII case ignored); 0 when the name is unknown.
int formatTypeByName(std::string_view name);
// The name of a type code ("F" for 5); "?" for an unknown code.
std::string formatTypeName(int type);
// "F8.2", "DOLLAR10.2", "A12". `width` overrides the format's width when positive (strings).
std::string formatToString(KWEL_Format format, int width = 0);
// Reads "F8.2", "A10", "DATE11"; false when the text is no format of a known type.
[[nodiscard]] bool parseFormat(std::string_view text, int& type, int& width, int& decimals);
// Whether a format type fits a numeric variable (all but A) or a string one (A only).
bool formatFitsVariable(int type, bool numeric);

}  // namespace host::dictionary
