#pragma once
// JSON text for writers that stream: a string literal with its escapes.

#include <iosfwd>
#include <string>
#include <string_view>

namespace host::output {

// Writes `text` as a JSON string literal: quotes, backslashes and control characters escaped,
// other characters as they are. Bytes that are not valid UTF-8 become U+FFFD, one for each
// broken sequence, so that a job's stray bytes never make the file unreadable.
void writeJsonString(std::ostream& out, std::string_view text);
std::string jsonString(std::string_view text);

}  // namespace host::output
