#pragma once
// Reading JSON that a user wrote: nesting deeper than any file of ours needs is cut off instead of
// running the stack out, a number out of range is read as null instead of failing the whole text,
// and every problem keeps its byte offset so that the caller can name line and column.

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace host::files {

// Lists and objects inside each other up to this depth are read; deeper ones are left out.
inline constexpr int kMaxJsonDepth = 256;

struct JsonProblem {
    std::size_t offset = 0;
    std::string text;
};

struct JsonText {
    bool ok = false;  // false: not JSON at all; problems.front() says why and where
    nlohmann::json value;
    std::vector<JsonProblem> problems;     // what was read otherwise than written
    std::vector<std::size_t> nulledNumbers;  // offsets of numbers out of range, read as null
};

JsonText readJsonText(std::string_view text, int maxDepth = kMaxJsonDepth);

struct TextPlace {
    std::int64_t line = 1;
    std::int64_t column = 1;
};
// Line and column (from 1, in bytes) of an offset in a text.
TextPlace placeOf(std::string_view text, std::size_t offset);

// A JSON value as a message shows it: at most `limit` characters, the rest elided.
std::string briefJson(nlohmann::json const& value, std::size_t limit = 60);

}  // namespace host::files
