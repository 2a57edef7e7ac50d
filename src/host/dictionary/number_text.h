#pragma once
// A number written as text, as the CSV reader, the dictionary and value look-ups read one.

#include <string_view>

namespace host::dictionary {

// The whole of `text` as a finite number: blanks (spaces, tabs) around it and one leading '+'
// are allowed; "+-5", "inf", "nan", "1e999" and "5x" are not numbers.
bool numberFromText(std::string_view text, double& value);

}  // namespace host::dictionary
