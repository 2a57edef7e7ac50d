#pragma once
// The English string table of the host: the texts of the keys that the command library looks up
// (message keys such as "E703", English phrases used as labels, and message texts).

#include <cstdint>
#include <string>
#include <string_view>

namespace host::messages {

// The table's text for `key`. A key the table lacks reads as its own text, which is why the
// English keys that already read well as labels or messages have no entry.
std::string lookUp(std::string const& key);

// True when the table has an entry of its own for `key`.
[[nodiscard]] bool hasEntry(std::string_view key);

// The text of a numbered host error (backenderror_). An unknown number gets a generic text that
// names it.
std::string hostErrorText(std::int64_t number);

}  // namespace host::messages
